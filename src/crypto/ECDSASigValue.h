// Ecdsa-Sig-Value ::= SEQUENCE { r INTEGER, s INTEGER } (RFC 3279 section 2.2.3).
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "keystrand/der/BigInteger.h"
#include "support/Memory.h"

namespace keystrand {

class ECDSASigValue {
 public:
  ECDSASigValue() = default;
  // From r and s of the same length, one behind the other.
  explicit ECDSASigValue(std::span<const unsigned char> halves)
      : r_(halves.first(halves.size() / 2)), s_(halves.last(halves.size() / 2)) {}
  // r and s, each left-padded to the length of the order, one behind the other; nothing when one of them is not
  // positive or longer than that.
  [[nodiscard]] std::optional<Bytes> raw(std::uint32_t orderBytes) const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  BigInteger r_;
  BigInteger s_;
};

}  // namespace keystrand
