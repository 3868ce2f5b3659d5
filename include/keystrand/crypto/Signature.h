// The octets of a signature, coded as a BIT STRING (RFC 5280 section 4.1.1.3).
// A BIT STRING of no octets and an absent one (NULL) stay apart, so that each comes back as it arrived.
#pragma once

#include <cstdint>
#include <span>

#include "keystrand/der/Buffer.h"
#include "keystrand/der/OctetValue.h"

namespace keystrand {

class KEYSTRAND_API Signature {
 public:
  Signature() = default;
  explicit Signature(std::span<const unsigned char> bytes) : bytes_(bytes) {}
  [[nodiscard]] owner<Signature*> clone() const { return new Signature(*this); }

  [[nodiscard]] owner<unsigned char*> bytes() const;  // delete[]; nullptr when absent
  [[nodiscard]] std::span<const unsigned char> view() const noexcept { return bytes_.view(); }
  [[nodiscard]] std::uint32_t length() const noexcept { return bytes_.size(); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  OctetValue bytes_;
  unsigned char unusedBits_ = 0;
};

}  // namespace keystrand
