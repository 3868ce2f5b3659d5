// Where each serial number of a CRL stands first: an open-addressing table of 32-bit slots over content octets.
//
// The hash is keyed with a secret of this process, because those who issue serial numbers choose them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "support/HeapArray.h"

namespace keystrand {

class RevokedBlock;

class SerialIndex {
 public:
  // Over the entries of a block that does not change and outlives the index. A repeated serial number keeps its first
  // entry.
  void build(const RevokedBlock& block);
  // The first entry with this serial number, or -1.
  [[nodiscard]] int find(const RevokedBlock& block, std::span<const unsigned char> serial) const noexcept;

 private:
  [[nodiscard]] std::size_t home(std::uint64_t hash) const noexcept;
  [[nodiscard]] std::uint32_t tag(std::uint64_t hash) const noexcept;
  template <class IsThis>
  [[nodiscard]] std::size_t seek(std::uint64_t hash, IsThis isThis) const noexcept;
  void insert(const RevokedBlock& block, std::uint32_t entry, std::uint64_t hash) noexcept;
  // A slot is 0 when empty, else the number of the entry counted from 1 in its low bits, and bits of the hash above.
  HeapArray<std::uint32_t> slots_;
  std::uint32_t numberMask_ = 0;
};

}  // namespace keystrand
