// RSA as PKCS #1 knows it (RFC 8017), over OpenSSL's BIGNUM arithmetic.
#pragma once

#include <optional>
#include <span>

#include "keystrand/crypto/RSAPublicKey.h"
#include "support/Memory.h"

namespace keystrand {

class hvRSA {
 public:
  // The public operation: signature^exponent mod modulus, as long as the modulus. Nothing for a key that is not
  // acceptable (even, tiny or oversized modulus, exponent out of bounds) or a representative not below the modulus.
  static std::optional<Bytes> publicOperation(const RSAPublicKey& key, std::span<const unsigned char> block);
  // What lies behind the separator of EMSA-PKCS1-v1_5: block type 1 and at least eight fill bytes, or nothing. It may
  // be no byte at all. Points into the block.
  static std::optional<std::span<const unsigned char>> withoutPadding(std::span<const unsigned char> block);
};

}  // namespace keystrand
