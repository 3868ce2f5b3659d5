// Words of 32 or 64 bits in bytes, in either order, whatever the order of the machine and the alignment.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace keystrand {

constexpr std::uint32_t swapBytes(std::uint32_t word) {
  return __builtin_bswap32(word);
}
constexpr std::uint64_t swapBytes(std::uint64_t word) {
  return __builtin_bswap64(word);
}

template <class Word, std::endian Order>
inline Word loadWord(const unsigned char* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof(word));
  return Order == std::endian::native ? word : swapBytes(word);
}

template <std::endian Order, class Word>
inline void storeWord(Word word, unsigned char* bytes) {
  if constexpr (Order != std::endian::native) word = swapBytes(word);
  std::memcpy(bytes, &word, sizeof(word));
}

}  // namespace keystrand
