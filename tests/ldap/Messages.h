// Messages read from and written to bytes.
#pragma once

#include <gtest/gtest.h>

#include "ldap/LDAPMessage.h"
#include "support/Builders.h"

namespace keystrand::test {

template <class Structure>
bool decoded(Structure& structure, const ByteString& bytes) {
  Buffer buffer;
  buffer.assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  return structure.decode(buffer);
}

// What encode writes; its size must be the one announced.
template <class Structure>
ByteString encoded(const Structure& structure) {
  Buffer buffer(1);
  structure.encode(buffer);
  EXPECT_EQ(structure.size(buffer), buffer.size());
  const auto bytes = buffer.range(0, buffer.size());
  return {bytes.begin(), bytes.end()};
}

}  // namespace keystrand::test
