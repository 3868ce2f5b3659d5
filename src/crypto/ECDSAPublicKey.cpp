#include "keystrand/crypto/ECDSAPublicKey.h"

#include "der/Octets.h"
#include "support/Memory.h"

namespace keystrand {

ECDSAPublicKey::ECDSAPublicKey(const ECDSAPublicKey& other)
    : Key(other), point_(other.point_), unusedBits_(other.unusedBits_) {
  setParameters(other.parameters_.get());
}

void ECDSAPublicKey::setParameters(const ECParameters* parameters) {
  parameters_ = parameters != nullptr ? std::make_unique<ECParameters>(*parameters) : nullptr;
}

owner<unsigned char*> ECDSAPublicKey::keyBytes() const {
  return newBytes(point_.view());
}
std::uint32_t ECDSAPublicKey::keyLength() const {
  return static_cast<std::uint32_t>(pointView().size());
}
owner<Key*> ECDSAPublicKey::clone() const {
  return new ECDSAPublicKey(*this);
}

std::uint32_t ECDSAPublicKey::size(const Buffer& buffer) const {
  return sizeBits(buffer, point_);
}
void ECDSAPublicKey::put(Buffer& buffer) const {
  putBits(buffer, point_, unusedBits_);
}
bool ECDSAPublicKey::get(Buffer& buffer) {
  return getBits(buffer, point_, unusedBits_);
}

}  // namespace keystrand
