#include "pkix/SerialIndex.h"

#include <algorithm>
#include <bit>
#include <vector>

#include "pkix/RevokedBlock.h"
#include "pkix/SerialHash.h"

namespace keystrand {
namespace {

bool same(std::span<const unsigned char> a, std::span<const unsigned char> b) noexcept {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  const std::size_t n = a.size();
  if (n != b.size()) return false;
  if (n < kWord) return std::equal(a.begin(), a.end(), b.begin());
  for (std::size_t i = 0; i + kWord < n; i += kWord) {
    if (SerialHash::load(a.data() + i) != SerialHash::load(b.data() + i)) return false;
  }
  return SerialHash::load(a.data() + n - kWord) == SerialHash::load(b.data() + n - kWord);
}

std::uint64_t lowBits(int n) noexcept {
  return (std::uint64_t{1} << n) - 1;
}

int bitsOf(std::uint64_t value) noexcept {
  return static_cast<int>(std::bit_width(value));
}

}  // namespace

struct SerialIndex::Entry {
  std::uint32_t number = 0;
  std::uint32_t place = 0;
  std::uint64_t hash = 0;
};

std::size_t SerialIndex::home(std::uint64_t hash) const noexcept {
  return static_cast<std::size_t>((hash >> 32) * slots_.size() >> 32);
}

std::uint64_t SerialIndex::tag(std::uint64_t hash) const noexcept {
  return hash << tagShift_ | std::uint64_t{1} << 63;
}

// The slot that holds this serial number, or the empty one where it would stand.
std::size_t SerialIndex::seek(const RevokedBlock& block, std::span<const unsigned char> serial,
                              std::uint64_t hash) const noexcept {
  const std::uint64_t wanted = tag(hash);
  const std::uint64_t rest = lowBits(tagShift_);
  std::size_t slot = home(hash);
  for (; slots_.data()[slot] != 0; slot = slot + 1 == slots_.size() ? 0 : slot + 1) {
    const std::uint64_t differing = slots_.data()[slot] ^ wanted;
    if (differing <= rest && same(block.serialAt(static_cast<std::uint32_t>(differing >> numberBits_)), serial)) break;
  }
  return slot;
}

// In batches: the serial numbers of one are read and hashed in a row, fetched well before; then they are inserted, and
// their slots fetched some way ahead. Doing both at once would keep each waiting for the other's memory.
void SerialIndex::build(const RevokedBlock& block) {
  constexpr int kBatch = 1024;
  constexpr int kEntriesAhead = 128;
  const int entries = block.count();
  numberBits_ = bitsOf(static_cast<std::uint64_t>(entries));
  tagShift_ = numberBits_ + bitsOf(block.bytes(0, entries).size());
  slots_ = HeapArray<std::uint64_t>::zeroed(static_cast<std::size_t>(entries) * 2 + 1);
  std::vector<Entry> batch(static_cast<std::size_t>(std::min(entries, kBatch)));
  const SerialHash& hash = SerialHash::ofProcess();
  for (int from = 0; from < entries; from += kBatch) {
    const int to = std::min(entries, from + kBatch);
    Entry* next = batch.data();
    for (int i = from; i < to; ++i, ++next) {
      if (i + kEntriesAhead < entries) block.prefetch(i + kEntriesAhead);
      const std::uint32_t place = block.serialPlace(i);
      *next = {static_cast<std::uint32_t>(i), place, hash(block.serialAt(place))};
    }
    insert(block, {batch.data(), next});
  }
}

void SerialIndex::insert(const RevokedBlock& block, std::span<const Entry> batch) noexcept {
  constexpr std::size_t kSlotsAhead = 24;
  for (std::size_t i = 0; i < batch.size(); ++i) {
    const Entry& entry = batch[i];
    __builtin_prefetch(slots_.data() + home(batch[std::min(i + kSlotsAhead, batch.size() - 1)].hash), 1);
    std::uint64_t* slot = slots_.data() + home(entry.hash);
    if (*slot != 0) slot = slots_.data() + seek(block, block.serialAt(entry.place), entry.hash);
    if (*slot == 0) *slot = tag(entry.hash) | std::uint64_t{entry.place} << numberBits_ | entry.number;
  }
}

int SerialIndex::find(const RevokedBlock& block, std::span<const unsigned char> serial) const noexcept {
  const std::uint64_t slot = slots_.data()[seek(block, serial, SerialHash::ofProcess()(serial))];
  return slot == 0 ? -1 : static_cast<int>(slot & lowBits(numberBits_));
}

}  // namespace keystrand
