#include "pkix/SerialOctets.h"

#include <cstdint>

namespace keystrand {
namespace {

constexpr unsigned char kNoDigit = 0xFF;

constexpr std::array<unsigned char, 256> makeDigitValues() {
  std::array<unsigned char, 256> values{};
  values.fill(kNoDigit);
  for (unsigned char i = 0; i < 10; ++i) values[std::size_t{'0'} + i] = i;
  for (unsigned char i = 0; i < 6; ++i) values[std::size_t{'A'} + i] = static_cast<unsigned char>(10 + i);
  return values;
}

constexpr std::array<unsigned char, 256> kDigitValues = makeDigitValues();

unsigned valueOf(char digit) noexcept {
  return kDigitValues[static_cast<unsigned char>(digit)];
}

}  // namespace

SerialOctets::SerialOctets(std::string_view text) {
  if (text == "0") {
    setZero();
    return;
  }
  const bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  const std::size_t n = text.size() / 2;
  if (n == 0 || text.size() % 2 != 0) return;
  if (n > kShort) long_.resize(n + 1);
  unsigned char* const magnitude = (n > kShort ? long_.data() : short_.data()) + 1;
  if (!readDigits(text, magnitude) || magnitude[0] == 0) return;
  negative ? setNegative(magnitude, n) : setPositive(magnitude, n);
}

bool SerialOctets::readDigits(std::string_view digits, unsigned char* out) const noexcept {
  unsigned all = 0;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    const unsigned high = valueOf(digits[i]);
    const unsigned low = valueOf(digits[i + 1]);
    all |= high | low;
    out[i / 2] = static_cast<unsigned char>(high << 4 | low);
  }
  return all < 0x10;
}

void SerialOctets::setZero() noexcept {
  short_[0] = 0;
  begin_ = short_.data();
  size_ = 1;
}

void SerialOctets::setPositive(unsigned char* magnitude, std::size_t n) noexcept {
  const bool needsSign = magnitude[0] >= 0x80;
  if (needsSign) *--magnitude = 0;
  begin_ = magnitude;
  size_ = needsSign ? n + 1 : n;
}

// Two's complement: all bits turned over, plus one.
void SerialOctets::setNegative(unsigned char* magnitude, std::size_t n) noexcept {
  unsigned carry = 1;
  for (std::size_t i = n; i-- > 0;) {
    carry += static_cast<unsigned char>(~magnitude[i]);
    magnitude[i] = static_cast<unsigned char>(carry);
    carry >>= 8;
  }
  const bool needsSign = magnitude[0] < 0x80;
  if (needsSign) *--magnitude = 0xFF;
  begin_ = magnitude;
  size_ = needsSign ? n + 1 : n;
}

}  // namespace keystrand
