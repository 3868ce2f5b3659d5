// Reading and writing a structure in one step.
#pragma once

#include <gtest/gtest.h>

#include "keystrand/der/Buffer.h"
#include "support/TestData.h"

namespace keystrand::test {

inline ByteString held(const Buffer& buffer) {
  const auto bytes = buffer.range(0, buffer.size());
  return {bytes.begin(), bytes.end()};
}

// Reads a structure from its encoding, without a digest.
template <class T, class... Tag>
bool decode(T& object, const ByteString& encoding, Tag... tag) {
  Buffer buffer;
  buffer.assign(encoding.data(), static_cast<std::uint32_t>(encoding.size()));
  return object.get(buffer, tag...);
}

// What put writes; its size must be the one announced, in a buffer without room as in one with.
template <class T, class... Tag>
ByteString encode(const T& object, Tag... tag) {
  Buffer buffer(1);
  object.put(buffer, tag...);
  EXPECT_EQ(object.size(buffer, tag...), buffer.size());
  return held(buffer);
}

// The text of an accessor, released; "(null)" for none.
inline std::string taken(owner<char*> text) {
  const std::unique_ptr<char[]> owned(text);
  return owned ? std::string(owned.get()) : std::string("(null)");
}

}  // namespace keystrand::test
