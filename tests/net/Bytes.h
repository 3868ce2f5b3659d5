// Texts as bytes and back.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "keystrand/der/Buffer.h"

namespace keystrand {

inline std::span<const unsigned char> bytesOf(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

inline std::string textOf(std::span<const unsigned char> bytes) {
  return {bytes.begin(), bytes.end()};
}

inline std::string textOf(const Buffer& buffer) {
  return textOf(buffer.range(0, buffer.size()));
}

}  // namespace keystrand
