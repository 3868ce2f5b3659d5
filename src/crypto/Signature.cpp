#include "keystrand/crypto/Signature.h"

#include "der/Octets.h"
#include "support/Memory.h"

namespace keystrand {

owner<unsigned char*> Signature::bytes() const {
  return newBytes(bytes_.view());
}

std::uint32_t Signature::size(const Buffer& buffer) const {
  return sizeBits(buffer, bytes_);
}

void Signature::put(Buffer& buffer) const {
  putBits(buffer, bytes_, unusedBits_);
}

bool Signature::get(Buffer& buffer) {
  return getBits(buffer, bytes_, unusedBits_);
}

}  // namespace keystrand
