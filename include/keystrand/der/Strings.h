// The wide string types of ASN.1: UniversalString, BMPString and UTF8String (X.690 8.21). 16-bit units throughout;
// characters beyond the basic plane come out truncated to their low 16 bits.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "keystrand/der/Buffer.h"

namespace keystrand {

// UniversalString, tag 28. Reads four bytes a character, writes two in low-byte-first order: a value that was read does
// not come back as it was.
class KEYSTRAND_API ISO10646 {
 public:
  ISO10646() = default;
  explicit ISO10646(std::u16string_view wide) : wide_(wide) {}
  explicit ISO10646(std::string_view narrow);  // each byte widened
  ISO10646(const ISO10646&) = default;
  ISO10646& operator=(const ISO10646&) = default;
  ISO10646(ISO10646&&) = default;
  ISO10646& operator=(ISO10646&&) = default;
  virtual ~ISO10646();

  virtual void put(Buffer& buffer) const;
  virtual bool get(Buffer& buffer);
  [[nodiscard]] virtual std::uint32_t size(const Buffer& buffer) const;

  [[nodiscard]] owner<char16_t*> toWide() const;  // NUL-terminated, delete[]; nullptr when there is no value
  [[nodiscard]] const std::optional<std::u16string>& wideView() const noexcept { return wide_; }
  [[nodiscard]] std::uint32_t wideLength() const noexcept;
  // UTF-8 whatever the locale; nullptr when there is no value. delete[].
  [[nodiscard]] owner<char*> toNarrow() const;

  // An absent value equals nothing.
  [[nodiscard]] bool equals(const ISO10646& other) const noexcept;
  [[nodiscard]] bool equalsPattern(const ISO10646& other) const noexcept;
  [[nodiscard]] bool notEquals(const ISO10646& other) const noexcept { return !equals(other); }
  [[nodiscard]] bool less(const ISO10646& other) const noexcept;
  [[nodiscard]] bool greater(const ISO10646& other) const noexcept { return other.less(*this); }
  [[nodiscard]] bool lessOrEqual(const ISO10646& other) const noexcept { return !other.less(*this); }
  [[nodiscard]] bool greaterOrEqual(const ISO10646& other) const noexcept { return !less(other); }

 protected:
  std::optional<std::u16string> wide_;
};

// BMPString, tag 30, big-endian.
class KEYSTRAND_API Unicode : public ISO10646 {
 public:
  using ISO10646::ISO10646;
  Unicode() = default;
  Unicode(const unsigned char* bigEndian, std::uint32_t n);
  [[nodiscard]] owner<unsigned char*> toBigEndian(std::uint32_t& n) const;
  void put(Buffer& buffer) const override;
  bool get(Buffer& buffer) override;
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
};

// UTF8String, tag 12. The wide form is the master copy; the text is made from it when it is missing.
class KEYSTRAND_API UTF8 : public ISO10646 {
 public:
  UTF8() = default;
  explicit UTF8(std::string_view text);
  explicit UTF8(std::u16string_view wide) : ISO10646(wide) {}
  [[nodiscard]] owner<char*> toText() const;  // delete[]; nullptr after a failed conversion
  [[nodiscard]] std::uint32_t textLength() const;
  // A text with a byte-order mark; false on a lone high surrogate.
  bool fromUTF16(const unsigned char* bytes, std::uint32_t n);
  [[nodiscard]] std::optional<std::string> text() const;
  void put(Buffer& buffer) const override;
  bool get(Buffer& buffer) override;
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;

 private:
  bool setText(std::string_view text);
  std::optional<std::string> text_;
};

}  // namespace keystrand
