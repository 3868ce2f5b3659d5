// Whether bytes are one element of DER (X.690 section 11), as far as tags and lengths tell, with contents that the
// library keeps: times in their one form, identifiers of 64 arcs of 32 bits.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

namespace keystrand::fuzz {

class DerCheck {
 public:
  static bool isElement(std::span<const unsigned char> bytes) {
    DerCheck check{bytes};
    return check.element(0) && check.rest_.empty();
  }

 private:
  explicit DerCheck(std::span<const unsigned char> bytes) : rest_(bytes) {}

  bool element(int depth) {
    constexpr int kDeepest = 64;
    if (rest_.size() < 2 || depth > kDeepest) return false;
    const unsigned char tag = rest_[0];
    rest_ = rest_.subspan(1);
    std::size_t n = 0;
    if ((tag & 0x1F) == 0x1F || !length(n)) return false;
    const auto content = rest_.first(n);
    rest_ = rest_.subspan(n);
    const bool isList = tag == 0x30 || tag == 0x31;
    if ((tag & 0x20) == 0) return primitive(tag, content);
    if ((tag & 0xC0) == 0 && !isList) return false;  // a string in pieces
    DerCheck inner(content);
    while (!inner.rest_.empty()) {
      if (!inner.element(depth + 1)) return false;
    }
    return true;
  }

  bool length(std::size_t& n) {
    n = rest_[0];
    rest_ = rest_.subspan(1);
    if (n >= 0x80) {
      const std::size_t octets = n & 0x7F;
      if (octets == 0 || octets > 4 || octets > rest_.size() || rest_[0] == 0) return false;
      n = 0;
      for (const unsigned char octet : rest_.first(octets)) n = n << 8 | octet;
      rest_ = rest_.subspan(octets);
      if (n < 0x80) return false;
    }
    return n <= rest_.size();
  }

  static bool primitive(unsigned char tag, std::span<const unsigned char> content) {
    const std::size_t n = content.size();
    switch (tag) {
      case 0x01:
        return n == 1 && content[0] == 0xFF;  // FALSE is a default everywhere
      case 0x02:
      case 0x0A:
        return n == 1 ||
               (n > 1 && !(content[0] == 0 && content[1] < 0x80) && !(content[0] == 0xFF && content[1] >= 0x80));
      case 0x03:
        return n > 0 && content[0] < 8 && (n > 1 ? (content.back() & ((1U << content[0]) - 1)) == 0 : content[0] == 0);
      case 0x05:
        return n == 0;
      case 0x06:
        return identifier(content);
      case 0x17:
        return time(content, 12);
      case 0x18:
        return time(content, 14);
      case 0x00:
      case 0x10:
      case 0x11:
      case 0x1C:  // loses octets when it is written, which its users know
        return false;
      case 0x0C:  // what is no UTF-8 is repaired
        if (std::ranges::any_of(content, [](unsigned char c) { return c >= 0x80; })) return false;
        [[fallthrough]];
      case 0x12:
      case 0x13:
      case 0x14:
      case 0x15:
      case 0x16:
      case 0x19:
      case 0x1A:
      case 0x1B:  // a text ends at its first NUL
        if (std::ranges::find(content, '\0') != content.end()) return false;
        [[fallthrough]];
      default:  // a time is read under any tag
        return !beginsWithNumber(content) || time(content, 12) || time(content, 14);
    }
  }

  static bool beginsWithNumber(std::span<const unsigned char> content) {
    const auto first =
        std::ranges::find_if_not(content, [](unsigned char c) { return c == ' ' || (c >= 9 && c <= 13); });
    return first != content.end() && (*first == '+' || *first == '-' || (*first >= '0' && *first <= '9'));
  }

  static bool identifier(std::span<const unsigned char> content) {
    int arcs = 1;
    std::uint64_t arc = 0;
    bool begun = false;
    for (const unsigned char octet : content) {
      if (!begun && octet == 0x80) return false;
      begun = octet >= 0x80;
      arc = arc << 7 | (octet & 0x7FU);
      if (arc > 0xFFFFFFFF) return false;
      if (begun) continue;
      arc = 0;
      ++arcs;
    }
    return !content.empty() && !begun && arcs <= 64;
  }

  static bool time(std::span<const unsigned char> content, std::size_t digits) {
    return content.size() == digits + 1 && content.back() == 'Z' &&
           std::ranges::all_of(content.first(digits), [](unsigned char c) { return c >= '0' && c <= '9'; });
  }

  std::span<const unsigned char> rest_;
};

}  // namespace keystrand::fuzz
