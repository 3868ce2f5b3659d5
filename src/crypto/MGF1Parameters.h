// The parameters of id-mgf1: the AlgorithmIdentifier of the hash function under the mask (RFC 4055 section 2.2).
#pragma once

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "support/Memory.h"

namespace keystrand {

class MGF1Parameters final : public AlgorithmParameter {
 public:
  MGF1Parameters() = default;
  MGF1Parameters(const MGF1Parameters& other) : hash_(copyOf(other.hash_.get())) {}
  MGF1Parameters& operator=(const MGF1Parameters&) = delete;

  [[nodiscard]] const AlgorithmIdentifier* hashView() const noexcept { return hash_.get(); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override { return hash_ ? hash_->size(buffer) : 0; }
  void put(Buffer& buffer) const override {
    if (hash_) hash_->put(buffer);
  }
  bool get(Buffer& buffer) override {
    hash_ = std::make_unique<AlgorithmIdentifier>();
    return hash_->get(buffer);
  }
  [[nodiscard]] owner<AlgorithmParameter*> clone() const override { return new MGF1Parameters(*this); }

 private:
  std::unique_ptr<AlgorithmIdentifier> hash_;
};

}  // namespace keystrand
