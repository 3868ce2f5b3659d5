// Where each serial number of a CRL stands first: an open-addressing table over content octets.
//
// A slot tells the entry, the place of its serial number and a part of the hash, so that a question about a large CRL
// waits for memory once when the number is on no list, and twice when it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "support/HeapArray.h"

namespace keystrand {

class RevokedBlock;

class SerialIndex {
 public:
  // Over the entries, one at least, of a block that does not change and outlives the index. A repeated serial number
  // keeps its first entry.
  void build(const RevokedBlock& block);
  // The first entry with this serial number, or -1.
  [[nodiscard]] int find(const RevokedBlock& block, std::span<const unsigned char> serial) const noexcept;

 private:
  struct Entry;
  [[nodiscard]] std::size_t home(std::uint64_t hash) const noexcept;
  [[nodiscard]] std::uint64_t tag(std::uint64_t hash) const noexcept;
  [[nodiscard]] std::size_t seek(const RevokedBlock& block, std::span<const unsigned char> serial,
                                 std::uint64_t hash) const noexcept;
  void insert(const RevokedBlock& block, std::span<const Entry> batch) noexcept;
  // A slot is 0 when empty, else from its high bits to its low ones: a one and bits of the hash, the place of the
  // serial number in the block, the number of the entry.
  HeapArray<std::uint64_t> slots_;
  int numberBits_ = 0;
  int tagShift_ = 0;
};

}  // namespace keystrand
