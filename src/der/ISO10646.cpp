#include "der/TextValue.h"
#include "der/UTF8Text.h"
#include "keystrand/der/Strings.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

std::u16string widened(std::string_view narrow) {
  std::u16string wide;
  for (const char c : untilNul(narrow)) wide += static_cast<unsigned char>(c);
  return wide;
}

}  // namespace

ISO10646::ISO10646(std::u16string_view wide) : value_(std::u16string(wide.substr(0, wide.find(u'\0')))) {}

ISO10646::ISO10646(std::string_view narrow) : value_(widened(narrow)) {}

ISO10646::~ISO10646() = default;

std::optional<std::u16string> ISO10646::wide() const {
  if (isAbsent()) return std::nullopt;
  std::u16string wide;
  UnitReader units(value_);
  while (const char16_t unit = units.next()) wide += unit;
  return wide;
}

owner<char16_t*> ISO10646::toWide() const {
  const std::optional<std::u16string> units = wide();
  if (!units) return nullptr;
  auto* copy = new char16_t[units->size() + 1];
  copy[units->copy(copy, units->size())] = u'\0';
  return copy;
}

std::uint32_t ISO10646::wideLength() const noexcept {
  std::uint32_t n = 0;
  for (UnitReader units(value_); units.next() != 0;) ++n;
  return n;
}

void ISO10646::appendNarrow(std::string& out) const {
  const auto* text = std::get_if<std::string>(&value_);
  if (text != nullptr && isASCII(*text)) {
    out += *text;
    return;
  }
  UnitReader units(value_);
  while (const char16_t unit = units.next()) appendUnit(out, unit);
}

owner<char*> ISO10646::toNarrow() const {
  if (isAbsent()) return nullptr;
  std::string narrow;
  appendNarrow(narrow);
  return newText(narrow);
}

// --- comparison --------------------------------------------------------------------------------------------

bool ISO10646::equals(const ISO10646& other) const noexcept {
  if (isAbsent() || other.isAbsent()) return false;
  return value_ == other.value_ || std::is_eq(compare(other));
}

bool ISO10646::equalsPattern(const ISO10646& other) const noexcept {
  if (isAbsent() || other.isAbsent()) return false;
  UnitReader pattern(value_), units(other.value_);
  for (;;) {
    const char16_t expected = pattern.next();
    const char16_t unit = units.next();
    if (expected != unit && (expected != u'%' || unit == 0)) return false;
    if (expected == 0) return true;
  }
}

std::partial_ordering ISO10646::compare(const ISO10646& other) const noexcept {
  if (isAbsent() || other.isAbsent()) return std::partial_ordering::unordered;
  UnitReader left(value_), right(other.value_);
  for (;;) {
    const char16_t ours = left.next();
    const char16_t theirs = right.next();
    if (ours != theirs || ours == 0) return ours <=> theirs;
  }
}

// --- coding ------------------------------------------------------------------------------------------------

std::uint32_t ISO10646::size(const Buffer& buffer) const {
  if (isAbsent()) return buffer.sizeNull();
  const std::uint32_t n = 2 * wideLength();
  return buffer.sizeHeader(kUniversalString, n) + n;
}

void ISO10646::put(Buffer& buffer) const {
  if (isAbsent()) return buffer.putNull();
  Bytes bytes;
  UnitReader units(value_);
  while (const char16_t unit = units.next()) {
    bytes.push_back(static_cast<unsigned char>(unit));
    bytes.push_back(static_cast<unsigned char>(unit >> 8));
  }
  buffer.putHeader(kUniversalString, static_cast<std::uint32_t>(bytes.size()));
  buffer.putBytes(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

// Of the four bytes of a character the low two are kept; what is left over behind the last character is dropped.
bool ISO10646::get(Buffer& buffer) {
  unsigned char tag = 0;
  std::span<const unsigned char> content;
  value_ = std::monostate();
  if (!viewValue(buffer, tag, content) || (tag != kUniversalString && tag != kNull)) return false;
  if (tag == kNull) return true;
  auto& wide = value_.emplace<std::u16string>();
  for (; content.size() >= 4; content = content.subspan(4)) {
    const auto unit = static_cast<char16_t>(content[2] << 8 | content[3]);
    if (unit == 0) break;
    wide += unit;
  }
  return true;
}

}  // namespace keystrand
