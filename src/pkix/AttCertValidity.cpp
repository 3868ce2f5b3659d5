#include "keystrand/pkix/AttributeCertificateInfo.h"
#include "pkix/Parts.h"

namespace keystrand {

owner<X500Time*> AttCertValidity::notBeforeTime() const {
  return cloneOf(notBeforeTime_);
}

void AttCertValidity::setNotBeforeTime(const X500Time* time) {
  notBeforeTime_ = valueOf(time);
}

owner<X500Time*> AttCertValidity::notAfterTime() const {
  return cloneOf(notAfterTime_);
}

void AttCertValidity::setNotAfterTime(const X500Time* time) {
  notAfterTime_ = valueOf(time);
}

std::uint32_t AttCertValidity::contentSize(const Buffer& buffer) const {
  return sizePart(notBeforeTime_, buffer) + sizePart(notAfterTime_, buffer);
}

std::uint32_t AttCertValidity::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void AttCertValidity::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  putPart(notBeforeTime_, buffer);
  putPart(notAfterTime_, buffer);
}

bool AttCertValidity::get(Buffer& buffer, unsigned char tag) {
  Element body;
  return openWhole(body, buffer, tag) && notBeforeTime_.emplace().get(buffer) && notAfterTime_.emplace().get(buffer) &&
         endsHere(body, buffer);
}

}  // namespace keystrand
