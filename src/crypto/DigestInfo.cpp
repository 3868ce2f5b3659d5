#include "keystrand/crypto/DigestInfo.h"

#include <algorithm>

#include "der/Element.h"
#include "der/Octets.h"
#include "support/Memory.h"

namespace keystrand {

DigestInfo::DigestInfo() = default;
DigestInfo::DigestInfo(const AlgorithmIdentifier& algorithm, std::span<const unsigned char> value)
    : algorithm_(algorithm.clone()), value_(value) {}
DigestInfo::~DigestInfo() = default;

owner<DigestInfo*> DigestInfo::clone() const {
  auto copy = std::make_unique<DigestInfo>();
  copy->algorithm_ = copyOf(algorithm_.get());
  copy->value_ = value_;
  return copy.release();
}

owner<AlgorithmIdentifier*> DigestInfo::algorithm() const {
  return cloneOf(algorithm_);
}
owner<unsigned char*> DigestInfo::value() const {
  return newBytes(value_.view());
}

bool DigestInfo::equals(const DigestInfo& other) const noexcept {
  return std::ranges::equal(valueView(), other.valueView());
}

void DigestInfo::setHasParameters(bool flag) noexcept {
  if (algorithm_) algorithm_->setHasParameters(flag);
}

std::uint32_t DigestInfo::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

std::uint32_t DigestInfo::contentSize(const Buffer& buffer) const {
  return (algorithm_ ? algorithm_->size(buffer) : 0) + sizeOctets(buffer, value_);
}

void DigestInfo::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (algorithm_) algorithm_->put(buffer);
  putOctets(buffer, value_);
}

bool DigestInfo::get(Buffer& buffer) {
  Element body;
  algorithm_ = std::make_unique<AlgorithmIdentifier>();
  return body.open(buffer, kSequence) && algorithm_->get(buffer) && getOctets(buffer, value_);
}

}  // namespace keystrand
