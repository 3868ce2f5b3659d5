// Bytes in and out of a Buffer under test.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "keystrand/der/Buffer.h"
#include "support/TestData.h"

namespace keystrand::test {

// Hexadecimal digits; blanks between them are passed over.
inline ByteString hex(std::string_view digits) {
  const auto value = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
  ByteString bytes;
  int high = -1;
  for (const char c : digits) {
    if (c == ' ') continue;
    if (high >= 0) bytes.push_back(static_cast<unsigned char>(high << 4 | value(c)));
    high = high >= 0 ? -1 : value(c);
  }
  return bytes;
}

inline ByteString bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

inline void fill(Buffer& buffer, const ByteString& bytes) {
  static const unsigned char none = 0;
  buffer.assign(bytes.empty() ? &none : bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

// A Buffer that holds these bytes.
struct Holding : Buffer {
  explicit Holding(const ByteString& bytes) { fill(*this, bytes); }
  explicit Holding(std::string_view digits) : Holding(hex(digits)) {}
};

inline ByteString held(const Buffer& buffer) {
  const auto bytes = buffer.range(0, buffer.size());
  return {bytes.begin(), bytes.end()};
}

// What put wrote into a Buffer of its own.
template <class Put>
ByteString written(Put put) {
  Buffer out;
  put(out);
  return held(out);
}

}  // namespace keystrand::test
