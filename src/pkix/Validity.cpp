#include "keystrand/pkix/Certificate.h"
#include "pkix/Parts.h"

namespace keystrand {

owner<X500Time*> Validity::notBefore() const {
  return cloneOf(notBefore_);
}

owner<X500Time*> Validity::notAfter() const {
  return cloneOf(notAfter_);
}

void Validity::setNotBefore(const X500Time* time) {
  notBefore_ = valueOf(time);
}

void Validity::setNotAfter(const X500Time* time) {
  notAfter_ = valueOf(time);
}

std::uint32_t Validity::contentSize(const Buffer& buffer) const {
  return sizePart(notBefore_, buffer) + sizePart(notAfter_, buffer);
}

std::uint32_t Validity::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void Validity::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putPart(notBefore_, buffer);
  putPart(notAfter_, buffer);
}

bool Validity::get(Buffer& buffer) {
  Element body;
  return body.open(buffer, kSequence) && notBefore_.emplace().get(buffer) && notAfter_.emplace().get(buffer);
}

}  // namespace keystrand
