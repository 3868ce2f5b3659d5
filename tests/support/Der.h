// DER taken apart and put together, for cases that no builder makes.
#pragma once

#include <algorithm>
#include <span>
#include <vector>

#include "support/TestData.h"

namespace keystrand::test {

inline ByteString operator+(ByteString left, const ByteString& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// The bytes from a place on, at most so many.
inline ByteString slice(std::span<const unsigned char> bytes, std::size_t from, std::size_t most = ~std::size_t{0}) {
  const auto part = bytes.subspan(from).first(std::min(most, bytes.size() - from));
  return {part.begin(), part.end()};
}

// An element of that content; with `lengthOctets` the length takes so many behind its first, needed or not.
inline ByteString element(unsigned char tag, const ByteString& content, int lengthOctets = 0) {
  const std::size_t n = content.size();
  if (lengthOctets == 0 && n >= 0x80) lengthOctets = n > 0xFFFF ? 3 : n > 0xFF ? 2 : 1;
  ByteString out{tag};
  out.push_back(static_cast<unsigned char>(lengthOctets == 0 ? n : 0x80U + static_cast<unsigned>(lengthOctets)));
  for (int i = lengthOctets - 1; i >= 0; --i) out.push_back(static_cast<unsigned char>(n >> 8 * i));
  return out + content;
}

struct Split {
  ByteString whole;
  ByteString content;
};

// The element at the start of the bytes, which are well-formed.
inline Split firstElement(std::span<const unsigned char> bytes) {
  const std::size_t octets = bytes[1] < 0x80 ? 0 : bytes[1] - 0x80U;
  std::size_t n = octets == 0 ? bytes[1] : 0;
  for (std::size_t i = 0; i < octets; ++i) n = n << 8 | bytes[2 + i];
  const auto whole = bytes.first(2 + octets + n);
  const auto content = whole.last(n);
  return {{whole.begin(), whole.end()}, {content.begin(), content.end()}};
}

// The elements inside a constructed one, each with its header.
inline std::vector<ByteString> children(const ByteString& constructed) {
  std::vector<ByteString> all;
  const ByteString content = firstElement(constructed).content;
  for (std::size_t at = 0; at < content.size(); at += all.back().size()) {
    all.push_back(firstElement(std::span(content).subspan(at)).whole);
  }
  return all;
}

// The constructed element with these children in place of its own.
inline ByteString withChildren(unsigned char tag, const std::vector<ByteString>& all) {
  ByteString content;
  for (const ByteString& child : all) content = std::move(content) + child;
  return element(tag, content);
}

// With the element that a path of child numbers leads to replaced; taken out when the new one is empty.
inline ByteString edited(const ByteString& der, std::vector<std::size_t> path, const ByteString& replacement) {
  if (path.empty()) return replacement;
  auto parts = children(der);
  ByteString& part = parts.at(path.front());
  path.erase(path.begin());
  part = edited(part, path, replacement);
  return withChildren(der[0], parts);
}

}  // namespace keystrand::test
