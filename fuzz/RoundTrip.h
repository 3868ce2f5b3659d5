// The property of every structure of the library: what get accepts is written with the size announced, and what is
// written is read again and written the same.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Property.h"
#include "keystrand/der/Buffer.h"

namespace keystrand::fuzz {

using Bytes = std::vector<unsigned char>;

template <class T, class... Tag>
bool read(T& object, std::span<const unsigned char> bytes, Tag... tag) {
  Buffer buffer;
  buffer.assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  return object.get(buffer, tag...);
}

template <class T, class... Tag>
Bytes written(const T& object, Tag... tag) {
  Buffer buffer(1);
  object.put(buffer, tag...);
  require(object.size(buffer, tag...) == buffer.size(), "size is what put writes");
  std::uint32_t n = 0;
  const unsigned char* bytes = buffer.data(n);
  return {bytes, bytes + n};
}

// A UniversalString loses half of its octets each time it is written, which its users know.
inline bool mayChange(const Bytes& encoding) {
  constexpr unsigned char kUniversalString = 28;
  return std::ranges::find(encoding, kUniversalString) != encoding.end();
}

template <class T, class... Tag>
void roundTrip(std::span<const unsigned char> bytes, Tag... tag) {
  T object;
  if (!read(object, bytes, tag...)) return;
  const Bytes first = written(object, tag...);
  const std::unique_ptr<T> copy(object.clone());
  require(written(*copy, tag...) == first, "a clone is written the same");
  T again;
  require(read(again, first, tag...), "what is written is read");
  require(written(again, tag...) == first || mayChange(first), "what is read again is written the same");
}

}  // namespace keystrand::fuzz
