// PBMParameter of the password based MAC (RFC 4211 section 4.4).
#pragma once

#include "der/Octets.h"
#include "keystrand/crypto/AlgorithmIdentifier.h"

namespace keystrand {

class PBMParameter final : public AlgorithmParameter {
 public:
  PBMParameter() = default;
  PBMParameter(const PBMParameter& other);
  PBMParameter& operator=(const PBMParameter&) = delete;

  [[nodiscard]] std::span<const unsigned char> saltView() const noexcept { return salt_.view(); }
  [[nodiscard]] const AlgorithmIdentifier* owfView() const noexcept { return owf_.get(); }  // the one-way function
  [[nodiscard]] std::int32_t iterationCount() const noexcept { return iterationCount_; }
  [[nodiscard]] const AlgorithmIdentifier* macView() const noexcept { return mac_.get(); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void put(Buffer& buffer) const override;
  bool get(Buffer& buffer) override;
  [[nodiscard]] owner<AlgorithmParameter*> clone() const override { return new PBMParameter(*this); }

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  OctetValue salt_;
  std::unique_ptr<AlgorithmIdentifier> owf_;
  std::int32_t iterationCount_ = 0;
  std::unique_ptr<AlgorithmIdentifier> mac_;
};

}  // namespace keystrand
