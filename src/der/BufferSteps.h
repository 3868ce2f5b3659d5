// The inner steps of Buffer that several of its files share. Only Buffer*.cpp includes this.
#pragma once

#include <cstring>

#include "der/StringTags.h"
#include "keystrand/der/Buffer.h"

namespace keystrand {

// The tag of an element. Zero bytes before it are passed over, so that stray end-of-contents octets do no harm.
inline bool Buffer::takeTag(unsigned char& tag) noexcept {
  tag = take();
  while (tag == 0) {
    if (readPosition_ >= limit_) return false;
    tag = take();
  }
  return true;
}

// Length octets of X.690 8.1.3. 0x80 counts as 0 here: the indefinite form is seen only by who asks for it.
inline bool Buffer::takeLength(std::uint32_t& n) noexcept {
  const unsigned char first = take();
  n = first;
  if (first < 0x80) return true;
  const int octets = first & 0x7F;
  if (octets > 4) return false;
  n = 0;
  for (int i = 0; i < octets; ++i) n = n << 8 | take();
  return true;
}

inline bool Buffer::takeHeader(unsigned char& tag, std::uint32_t& n) noexcept {
  if (takeTag(tag)) return takeLength(n);
  n = 0;
  return false;
}

inline bool Buffer::takeHeader(unsigned char& tag, std::uint32_t& n, bool& definite) noexcept {
  n = 0;
  if (!takeTag(tag)) return false;
  definite = peek(readPosition_) != 0x80;
  return takeLength(n);
}

inline bool Buffer::takeValue(unsigned char tag, std::span<const unsigned char>& out) noexcept {
  unsigned char found = 0;
  std::uint32_t n = 0;
  out = {};
  if (!takeHeader(found, n)) return false;
  if (found == tag) return view(n, out);
  return found == kNull;
}

inline void Buffer::put(unsigned char byte) {
  constexpr std::uint64_t kStep = 4096;
  if (length_ >= limit_) {
    if (length_ >= kMaxSize) return;
    const std::uint64_t wanted = length_ + kStep;
    reserve(wanted < kMaxSize ? static_cast<std::uint32_t>(wanted) : kMaxSize);
  }
  data_[length_++] = byte;
}

}  // namespace keystrand
