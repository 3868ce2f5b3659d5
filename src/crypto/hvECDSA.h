// ECDSA (X9.62, RFC 5480), over OpenSSL's curves.
#pragma once

#include <memory>
#include <optional>
#include <span>

#include "crypto/SystemRandomGenerator.h"
#include "keystrand/crypto/ECDSAPrivateKey.h"
#include "keystrand/crypto/ECDSAPublicKey.h"
#include "support/Memory.h"

struct ec_point_st;

namespace keystrand {

class hvECDSA {
 public:
  hvECDSA() = default;
  hvECDSA(const hvECDSA&) = delete;
  hvECDSA& operator=(const hvECDSA&) = delete;
  ~hvECDSA();

  // Prepares group and point; false for an unknown curve, a point off it or at infinity.
  bool setKey(const ECDSAPublicKey& key);
  // `signature` is r and s, each left-padded to the length of the order, one behind the other.
  [[nodiscard]] bool verify(std::span<const unsigned char> digest, std::span<const unsigned char> signature) const;

  // The same for signing; false for an unknown curve, or a private value that is not between 0 and the order.
  bool setKey(const ECDSAPrivateKey& key);
  // r and s as verify takes them; nothing without a private key.
  [[nodiscard]] std::optional<Bytes> sign(std::span<const unsigned char> digest) const;
  // The point of the private key that was set, uncompressed.
  [[nodiscard]] std::optional<Bytes> publicPoint() const;

  // A new key on that curve, its value out of the generator; nothing for a curve that is not known.
  static std::optional<ECDSAPrivateKey> generate(const ECParameters& curve, RandomGenerator& random);

 private:
  std::shared_ptr<const ec_group_st> group_;
  std::shared_ptr<const ec_point_st> point_;
  BigInteger value_;
};

}  // namespace keystrand
