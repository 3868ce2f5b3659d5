// SEQUENCE OF and SET OF over a vector of values (X.690 8.10, 8.12).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "der/Reading.h"

namespace keystrand {

// How many elements stand between the cursor, which stays, and the end of the list, counted up to `most` and only as
// far as their headers can be followed.
inline std::size_t countElements(const Element& list, Buffer& in, std::size_t most) {
  const std::uint32_t start = in.readPosition();
  std::size_t count = 0;
  for (; count < most && !list.atEnd(in); ++count) {
    unsigned char tag = 0;
    std::uint32_t n = 0;
    std::span<const unsigned char> content;
    if (!in.getHeader(tag, n) || !in.view(n, content)) break;
  }
  in.setReadPosition(start);
  return count;
}

// Reads elements with `get(element)` up to the end that the header announces. False when that end lies beyond the data,
// when an element fails, which is then dropped while those before it stay, or when one takes no byte.
template <class T, class Get>
bool getElements(Buffer& in, unsigned char tag, std::vector<T>& elements, Get get) {
  elements.clear();
  Element list;
  if (!openWhole(list, in, tag)) return false;
  constexpr std::size_t kUsualMost = 16;  // a longer list grows as it is read
  elements.reserve(countElements(list, in, kUsualMost));
  while (!list.atEnd(in)) {
    const std::uint32_t start = in.readPosition();
    if (!get(elements.emplace_back()) || in.readPosition() == start) {
      elements.pop_back();
      return false;
    }
  }
  return true;
}

template <class T>
bool getElements(Buffer& in, unsigned char tag, std::vector<T>& elements) {
  return getElements(in, tag, elements, [&in](T& element) { return element.get(in); });
}

template <class T>
std::uint32_t sizeElements(const Buffer& buffer, const std::vector<T>& elements) {
  std::uint32_t n = 0;
  for (const T& element : elements) n += element.size(buffer);
  return n;
}

}  // namespace keystrand
