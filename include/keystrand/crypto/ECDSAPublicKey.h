// An elliptic-curve public key (RFC 5480 section 2.2): the point as encoded and the domain parameters of the algorithm.
#pragma once

#include <memory>
#include <span>

#include "keystrand/crypto/ECParameters.h"
#include "keystrand/crypto/Key.h"
#include "keystrand/der/OctetValue.h"

namespace keystrand {

class KEYSTRAND_API ECDSAPublicKey final : public Key {
 public:
  ECDSAPublicKey() = default;
  ECDSAPublicKey(const ECDSAPublicKey& other);
  ECDSAPublicKey& operator=(const ECDSAPublicKey&) = delete;

  // Stores a clone; must precede get.
  void setParameters(const ECParameters* parameters);
  [[nodiscard]] const ECParameters* parametersView() const noexcept { return parameters_.get(); }
  void setPoint(std::span<const unsigned char> point) { point_ = OctetValue(point); }
  [[nodiscard]] std::span<const unsigned char> pointView() const noexcept { return point_.view(); }

  [[nodiscard]] owner<unsigned char*> keyBytes() const override;  // the point
  [[nodiscard]] std::uint32_t keyLength() const override;
  [[nodiscard]] owner<Key*> clone() const override;
  // A whole BIT STRING: an EC key writes its own.
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void put(Buffer& buffer) const override;
  bool get(Buffer& buffer) override;
  [[nodiscard]] KeyKind kind() const noexcept override { return KeyKind::kECPublic; }

 private:
  std::unique_ptr<ECParameters> parameters_;
  OctetValue point_;
  unsigned char unusedBits_ = 0;
};

}  // namespace keystrand
