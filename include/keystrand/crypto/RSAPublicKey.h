// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER } (RFC 8017 A.1.1).
#pragma once

#include "keystrand/crypto/Key.h"
#include "keystrand/der/BigInteger.h"

namespace keystrand {

class KEYSTRAND_API RSAPublicKey final : public Key {
 public:
  RSAPublicKey() = default;
  RSAPublicKey(BigInteger modulus, BigInteger exponent)
      : modulus_(std::move(modulus)), exponent_(std::move(exponent)) {}

  [[nodiscard]] const BigInteger& modulus() const noexcept { return modulus_; }
  [[nodiscard]] const BigInteger& exponent() const noexcept { return exponent_; }

  [[nodiscard]] owner<unsigned char*> keyBytes() const override;  // the modulus, big-endian
  [[nodiscard]] std::uint32_t keyLength() const override;         // of the modulus, in bytes
  [[nodiscard]] owner<Key*> clone() const override;
  [[nodiscard]] bool isStripped() const override;
  void setStripped() override;
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void put(Buffer& buffer) const override;
  bool get(Buffer& buffer) override;
  [[nodiscard]] KeyKind kind() const noexcept override { return KeyKind::kRSAPublic; }

 private:
  BigInteger modulus_;
  BigInteger exponent_;
};

}  // namespace keystrand
