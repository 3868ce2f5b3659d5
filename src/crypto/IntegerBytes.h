// A big integer as the bytes that a key hands out.
#pragma once

#include <memory>

#include "keystrand/der/BigInteger.h"

namespace keystrand {

// A new array of magnitudeLength() bytes, big-endian; the receiver releases it with delete[].
inline owner<unsigned char*> newMagnitude(const BigInteger& value) {
  const std::uint32_t n = value.magnitudeLength();
  auto bytes = std::make_unique<unsigned char[]>(n == 0 ? 1 : n);
  value.magnitude({bytes.get(), n});
  return bytes.release();
}

}  // namespace keystrand
