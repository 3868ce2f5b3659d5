#include "der/TextValue.h"
#include "der/UTF8Text.h"
#include "keystrand/der/Strings.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

bool isHighSurrogate(unsigned unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(unsigned unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

}  // namespace

bool UTF8::setText(std::string_view text) {
  text = untilNul(text);
  if (isConvertible(text)) {
    value_.emplace<std::string>(text);
  } else {
    value_ = std::monostate();
  }
  return !isAbsent();
}

void UTF8::appendText(std::string& out) const {
  if (const auto* text = std::get_if<std::string>(&value_)) {
    out += *text;
  } else {
    appendNarrow(out);
  }
}

std::optional<std::string> UTF8::text() const {
  if (isAbsent()) return std::nullopt;
  std::string text;
  appendText(text);
  return text;
}

owner<char*> UTF8::toText() const {
  const std::optional<std::string> made = text();
  return made ? newText(*made) : nullptr;
}

std::uint32_t UTF8::textLength() const {
  const auto* held = std::get_if<std::string>(&value_);
  return static_cast<std::uint32_t>(held != nullptr ? held->size() : text().value_or("").size());
}

bool UTF8::fromUTF16(const unsigned char* bytes, std::uint32_t n) {
  value_ = std::monostate();
  if (bytes == nullptr || n < 2) return false;
  const bool bigEndian = bytes[0] == 0xFE && bytes[1] == 0xFF;
  const std::span<const unsigned char> units(bytes + 2, (std::size_t{n} - 2) / 2 * 2);
  const auto unitAt = [&](std::size_t i) {
    const unsigned first = units[i];
    const unsigned second = units[i + 1];
    return bigEndian ? first << 8 | second : second << 8 | first;
  };
  std::u16string wide;
  for (std::size_t i = 0; i < units.size(); i += 2) {
    unsigned code = unitAt(i);
    if (isHighSurrogate(code)) {
      i += 2;
      if (i >= units.size() || !isLowSurrogate(unitAt(i))) return false;
      code = 0x10000 + ((code & 0x3FF) << 10 | (unitAt(i) & 0x3FF));
    }
    wide += static_cast<char16_t>(code);
  }
  value_.emplace<std::u16string>(wide.c_str());
  return true;
}

std::uint32_t UTF8::size(const Buffer& buffer) const {
  if (isAbsent()) return buffer.sizeNull();
  const std::uint32_t n = textLength();
  return buffer.sizeHeader(kUTF8String, n) + n;
}

void UTF8::put(Buffer& buffer) const {
  if (const auto* held = std::get_if<std::string>(&value_)) return buffer.putText(held->c_str(), kUTF8String);
  const std::optional<std::string> made = text();
  if (!made) return buffer.putNull();
  buffer.putText(made->c_str(), kUTF8String);
}

bool UTF8::get(Buffer& buffer) {
  unsigned char tag = 0;
  std::string_view text;
  value_ = std::monostate();
  if (!viewText(buffer, tag, text) || (tag != kUTF8String && tag != kNull)) return false;
  return tag == kNull || setText(text);
}

}  // namespace keystrand
