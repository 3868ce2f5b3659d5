// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING } (RFC 8017 section 9.2).
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/der/OctetValue.h"

namespace keystrand {

class KEYSTRAND_API DigestInfo {
 public:
  DigestInfo();
  DigestInfo(const AlgorithmIdentifier& algorithm, std::span<const unsigned char> value);
  ~DigestInfo();
  DigestInfo(const DigestInfo&) = delete;
  DigestInfo& operator=(const DigestInfo&) = delete;
  [[nodiscard]] owner<DigestInfo*> clone() const;

  [[nodiscard]] owner<AlgorithmIdentifier*> algorithm() const;
  [[nodiscard]] const AlgorithmIdentifier* algorithmView() const noexcept { return algorithm_.get(); }
  [[nodiscard]] owner<unsigned char*> value() const;  // delete[]; nullptr when absent
  [[nodiscard]] std::span<const unsigned char> valueView() const noexcept { return value_.view(); }
  [[nodiscard]] std::uint32_t length() const noexcept { return value_.size(); }
  [[nodiscard]] bool equals(const DigestInfo& other) const noexcept;  // the bytes only
  // Whether NULL parameters are coded behind the algorithm.
  void setHasParameters(bool flag) noexcept;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<AlgorithmIdentifier> algorithm_;
  OctetValue value_;
};

}  // namespace keystrand
