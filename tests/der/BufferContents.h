// Bytes in and out of a Buffer under test.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "keystrand/der/Buffer.h"
#include "support/Builders.h"
#include "support/Coding.h"

namespace keystrand::test {

inline ByteString hex(std::string_view digits) {
  return fromHex(std::string(digits));
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

// What put wrote into a Buffer of its own.
template <class Put>
ByteString written(Put put) {
  Buffer out;
  put(out);
  return held(out);
}

}  // namespace keystrand::test
