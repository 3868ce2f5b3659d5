// RSA as PKCS #1 knows it (RFC 8017), over OpenSSL's BIGNUM arithmetic.
#pragma once

#include <optional>
#include <span>

#include "crypto/SystemRandomGenerator.h"
#include "keystrand/crypto/RSAPrivateKey.h"
#include "keystrand/crypto/RSAPublicKey.h"
#include "support/Memory.h"
#include "support/SecretBytes.h"

namespace keystrand {

class hvRSA {
 public:
  // The public operation: signature^exponent mod modulus, as long as the modulus. Nothing for a key that is not
  // acceptable (even, tiny or oversized modulus, exponent out of bounds) or a representative not below the modulus.
  static std::optional<Bytes> publicOperation(const RSAPublicKey& key, std::span<const unsigned char> block);
  // What lies behind the separator of EMSA-PKCS1-v1_5: block type 1 and at least eight fill bytes, or nothing. It may
  // be no byte at all. Points into the block.
  static std::optional<std::span<const unsigned char>> withoutPadding(std::span<const unsigned char> block);

  // The private operation, as long as the modulus: blinded, by the Chinese remainder theorem where the primes are
  // there, and checked by the public operation, so that a wrong key, or a fault, gives nothing rather than a result
  // that tells the primes.
  static std::optional<SecretBytes> privateOperation(const RSAPrivateKey& key, std::span<const unsigned char> block);

  // EMSA-PKCS1-v1_5 round these octets (section 9.2, step 4); nothing when the block has no room for eight fill bytes.
  static std::optional<Bytes> withPadding(std::span<const unsigned char> data, std::size_t length);
  // EME-PKCS1-v1_5 (section 7.2): with random fill bytes, and taken off again in a time that does not tell where.
  static std::optional<SecretBytes> withRandomPadding(std::span<const unsigned char> data, std::size_t length,
                                                      RandomGenerator& random);
  static std::optional<SecretBytes> withoutRandomPadding(std::span<const unsigned char> block);

  // A new key of that many bits, 512 to 16384, with an odd public exponent above 1. Candidates for the primes come from
  // the generator.
  static std::optional<RSAPrivateKey> generate(int bits, const BigInteger& exponent, RandomGenerator& random);
};

}  // namespace keystrand
