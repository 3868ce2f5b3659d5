// RSAPrivateKey (RFC 8017 A.1.2), with two primes. The private integers are overwritten when the key goes.
#pragma once

#include <array>

#include "keystrand/crypto/Key.h"
#include "keystrand/crypto/RSAPublicKey.h"
#include "keystrand/der/BigInteger.h"

namespace keystrand {

class KEYSTRAND_API RSAPrivateKey final : public Key {
 public:
  // modulus, publicExponent, privateExponent, prime1, prime2, exponent1, exponent2, coefficient.
  using Integers = std::array<BigInteger, 8>;

  RSAPrivateKey() = default;
  explicit RSAPrivateKey(Integers integers) : integers_(std::move(integers)) {}
  RSAPrivateKey(const RSAPrivateKey&) = default;
  RSAPrivateKey& operator=(const RSAPrivateKey& other);
  ~RSAPrivateKey() override;

  [[nodiscard]] const BigInteger& modulus() const noexcept { return integers_[0]; }
  [[nodiscard]] const BigInteger& publicExponent() const noexcept { return integers_[1]; }
  [[nodiscard]] const BigInteger& privateExponent() const noexcept { return integers_[2]; }
  [[nodiscard]] const BigInteger& prime1() const noexcept { return integers_[3]; }
  [[nodiscard]] const BigInteger& prime2() const noexcept { return integers_[4]; }
  [[nodiscard]] const BigInteger& exponent1() const noexcept { return integers_[5]; }
  [[nodiscard]] const BigInteger& exponent2() const noexcept { return integers_[6]; }
  [[nodiscard]] const BigInteger& coefficient() const noexcept { return integers_[7]; }
  // In the order of the structure.
  [[nodiscard]] const Integers& integers() const noexcept { return integers_; }
  // Whether the primes and what belongs to them are there; without them the private exponent alone is used.
  [[nodiscard]] bool hasPrimes() const noexcept;
  [[nodiscard]] RSAPublicKey publicKey() const { return {modulus(), publicExponent()}; }

  [[nodiscard]] owner<unsigned char*> keyBytes() const override;  // the modulus, big-endian
  [[nodiscard]] std::uint32_t keyLength() const override;         // of the modulus, in bytes
  [[nodiscard]] owner<Key*> clone() const override;
  [[nodiscard]] bool isStripped() const override;
  void setStripped() override;
  // The structure itself.
  [[nodiscard]] std::uint32_t privateSize(const Buffer& buffer) const override;
  void putPrivate(Buffer& buffer) const override;
  bool getPrivate(Buffer& buffer) override;
  // Its public half, an RSAPublicKey; get leaves no private integer.
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void put(Buffer& buffer) const override;
  bool get(Buffer& buffer) override;
  [[nodiscard]] KeyKind kind() const noexcept override { return KeyKind::kRSAPrivate; }

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  Integers integers_;
};

}  // namespace keystrand
