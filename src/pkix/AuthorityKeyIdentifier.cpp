#include "keystrand/pkix/AuthorityKeyIdentifier.h"

#include "der/Octets.h"
#include "der/Reading.h"
#include "support/Memory.h"

namespace keystrand {

namespace {
constexpr unsigned char kKeyIdentifier = 0x80;
constexpr unsigned char kCertIssuer = 0xA1;
constexpr unsigned char kCertSerialNumber = 0x82;
}  // namespace

owner<AuthorityKeyIdentifier*> AuthorityKeyIdentifier::clone() const {
  auto copy = std::make_unique<AuthorityKeyIdentifier>();
  copy->keyIdentifier_ = keyIdentifier_;
  copy->authorityCertIssuer_ = copyOf(authorityCertIssuer_.get());
  copy->authorityCertSerialNumber_ = authorityCertSerialNumber_;
  copy->serialPresent_ = serialPresent_;
  return copy.release();
}

owner<unsigned char*> AuthorityKeyIdentifier::keyIdentifier() const {
  return newBytes(keyIdentifier_.view());
}

owner<GeneralNameList*> AuthorityKeyIdentifier::authorityCertIssuer() const {
  return cloneOf(authorityCertIssuer_);
}

void AuthorityKeyIdentifier::setAuthorityCertIssuer(const GeneralNameList* names) {
  authorityCertIssuer_ = copyOf(names);
}

void AuthorityKeyIdentifier::setAuthorityCertSerialNumber(const BigInteger& serial) {
  authorityCertSerialNumber_ = serial;
  serialPresent_ = true;
}

std::uint32_t AuthorityKeyIdentifier::contentSize(const Buffer& buffer) const {
  const bool hasKey = keyIdentifier_.present();
  return (hasKey ? buffer.sizeOctetString(keyIdentifier_.data(), keyIdentifier_.size(), kKeyIdentifier) : 0) +
         (authorityCertIssuer_ ? authorityCertIssuer_->size(buffer, kCertIssuer) : 0) +
         (serialPresent_ ? authorityCertSerialNumber_.size(buffer, kCertSerialNumber) : 0);
}

std::uint32_t AuthorityKeyIdentifier::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void AuthorityKeyIdentifier::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  if (keyIdentifier_.present()) buffer.putOctetString(keyIdentifier_.data(), keyIdentifier_.size(), kKeyIdentifier);
  if (authorityCertIssuer_) authorityCertIssuer_->put(buffer, kCertIssuer);
  if (serialPresent_) authorityCertSerialNumber_.put(buffer, kCertSerialNumber);
}

// Whatever follows the key identifier and the issuer is the serial number: another element fails there.
bool AuthorityKeyIdentifier::get(Buffer& buffer, unsigned char tag) {
  Element body;
  keyIdentifier_.clear();
  authorityCertIssuer_.reset();
  authorityCertSerialNumber_ = BigInteger();
  serialPresent_ = false;
  if (!openAnyWhole(body, buffer, tag)) return false;
  if (isNext(body, buffer, kKeyIdentifier) && !getOctets(buffer, keyIdentifier_, kKeyIdentifier)) return false;
  if (isNext(body, buffer, kCertIssuer) && !getNew(authorityCertIssuer_, buffer, kCertIssuer)) return false;
  if (body.atEnd(buffer)) return readEnd(body, buffer);
  serialPresent_ = authorityCertSerialNumber_.get(buffer, kCertSerialNumber);
  return serialPresent_ && readEnd(body, buffer);
}

}  // namespace keystrand
