#include "keystrand/crypto/ECParameters.h"

#include "crypto/ECGroup.h"
#include "der/Element.h"
#include "der/Octets.h"

namespace keystrand {

namespace {
constexpr unsigned char kObjectIdentifierTag = 0x06;
}

std::shared_ptr<const ec_group_st> ECParameters::group() const {
  return namedCurve_ ? namedGroup(*namedCurve_) : explicitGroup(explicit_);
}

std::uint32_t ECParameters::fieldBits() const {
  const auto found = group();
  return found ? fieldBitsOf(*found) : 0;
}

std::uint32_t ECParameters::orderBytes() const {
  const auto found = group();
  return found ? orderBytesOf(*found) : 0;
}

std::uint32_t ECParameters::size(const Buffer& buffer) const {
  return namedCurve_ ? buffer.sizeOID(*namedCurve_) : static_cast<std::uint32_t>(explicit_.size());
}

void ECParameters::put(Buffer& buffer) const {
  if (namedCurve_) {
    buffer.putOID(*namedCurve_);
  } else {
    buffer.putBytes(explicit_.data(), size(buffer));
  }
}

bool ECParameters::get(Buffer& buffer) {
  namedCurve_.reset();
  explicit_.clear();
  if (buffer.peekByte() != kObjectIdentifierTag) return getRaw(buffer, kSequence, explicit_);
  return buffer.getOID(namedCurve_.emplace());
}

owner<AlgorithmParameter*> ECParameters::clone() const {
  return new ECParameters(*this);
}

}  // namespace keystrand
