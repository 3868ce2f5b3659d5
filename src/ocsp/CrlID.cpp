#include "ocsp/CrlID.h"

#include "ocsp/MessageCoding.h"
#include "support/Memory.h"

namespace keystrand {

namespace {
constexpr unsigned char kUrl = 0xA0;
constexpr unsigned char kNumber = 0xA1;
constexpr unsigned char kTime = 0xA2;
}  // namespace

owner<unsigned char*> CrlID::crlUrl() const {
  return newBytes(crlUrl_.view());
}
owner<X500Time*> CrlID::crlTime() const {
  return cloneOf(crlTime_);
}
void CrlID::setCrlTime(const X500Time* time) {
  crlTime_ = valueOf(time);
}

std::uint32_t CrlID::contentSize(const Buffer& buffer) const {
  const std::uint32_t url = sizeOctets(buffer, crlUrl_);
  return (crlUrl_.present() ? buffer.sizeHeader(kUrl, url) + url : 0) + sizeWrappedPart(crlNum_, buffer, kNumber) +
         sizeWrappedPart(crlTime_, buffer, kTime);
}

std::uint32_t CrlID::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void CrlID::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (crlUrl_.present()) {
    buffer.putHeader(kUrl, sizeOctets(buffer, crlUrl_));
    putOctets(buffer, crlUrl_);
  }
  putWrappedPart(crlNum_, buffer, kNumber);
  putWrappedPart(crlTime_, buffer, kTime);
}

bool CrlID::get(Buffer& in) {
  Element body;
  crlUrl_.clear();
  crlNum_.reset();
  crlTime_.reset();
  return openWhole(body, in, kSequence) &&
         getOptional(body, in, kUrl, [&] { return getOctets(in, crlUrl_) && crlUrl_.present(); }) &&
         getOptional(body, in, kNumber, [&] { return crlNum_.emplace().get(in); }) &&
         getOptional(body, in, kTime, [&] { return getGeneralizedTime(in, crlTime_); }) && ended(body, in);
}

}  // namespace keystrand
