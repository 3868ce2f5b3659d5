#include "pkix/SerialOctets.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

static_assert(std::endian::native == std::endian::little);

namespace keystrand {
namespace {

// Sixteen digits at a time, through the vector types that gcc and clang share.
constexpr std::size_t kGroup = 16;
using Digits [[gnu::vector_size(kGroup)]] = unsigned char;
using Pairs [[gnu::vector_size(kGroup)]] = std::uint16_t;
using Octets [[gnu::vector_size(kGroup / 2)]] = unsigned char;

// False when one of them is no upper-case digit; `out` then holds anything.
bool readGroup(const char* digits, unsigned char* out) noexcept {
  Digits text;
  std::memcpy(&text, digits, sizeof text);
  const Digits decimal = text - static_cast<unsigned char>('0');
  const Digits letter = text - static_cast<unsigned char>('A');
  const auto isDecimal = reinterpret_cast<Digits>(decimal < 10);
  const auto isLetter = reinterpret_cast<Digits>(letter < 6);
  const auto pairs = reinterpret_cast<Pairs>((decimal & isDecimal) | ((letter + 10) & isLetter));
  const Octets octets = __builtin_convertvector((pairs << 4 | pairs >> 8) & 0xFF, Octets);
  std::memcpy(out, &octets, sizeof octets);
  std::uint64_t good[2];
  const Digits known = isDecimal | isLetter;
  std::memcpy(good, &known, sizeof good);
  return (good[0] & good[1]) == ~std::uint64_t{0};
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

// The last group overlaps the one before it. A text shorter than a group is padded in front.
bool SerialOctets::readDigits(std::string_view digits, unsigned char* out) const noexcept {
  if (digits.size() < kGroup) {
    std::array<char, kGroup> padded;
    padded.fill('0');
    std::array<unsigned char, kGroup / 2> octets{};
    std::ranges::copy(digits, padded.end() - digits.size());
    const bool good = readGroup(padded.data(), octets.data());
    std::copy(octets.end() - digits.size() / 2, octets.end(), out);
    return good;
  }
  bool good = true;
  for (std::size_t i = 0; i + kGroup < digits.size(); i += kGroup) good &= readGroup(digits.data() + i, out + i / 2);
  const std::size_t last = digits.size() - kGroup;
  return readGroup(digits.data() + last, out + last / 2) && good;
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
