#include "der/Reading.h"
#include "keystrand/pkix/Certificate.h"

namespace keystrand {

namespace {
void store(std::optional<X500Time>& part, const X500Time* time) {
  if (time != nullptr) {
    part = *time;
  } else {
    part.reset();
  }
}
}  // namespace

owner<X500Time*> Validity::notBefore() const {
  return notBefore_ ? notBefore_->clone() : nullptr;
}

owner<X500Time*> Validity::notAfter() const {
  return notAfter_ ? notAfter_->clone() : nullptr;
}

void Validity::setNotBefore(const X500Time* time) {
  store(notBefore_, time);
}

void Validity::setNotAfter(const X500Time* time) {
  store(notAfter_, time);
}

std::uint32_t Validity::contentSize(const Buffer& buffer) const {
  return (notBefore_ ? notBefore_->size(buffer) : 0) + (notAfter_ ? notAfter_->size(buffer) : 0);
}

std::uint32_t Validity::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void Validity::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (notBefore_) notBefore_->put(buffer);
  if (notAfter_) notAfter_->put(buffer);
}

bool Validity::get(Buffer& buffer) {
  Element body;
  return body.open(buffer, kSequence) && notBefore_.emplace().get(buffer) && notAfter_.emplace().get(buffer);
}

}  // namespace keystrand
