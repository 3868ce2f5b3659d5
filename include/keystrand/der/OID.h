// OBJECT IDENTIFIER (X.690 8.19): at most 64 arcs of 32 bits.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "keystrand/support/Api.h"

namespace keystrand {

class KEYSTRAND_API OID {
 public:
  static constexpr int kMaxArcs = 64;

  OID() = default;
  explicit OID(const char* dotted);
  OID(const OID& other);
  OID& operator=(const OID& other);
  OID(OID&& other) noexcept = default;
  OID& operator=(OID&& other) noexcept = default;

  [[nodiscard]] owner<OID*> clone() const { return new OID(*this); }
  // Dotted text; the caller delete[]s it. An empty identifier gives a run of zeros that ends with a point.
  [[nodiscard]] owner<char*> toText() const;
  [[nodiscard]] int count() const noexcept { return count_; }
  bool setCount(int n);
  [[nodiscard]] std::uint32_t arc(int index) const noexcept;
  bool setArc(int index, std::uint32_t value);
  // An identifier to which a 65th arc was offered; it equals nothing, not even itself.
  [[nodiscard]] bool overflow() const noexcept { return overflow_; }
  [[nodiscard]] std::span<const std::uint32_t> arcs() const noexcept;

  [[nodiscard]] bool equals(const char* dotted) const;
  [[nodiscard]] bool equals(const OID& other) const noexcept;
  [[nodiscard]] bool startsWith(const char* dotted) const;
  [[nodiscard]] bool startsWith(const OID& prefix) const noexcept;
  void print() const;

 private:
  static constexpr int kInlineArcs = 12;
  std::uint32_t inline_[kInlineArcs] = {};
  std::unique_ptr<std::uint32_t[]> more_;  // all arcs, kMaxArcs of them, once kInlineArcs do not suffice
  std::int32_t count_ = 0;
  bool overflow_ = false;
};

}  // namespace keystrand
