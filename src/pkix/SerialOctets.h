// The content octets of the INTEGER whose base-16 text a caller asks for.
//
// The reader of integers refuses redundant sign octets, so text and octets are one to one: comparing octets answers the
// same question as turning every serial number into text.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace keystrand {

class SerialOctets {
 public:
  // The text is taken in the one form that BigInteger::text(16) gives: upper case, an even number of digits, no leading
  // "00", "-" before a negative value, "0" for zero. Any other text has no octets.
  explicit SerialOctets(std::string_view text);
  SerialOctets(const SerialOctets&) = delete;
  SerialOctets& operator=(const SerialOctets&) = delete;

  [[nodiscard]] bool valid() const noexcept { return size_ != 0; }
  [[nodiscard]] std::span<const unsigned char> view() const noexcept { return {begin_, size_}; }

 private:
  bool readDigits(std::string_view digits, unsigned char* out) const noexcept;
  void setZero() noexcept;
  void setPositive(unsigned char* magnitude, std::size_t n) noexcept;
  void setNegative(unsigned char* magnitude, std::size_t n) noexcept;
  static constexpr std::size_t kShort = 64;
  std::array<unsigned char, kShort + 1> short_;  // one sign octet, then the magnitude
  std::vector<unsigned char> long_;              // instead, for a longer one
  const unsigned char* begin_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace keystrand
