#include "der/UTF8Text.h"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace keystrand {

namespace {

constexpr unsigned kContinuationBits = 0x3F;

int leadingOnes(char c) {
  return std::countl_one(static_cast<unsigned char>(c));
}

bool isContinuation(char c) {
  return leadingOnes(c) == 1;
}

bool isUTF8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const int length = leadingOnes(text[i]);
    if (length == 1 || length > 4) return false;
    const std::string_view following = text.substr(i + 1, length == 0 ? 0 : static_cast<std::size_t>(length - 1));
    if (length != 0 && following.size() + 1 != static_cast<std::size_t>(length)) return false;
    if (!std::ranges::all_of(following, isContinuation)) return false;
    i += 1 + following.size();
  }
  return true;
}

}  // namespace

bool readUnit(std::string_view text, std::size_t& position, char16_t& unit) noexcept {
  const auto lead = static_cast<unsigned char>(text[position]);
  const int ones = std::countl_one(lead);
  const std::size_t length = ones == 0 ? 1 : static_cast<std::size_t>(ones);
  if (ones == 1 || ones > 6 || length > text.size() - position) return false;
  std::uint32_t code = ones == 0 ? lead : lead & (0x7FU >> ones);
  for (const char c : text.substr(position + 1, length - 1))
    code = code << 6 | (static_cast<unsigned char>(c) & kContinuationBits);
  unit = static_cast<char16_t>(code);
  position += length;
  return true;
}

bool isASCII(std::string_view text) noexcept {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isConvertible(std::string_view text) noexcept {
  if (isASCII(text)) return true;
  char16_t unit = 0;
  for (std::size_t position = 0; position < text.size();)
    if (!readUnit(text, position, unit)) return false;
  return true;
}

void appendUnit(std::string& out, char16_t unit) {
  if (unit < 0x80) {
    out += static_cast<char>(unit);
  } else if (unit < 0x800) {
    out += static_cast<char>(0xC0 | unit >> 6);
    out += static_cast<char>(0x80 | (unit & kContinuationBits));
  } else {
    out += static_cast<char>(0xE0 | unit >> 12);
    out += static_cast<char>(0x80 | (unit >> 6 & kContinuationBits));
    out += static_cast<char>(0x80 | (unit & kContinuationBits));
  }
}

void appendRepaired(std::string& out, std::string_view text) {
  if (isUTF8(text)) {
    out += text;
    return;
  }
  for (const char c : text) appendUnit(out, static_cast<unsigned char>(c));
}

UnitReader::UnitReader(const Value& value) noexcept {
  if (const auto* units = std::get_if<std::u16string>(&value)) units_ = *units;
  if (const auto* text = std::get_if<std::string>(&value)) text_ = *text;
}

char16_t UnitReader::next() noexcept {
  char16_t unit = 0;
  if (position_ < units_.size()) return units_[position_++];
  if (position_ < text_.size() && (!readUnit(text_, position_, unit) || unit == 0)) position_ = text_.size();
  return unit;
}

}  // namespace keystrand
