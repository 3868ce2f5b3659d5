// Crossing from owned values to the raw pointers of the interface and back.
#pragma once

#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "keystrand/support/Api.h"

namespace keystrand {

using Bytes = std::vector<unsigned char>;

// Deleter of a C handle that this function releases.
template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};

// A new NUL-terminated text; the receiver releases it with delete[].
inline owner<char*> newText(std::string_view text) {
  char* copy = new char[text.size() + 1];
  if (!text.empty()) std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

// A new array, nullptr for an absent value; the receiver releases it with delete[].
inline owner<unsigned char*> newBytes(std::span<const unsigned char> bytes) {
  if (bytes.data() == nullptr) return nullptr;
  auto* copy = new unsigned char[bytes.size()];
  if (!bytes.empty()) std::memcpy(copy, bytes.data(), bytes.size());
  return copy;
}

// What stands in front of the first such byte; all where there is none.
inline std::span<const unsigned char> upTo(std::span<const unsigned char> bytes, unsigned char byte) noexcept {
  const void* found = bytes.empty() ? nullptr : std::memchr(bytes.data(), byte, bytes.size());
  if (found == nullptr) return bytes;
  return bytes.first(static_cast<std::size_t>(static_cast<const unsigned char*>(found) - bytes.data()));
}

// A new copy of an owned part, nullptr when there is none; the receiver deletes it.
template <class T>
owner<T*> cloneOf(const std::unique_ptr<T>& part) {
  return part ? part->clone() : nullptr;
}

// An owned copy of what a caller handed in; empty for nullptr.
template <class T>
std::unique_ptr<T> copyOf(const T* part) {
  return std::unique_ptr<T>(part != nullptr ? part->clone() : nullptr);
}

}  // namespace keystrand
