// An elliptic-curve private key (ECPrivateKey, RFC 5915 section 3). The private value is overwritten when the key goes.
#pragma once

#include <memory>
#include <span>

#include "keystrand/crypto/ECDSAPublicKey.h"
#include "keystrand/crypto/ECParameters.h"
#include "keystrand/crypto/Key.h"
#include "keystrand/der/BigInteger.h"

namespace keystrand {

class KEYSTRAND_API ECDSAPrivateKey final : public Key {
 public:
  ECDSAPrivateKey() = default;
  ECDSAPrivateKey(const ECDSAPrivateKey&) = default;
  ECDSAPrivateKey& operator=(const ECDSAPrivateKey&) = delete;
  ~ECDSAPrivateKey() override;

  // Stores a clone.
  void setParameters(const ECParameters* parameters) { publicKey_.setParameters(parameters); }
  [[nodiscard]] const ECParameters* parametersView() const noexcept { return publicKey_.parametersView(); }
  void setValue(BigInteger value);
  [[nodiscard]] const BigInteger& value() const noexcept { return value_; }
  // The point, empty where the key came without.
  void setPoint(std::span<const unsigned char> point) { publicKey_.setPoint(point); }
  [[nodiscard]] const ECDSAPublicKey& publicKey() const noexcept { return publicKey_; }

  [[nodiscard]] owner<unsigned char*> keyBytes() const override;  // the private value, big-endian
  [[nodiscard]] std::uint32_t keyLength() const override;
  [[nodiscard]] owner<Key*> clone() const override;
  // The structure itself, with its parameters; the value is as long as the curve's order. Reading takes the parameters
  // that were set before where there are none in it.
  [[nodiscard]] std::uint32_t privateSize(const Buffer& buffer) const override;
  void putPrivate(Buffer& buffer) const override;
  bool getPrivate(Buffer& buffer) override;
  // The public half: the point, a whole BIT STRING.
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override { return publicKey_.size(buffer); }
  void put(Buffer& buffer) const override { publicKey_.put(buffer); }
  bool get(Buffer& buffer) override { return publicKey_.get(buffer); }
  [[nodiscard]] KeyKind kind() const noexcept override { return KeyKind::kECPrivate; }

 private:
  [[nodiscard]] std::uint32_t valueLength() const;
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  BigInteger value_;
  ECDSAPublicKey publicKey_;
};

}  // namespace keystrand
