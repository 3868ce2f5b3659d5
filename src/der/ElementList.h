// SEQUENCE OF and SET OF over a vector of values (X.690 8.10, 8.12).
#pragma once

#include <cstdint>
#include <vector>

#include "der/Reading.h"

namespace keystrand {

// Reads elements with `get(element)` up to the end that the header announces. False when that end lies beyond the data,
// when an element fails, which is then dropped while those before it stay, or when one takes no byte.
template <class T, class Get>
bool getElements(Buffer& in, unsigned char tag, std::vector<T>& elements, Get get) {
  elements.clear();
  Element list;
  if (!openWhole(list, in, tag)) return false;
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
