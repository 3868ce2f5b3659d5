// Parameters that are nothing but the initialisation vector of a block cipher in CBC mode (RFC 8018 B.2, RFC 3565 4.1).
#pragma once

#include "der/Octets.h"
#include "keystrand/crypto/AlgorithmParameter.h"

namespace keystrand {

class IVParameter : public AlgorithmParameter {
 public:
  // As it was read: whether its length is that of the cipher's block is for the cipher to say.
  [[nodiscard]] std::span<const unsigned char> ivView() const noexcept { return iv_.view(); }
  void setIV(std::span<const unsigned char> iv) { iv_ = OctetValue(iv); }
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override { return sizeOctets(buffer, iv_); }
  void put(Buffer& buffer) const override { putOctets(buffer, iv_); }
  bool get(Buffer& buffer) override { return getOctets(buffer, iv_); }

 private:
  OctetValue iv_;
};

class DESParameter final : public IVParameter {
 public:
  [[nodiscard]] owner<AlgorithmParameter*> clone() const override { return new DESParameter(*this); }
};

class AESParameter final : public IVParameter {
 public:
  [[nodiscard]] owner<AlgorithmParameter*> clone() const override { return new AESParameter(*this); }
};

}  // namespace keystrand
