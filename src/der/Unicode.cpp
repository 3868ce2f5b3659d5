#include "der/TextValue.h"
#include "der/UTF8Text.h"
#include "keystrand/der/Strings.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

std::u16string fromBigEndian(std::span<const unsigned char> bytes) {
  std::u16string wide;
  for (; bytes.size() >= 2; bytes = bytes.subspan(2)) {
    const auto unit = static_cast<char16_t>(bytes[0] << 8 | bytes[1]);
    if (unit == 0) break;
    wide += unit;
  }
  return wide;
}

Bytes bigEndian(const std::u16string& wide) {
  Bytes bytes;
  for (const char16_t unit : wide) {
    bytes.push_back(static_cast<unsigned char>(unit >> 8));
    bytes.push_back(static_cast<unsigned char>(unit));
  }
  return bytes;
}

}  // namespace

Unicode::Unicode(const unsigned char* bytes, std::uint32_t n) {
  if (bytes != nullptr) value_ = fromBigEndian({bytes, n});
}

owner<unsigned char*> Unicode::toBigEndian(std::uint32_t& n) const {
  const std::optional<std::u16string> units = wide();
  n = units ? static_cast<std::uint32_t>(2 * units->size()) : 0;
  if (!units) return nullptr;
  return n == 0 ? new unsigned char[1] : newBytes(bigEndian(*units));
}

std::uint32_t Unicode::size(const Buffer& buffer) const {
  if (isAbsent()) return buffer.sizeNull();
  const std::uint32_t n = 2 * wideLength();
  return buffer.sizeHeader(kBMPString, n) + n;
}

void Unicode::put(Buffer& buffer) const {
  const std::optional<std::u16string> units = wide();
  if (!units) return buffer.putNull();
  const Bytes bytes = bigEndian(*units);
  buffer.putHeader(kBMPString, static_cast<std::uint32_t>(bytes.size()));
  buffer.putBytes(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

bool Unicode::get(Buffer& buffer) {
  unsigned char tag = 0;
  std::span<const unsigned char> content;
  value_ = std::monostate();
  if (!viewValue(buffer, tag, content) || (tag != kBMPString && tag != kNull)) return false;
  if (tag == kBMPString) value_ = fromBigEndian(content);
  return true;
}

}  // namespace keystrand
