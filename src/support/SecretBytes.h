// Octets that are overwritten before their memory goes: private and secret keys, and what is computed with them.
#pragma once

#include <string.h>

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace keystrand {

// An overwriting that the compiler keeps although nobody reads the memory again.
inline void wipe(std::span<unsigned char> octets) noexcept {
  if (!octets.empty()) explicit_bzero(octets.data(), octets.size());
}

// In a time that does not tell where they differ.
inline bool areEqual(std::span<const unsigned char> left, std::span<const unsigned char> right) noexcept {
  if (left.size() != right.size()) return false;
  unsigned difference = 0;
  for (std::size_t i = 0; i < left.size(); ++i) difference |= static_cast<unsigned>(left[i] ^ right[i]);
  return difference == 0;
}

template <class T>
struct WipingAllocator {
  using value_type = T;
  WipingAllocator() = default;
  template <class U>
  explicit(false) WipingAllocator(const WipingAllocator<U>&) noexcept {}

  T* allocate(std::size_t n) { return std::allocator<T>().allocate(n); }
  void deallocate(T* memory, std::size_t n) noexcept {
    explicit_bzero(memory, n * sizeof(T));
    std::allocator<T>().deallocate(memory, n);
  }
  template <class U>
  bool operator==(const WipingAllocator<U>&) const noexcept {
    return true;
  }
};

using SecretBytes = std::vector<unsigned char, WipingAllocator<unsigned char>>;

}  // namespace keystrand
