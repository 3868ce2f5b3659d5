#include "der/Octets.h"
#include "keystrand/pkix/Holder.h"
#include "pkix/Parts.h"
#include "pkix/UniqueBits.h"

namespace keystrand {

owner<IssuerSerial*> IssuerSerial::clone() const {
  auto copy = std::make_unique<IssuerSerial>();
  copy->issuer_ = copyOf(issuer_.get());
  copy->serial_ = serial_;
  copy->issuerUID_ = issuerUID_;
  copy->issuerUIDUnused_ = issuerUIDUnused_;
  return copy.release();
}

owner<GeneralNameList*> IssuerSerial::issuer() const {
  return cloneOf(issuer_);
}

void IssuerSerial::setIssuer(const GeneralNameList* names) {
  issuer_ = copyOf(names);
}

owner<unsigned char*> IssuerSerial::issuerUID() const {
  return newBytes(issuerUID_.view());
}

void IssuerSerial::setIssuerUID(const unsigned char* bytes, std::uint32_t n) {
  issuerUID_.assign(bytes, n);
  issuerUIDUnused_ = 0;
}

std::uint32_t IssuerSerial::contentSize(const Buffer& buffer) const {
  return sizePart(issuer_, buffer) + serial_.size(buffer) + sizeOptionalBits(buffer, issuerUID_);
}

std::uint32_t IssuerSerial::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void IssuerSerial::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  putPart(issuer_, buffer);
  serial_.put(buffer);
  putOptionalBits(buffer, issuerUID_, issuerUIDUnused_);
}

bool IssuerSerial::get(Buffer& buffer, unsigned char tag) {
  Element body;
  return openWhole(body, buffer, tag) && getNew(issuer_, buffer) && serial_.get(buffer) &&
         getOptionalBits(body, buffer, issuerUID_, issuerUIDUnused_) && endsHere(body, buffer);
}

}  // namespace keystrand
