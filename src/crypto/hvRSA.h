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
  // EMSA-PKCS1-v1_5 with block type 1, at least eight fill bytes, and exactly `data` behind the separator.
  static bool isPadded(std::span<const unsigned char> block, std::span<const unsigned char> data);
};

}  // namespace keystrand
