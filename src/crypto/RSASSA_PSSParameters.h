// RSASSA-PSS-params (RFC 4055 section 3.1). A field that is absent takes its default and stays absent when written.
#pragma once

#include <optional>

#include "keystrand/crypto/AlgorithmIdentifier.h"

namespace keystrand {

class RSASSA_PSSParameters final : public AlgorithmParameter {
 public:
  RSASSA_PSSParameters() = default;
  RSASSA_PSSParameters(const RSASSA_PSSParameters& other);
  RSASSA_PSSParameters& operator=(const RSASSA_PSSParameters&) = delete;

  // The hash over the message; nullptr stands for SHA-1.
  [[nodiscard]] const AlgorithmIdentifier* hashView() const noexcept { return hash_.get(); }
  // The mask generation function; nullptr stands for MGF1 with SHA-1.
  [[nodiscard]] const AlgorithmIdentifier* maskGenView() const noexcept { return maskGen_.get(); }
  [[nodiscard]] std::int32_t saltLength() const noexcept { return saltLength_.value_or(20); }  // bytes
  [[nodiscard]] std::int32_t trailerField() const noexcept { return trailerField_.value_or(1); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void put(Buffer& buffer) const override;
  bool get(Buffer& buffer) override;
  [[nodiscard]] owner<AlgorithmParameter*> clone() const override { return new RSASSA_PSSParameters(*this); }

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<AlgorithmIdentifier> hash_;     // [0] DEFAULT sha1Identifier
  std::unique_ptr<AlgorithmIdentifier> maskGen_;  // [1] DEFAULT mgf1SHA1Identifier
  std::optional<std::int32_t> saltLength_;        // [2] DEFAULT 20
  std::optional<std::int32_t> trailerField_;      // [3] DEFAULT 1
};

}  // namespace keystrand
