// PBEParameter ::= SEQUENCE { salt OCTET STRING, iterationCount INTEGER } (RFC 8018 A.3, RFC 7292 appendix C).
#pragma once

#include "der/Octets.h"
#include "keystrand/crypto/AlgorithmParameter.h"

namespace keystrand {

class PBEParameter final : public AlgorithmParameter {
 public:
  PBEParameter() = default;
  PBEParameter(std::span<const unsigned char> salt, std::int32_t iterationCount)
      : salt_(salt), iterationCount_(iterationCount) {}

  [[nodiscard]] std::span<const unsigned char> saltView() const noexcept { return salt_.view(); }
  [[nodiscard]] std::int32_t iterationCount() const noexcept { return iterationCount_; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void put(Buffer& buffer) const override;
  bool get(Buffer& buffer) override;
  [[nodiscard]] owner<AlgorithmParameter*> clone() const override { return new PBEParameter(*this); }

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  OctetValue salt_;
  std::int32_t iterationCount_ = 0;
};

}  // namespace keystrand
