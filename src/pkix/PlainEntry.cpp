#include "pkix/PlainEntry.h"

#include <cstdint>
#include <cstring>

namespace keystrand {
namespace {

// What is left of one element's content. No read passes `end`.
struct Span {
  const unsigned char* at = nullptr;
  const unsigned char* end = nullptr;

  [[nodiscard]] std::size_t size() const noexcept { return static_cast<std::size_t>(end - at); }
  [[nodiscard]] bool empty() const noexcept { return at == end; }

  // Moves past the element of this tag, whose content becomes `content`; false unless its length is in the shortest
  // form and inside. Lengths of three and more octets are left to the general road.
  bool take(unsigned char tag, Span& content) noexcept {
    if (size() < 2 || at[0] != tag) return false;
    std::size_t header = 2;
    std::size_t length = at[1];
    if (length >= 0x80) {
      if (!longLength(header, length)) return false;
    }
    if (length > size() - header) return false;
    content = {at + header, at + header + length};
    at = content.end;
    return true;
  }

 private:
  bool longLength(std::size_t& header, std::size_t& length) const noexcept {
    const std::size_t octets = length - 0x80;
    if (octets < 1 || octets > 2 || size() < 2 + octets) return false;
    header = 2 + octets;
    length = octets == 1 ? at[2] : static_cast<std::size_t>(at[2] << 8 | at[3]);
    return octets == 1 ? length >= 0x80 : length >= 0x100;
  }
};

bool minimalInteger(Span value) noexcept {
  if (value.empty()) return false;
  if (value.size() == 1) return true;
  const bool signOnly = value.at[0] == 0x00 || value.at[0] == 0xFF;
  return !signOnly || ((value.at[0] ^ value.at[1]) & 0x80) != 0;
}

// Whether the eight bytes are all decimal digits.
bool eightDigits(const unsigned char* text) noexcept {
  std::uint64_t octets = 0;
  std::memcpy(&octets, text, sizeof octets);
  constexpr std::uint64_t kHigh = 0xF0F0F0F0F0F0F0F0;
  constexpr std::uint64_t kZeros = 0x3030303030303030;
  return (octets & kHigh) == kZeros && ((octets + 0x0606060606060606) & kHigh) == kZeros;
}

// Twelve or fourteen digits and the Z of GMT (RFC 5280 sections 4.1.2.5.1 and 4.1.2.5.2).
bool ordinaryTime(Span& entry) noexcept {
  constexpr unsigned char kUTCTime = 23;
  constexpr unsigned char kGeneralizedTime = 24;
  Span text;
  const bool utc = entry.take(kUTCTime, text);
  if (!utc && !entry.take(kGeneralizedTime, text)) return false;
  const std::size_t digits = utc ? 12 : 14;
  return text.size() == digits + 1 && text.at[digits] == 'Z' && eightDigits(text.at) &&
         eightDigits(text.at + digits - 8);
}

// Subidentifiers without padding that fit into 28 bits, and so few of them that no identifier overflows.
bool shortIdentifier(Span oid) noexcept {
  constexpr std::size_t kMostOctets = 32;
  constexpr int kMostOctetsOfOne = 4;
  if (oid.empty() || oid.size() > kMostOctets) return false;
  int octets = 0;
  for (; !oid.empty(); ++oid.at) {
    if (octets == 0 && *oid.at == 0x80) return false;
    if (++octets > kMostOctetsOfOne) return false;
    if (*oid.at < 0x80) octets = 0;
  }
  return octets == 0;
}

bool plainExtension(Span& list) noexcept {
  Span extension;
  Span oid;
  Span flag;
  Span value;
  if (!list.take(0x30, extension) || !extension.take(0x06, oid) || !shortIdentifier(oid)) return false;
  if (extension.take(0x01, flag) && (flag.size() != 1 || *flag.at != 0xFF)) return false;
  return extension.take(0x04, value) && extension.empty();
}

bool plainExtensions(Span& entry) noexcept {
  Span list;
  if (!entry.take(0x30, list) || list.empty() || !entry.empty()) return false;
  while (!list.empty()) {
    if (!plainExtension(list)) return false;
  }
  return true;
}

}  // namespace

std::size_t plainEntryLength(std::span<const unsigned char> in) noexcept {
  Span list{in.data(), in.data() + in.size()};
  Span entry;
  Span serial;
  const bool plain = list.take(0x30, entry) && entry.take(0x02, serial) && minimalInteger(serial) &&
                     ordinaryTime(entry) && (entry.empty() || plainExtensions(entry));
  return plain ? static_cast<std::size_t>(list.at - in.data()) : 0;
}

}  // namespace keystrand
