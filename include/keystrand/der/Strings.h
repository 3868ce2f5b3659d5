// The wide string types of ASN.1: UniversalString, BMPString and UTF8String (X.690 8.21). 16-bit units throughout;
// characters beyond the basic plane come out truncated to their low 16 bits. A string ends at its first NUL.
//
// An absent value is not an empty one: it is written as NULL and compares with nothing, not even with itself.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "keystrand/der/Buffer.h"

namespace keystrand {

// UniversalString, tag 28. Reads four bytes a character, writes two in low-byte-first order: a value that was read does
// not come back as it was.
class KEYSTRAND_API ISO10646 {
 public:
  ISO10646() = default;
  explicit ISO10646(std::u16string_view wide);
  explicit ISO10646(std::string_view narrow);  // each byte widened
  ISO10646(const ISO10646&) = default;
  ISO10646& operator=(const ISO10646&) = default;
  ISO10646(ISO10646&&) = default;
  ISO10646& operator=(ISO10646&&) = default;
  virtual ~ISO10646();

  virtual void put(Buffer& buffer) const;
  virtual bool get(Buffer& buffer);
  [[nodiscard]] virtual std::uint32_t size(const Buffer& buffer) const;

  [[nodiscard]] bool isAbsent() const noexcept { return std::holds_alternative<std::monostate>(value_); }
  [[nodiscard]] owner<char16_t*> toWide() const;  // NUL-terminated, delete[]; nullptr when absent
  [[nodiscard]] std::optional<std::u16string> wide() const;
  [[nodiscard]] std::uint32_t wideLength() const noexcept;
  // UTF-8 whatever the locale, made from the units; nullptr when absent. delete[].
  [[nodiscard]] owner<char*> toNarrow() const;
  void appendNarrow(std::string& out) const;  // nothing when absent

  // By units. A % in the left side of a pattern stands for exactly one unit.
  [[nodiscard]] bool equals(const ISO10646& other) const noexcept;
  [[nodiscard]] bool equalsPattern(const ISO10646& other) const noexcept;
  [[nodiscard]] bool notEquals(const ISO10646& other) const noexcept { return !equals(other); }
  [[nodiscard]] bool less(const ISO10646& other) const noexcept { return std::is_lt(compare(other)); }
  [[nodiscard]] bool greater(const ISO10646& other) const noexcept { return std::is_gt(compare(other)); }
  [[nodiscard]] bool lessOrEqual(const ISO10646& other) const noexcept { return std::is_lteq(compare(other)); }
  [[nodiscard]] bool greaterOrEqual(const ISO10646& other) const noexcept { return std::is_gteq(compare(other)); }

 protected:
  // Absent, the units, or (in UTF8 alone) the text from which they follow, known to be convertible.
  std::variant<std::monostate, std::u16string, std::string> value_;

 private:
  [[nodiscard]] std::partial_ordering compare(const ISO10646& other) const noexcept;
};

// BMPString, tag 30, big-endian. The last byte of an odd length is dropped.
class KEYSTRAND_API Unicode : public ISO10646 {
 public:
  using ISO10646::ISO10646;
  Unicode() = default;
  Unicode(const unsigned char* bigEndian, std::uint32_t n);
  [[nodiscard]] owner<unsigned char*> toBigEndian(std::uint32_t& n) const;  // delete[]; nullptr when absent
  void put(Buffer& buffer) const override;
  bool get(Buffer& buffer) override;
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
};

// UTF8String, tag 12. A text that cannot be converted to units leaves the value absent. What was read is written back
// byte for byte.
class KEYSTRAND_API UTF8 : public ISO10646 {
 public:
  UTF8() = default;
  explicit UTF8(std::string_view text) { setText(text); }
  explicit UTF8(std::u16string_view wide) : ISO10646(wide) {}
  [[nodiscard]] owner<char*> toText() const;  // delete[]; nullptr when absent
  [[nodiscard]] std::uint32_t textLength() const;
  // UTF-16 with a byte-order mark, big-endian where it is FE FF; false, the value absent, on a lone high surrogate.
  bool fromUTF16(const unsigned char* bytes, std::uint32_t n);
  [[nodiscard]] std::optional<std::string> text() const;
  void appendText(std::string& out) const;  // nothing when absent
  void put(Buffer& buffer) const override;
  bool get(Buffer& buffer) override;
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;

 private:
  bool setText(std::string_view text);
};

}  // namespace keystrand
