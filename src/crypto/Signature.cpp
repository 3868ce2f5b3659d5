#include "keystrand/crypto/Signature.h"

#include "crypto/Octets.h"
#include "support/Memory.h"

namespace keystrand {

owner<unsigned char*> Signature::bytes() const {
  return newBytes(presentBytes(bytes_));
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
