// OBJECT IDENTIFIER (X.690 8.19): at most 64 arcs of 32 bits.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "keystrand/support/Api.h"

namespace keystrand {

class KEYSTRAND_API OID {
 public:
  static constexpr int kMaxArcs = 64;

  OID() = default;
  // Cut at each point; the digits of a piece count modulo 2^32 and anything else ends the piece.
  explicit OID(const char* dotted);
  OID(const OID& other);
  OID& operator=(const OID& other);
  OID(OID&& other) noexcept { swap(other); }
  OID& operator=(OID&& other) noexcept {
    swap(other);
    return *this;
  }
  ~OID() = default;

  [[nodiscard]] owner<OID*> clone() const { return new OID(*this); }
  // Dotted text; that of an empty identifier is a run of zeros that ends with a point.
  [[nodiscard]] std::string dotted() const;
  [[nodiscard]] owner<char*> toText() const;  // the same, delete[]d by the caller
  [[nodiscard]] int count() const noexcept { return count_; }
  bool setCount(int n);
  [[nodiscard]] std::uint32_t arc(int index) const noexcept;
  bool setArc(int index, std::uint32_t value) {
    if (index < 0 || index >= capacity_) return setArcBeyond(index, value);
    store()[index] = value;
    return true;
  }
  // An identifier to which a 65th arc was offered; it equals nothing, not even itself.
  [[nodiscard]] bool overflow() const noexcept { return overflow_; }
  [[nodiscard]] std::span<const std::uint32_t> arcs() const noexcept { return {store(), count_}; }

  // A text is compared by its first 64 arcs.
  [[nodiscard]] bool equals(const char* dotted) const;
  [[nodiscard]] bool equals(const OID& other) const noexcept;
  [[nodiscard]] bool startsWith(const char* dotted) const;
  [[nodiscard]] bool startsWith(const OID& prefix) const noexcept;
  void print() const;

 private:
  [[nodiscard]] const std::uint32_t* store() const noexcept { return more_ ? more_.get() : inline_; }
  [[nodiscard]] std::uint32_t* store() noexcept { return more_ ? more_.get() : inline_; }
  bool setArcBeyond(int index, std::uint32_t value);
  void grow(int arcs);
  void swap(OID& other) noexcept;

  // Nine arcs hold every identifier of a usual certificate but few.
  static constexpr int kInlineArcs = 9;
  std::unique_ptr<std::uint32_t[]> more_;  // all arcs, capacity_ of them, once kInlineArcs do not suffice
  std::uint32_t inline_[kInlineArcs] = {};
  std::uint8_t capacity_ = kInlineArcs;
  std::uint8_t count_ = 0;
  bool overflow_ = false;
};

}  // namespace keystrand
