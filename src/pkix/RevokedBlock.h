// The entries of one decoded CRL: back to back in one allocation, each exactly as RevokedCertificate::put writes it.
// Filled once by readRevokedBlock, then immutable and shared; const access may run in parallel.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>

#include "keystrand/pkix/RevokedCertificate.h"
#include "pkix/SerialIndex.h"
#include "support/HeapArray.h"

namespace keystrand {

class RevokedBlock {
 public:
  // Room for entries of so many bytes in all; more is made when it does not suffice.
  explicit RevokedBlock(std::size_t capacity);

  [[nodiscard]] int count() const noexcept { return static_cast<int>(count_); }
  // All entries from the one up to but not including the other.
  [[nodiscard]] std::span<const unsigned char> bytes(int from, int to) const noexcept;
  // Where the encoded serial number of an entry stands, and its content octets.
  [[nodiscard]] std::uint32_t serialPlace(int index) const noexcept {
    return static_cast<std::uint32_t>(contentAt(entry(index)).data() - bytes_.data());
  }
  [[nodiscard]] std::span<const unsigned char> serialAt(std::uint32_t place) const noexcept {
    return contentAt(bytes_.data() + place);
  }
  [[nodiscard]] std::span<const unsigned char> serial(int index) const noexcept { return serialAt(serialPlace(index)); }
  // Asks the processor for an entry that will be read soon.
  void prefetch(int index) const noexcept { __builtin_prefetch(entry(index)); }
  // The index is one of the block's.
  void decode(int index, RevokedCertificate& out) const;
  // The first entry with these content octets as serial number, or -1.
  [[nodiscard]] int find(std::span<const unsigned char> serial) const;

  // While it is being filled: the next entry begins `ahead` bytes behind what has been appended.
  void startEntry(std::size_t ahead = 0);
  // The bytes of the entries started; beyond 4 GiB false, and the entries behind what was appended before are gone.
  bool append(std::span<const unsigned char> bytes);
  // The last entry as an object, for one whose bytes would be read back as something else. There is room for some only:
  // an object takes many times the bytes of its encoding, and those who make many such entries mean no CRL.
  void keep(RevokedCertificate entry);
  [[nodiscard]] bool keepsNoMore() const noexcept { return kept_.size() >= kMostKept; }
  // Gives back the room that was not used. A long list gets its index now, so that the first question about it does not
  // wait for it; others when they are asked, since of many lists read from a file few are.
  void seal();

 private:
  static constexpr std::size_t kMostKept = 4096;
  static constexpr std::size_t kLongList = 100'000;  // entries: from here on an index takes milliseconds

  [[nodiscard]] const unsigned char* entry(int index) const noexcept { return bytes_.data() + offsets_.data()[index]; }

  // Content of the element at `at`, which put wrote: its length is definite and inside the block.
  static std::span<const unsigned char> contentAt(const unsigned char* at) noexcept {
    std::size_t length = at[1];
    if (length < 0x80) return {at + 2, length};
    const std::size_t octets = length - 0x80;
    length = 0;
    for (std::size_t i = 0; i < octets; ++i) length = length << 8 | at[2 + i];
    return {at + 2 + octets, length};
  }

  void makeIndex() const;
  HeapArray<unsigned char> bytes_;
  HeapArray<std::uint32_t> offsets_;  // one an entry
  std::size_t size_ = 0;
  std::size_t count_ = 0;
  std::size_t complete_ = 0;  // entries whose bytes have been appended
  std::map<int, RevokedCertificate> kept_;
  mutable std::mutex making_;  // the index
  mutable std::atomic<bool> indexed_ = false;
  mutable SerialIndex index_;
};

}  // namespace keystrand
