// Texts as bytes and back, and an object as servers send it.
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

inline constexpr const char* kLoopback = "127.0.0.1";
// A SEQUENCE of 20 bytes with an OCTET STRING in it.
inline const std::string kObject = std::string("\x30\x12\x04\x10", 4) + "0123456789abcdef";

}  // namespace keystrand
