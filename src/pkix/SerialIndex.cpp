#include "pkix/SerialIndex.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cstring>

#include "pkix/RevokedBlock.h"

namespace keystrand {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr std::uint64_t kPrime = (std::uint64_t{1} << 61) - 1;

constexpr std::size_t kPiece = 7;   // octets of one coefficient
constexpr std::size_t kPowers = 8;  // coefficients taken before the sum is reduced

// Some number congruent to the sum modulo the prime, at most 2^61 + 3. The sum is below 2^123.
std::uint64_t reduce(Wide sum) noexcept {
  const std::uint64_t once = (static_cast<std::uint64_t>(sum) & kPrime) + static_cast<std::uint64_t>(sum >> 61);
  return (once & kPrime) + (once >> 61);
}

struct Key {
  std::array<std::uint64_t, kPowers + 1> power{};  // of the point where the polynomial is evaluated, from the first on
  std::uint64_t mask = 0;
};

Key makeKey() {
  std::array<std::uint64_t, 2> random{};
  if (getentropy(random.data(), sizeof random) != 0) {
    random[0] = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    random[1] = reinterpret_cast<std::uintptr_t>(random.data());
  }
  Key key;
  key.mask = random[1];
  const std::uint64_t point = random[0] % (kPrime - 2) + 2;
  key.power[0] = point;
  for (std::size_t i = 1; i < key.power.size(); ++i) key.power[i] = reduce(Wide{key.power[i - 1]} * point) % kPrime;
  return key;
}

const Key& processKey() {
  static const Key key = makeKey();
  return key;
}

std::uint64_t load(const unsigned char* at) noexcept {
  std::uint64_t octets = 0;
  std::memcpy(&octets, at, sizeof octets);
  return octets;
}

// The last n octets, at most a piece, with a mark above them that tells how many they are.
std::uint64_t lastPiece(std::span<const unsigned char> octets, std::size_t n) noexcept {
  std::uint64_t piece = 0;
  if (octets.size() >= sizeof piece) {
    piece = load(octets.data() + octets.size() - sizeof piece) >> (8 * (sizeof piece - n));
  } else if (n != 0) {
    std::memcpy(&piece, octets.data(), n);
  }
  return piece | (std::uint64_t{n} + 1) << 56;
}

// One round of the polynomial: what came before, then the coefficients from `at` on, all but the last of them whole.
std::uint64_t evaluate(std::uint64_t before, const unsigned char* at, std::size_t whole, std::uint64_t last,
                       const Key& key) noexcept {
  constexpr std::uint64_t kWhole = (std::uint64_t{1} << 8 * kPiece) - 1;
  Wide sum = Wide{before} * key.power[whole + 1] + Wide{last} * key.power[0];
  for (std::size_t i = 0; i < whole; ++i) sum += Wide{load(at + i * kPiece) & kWhole} * key.power[whole - i];
  return reduce(sum);
}

// The octets are the coefficients of a polynomial over the integers modulo 2^61 - 1, evaluated at a secret point: two
// different serial numbers of n octets meet with a chance of about n / 7 in 2^61, whoever chose them.
std::uint64_t hashOf(std::span<const unsigned char> octets, const Key& key) noexcept {
  constexpr std::size_t kMost = kPowers - 1;
  std::uint64_t hash = 1;
  std::size_t pieces = octets.empty() ? 0 : (octets.size() - 1) / kPiece;  // before the last one
  const unsigned char* at = octets.data();
  for (; pieces > kMost; pieces -= kMost, at += kMost * kPiece) hash = evaluate(hash, at, kMost, 0, key);
  const std::size_t left = octets.size() - static_cast<std::size_t>(at - octets.data()) - pieces * kPiece;
  hash = (evaluate(hash, at, pieces, lastPiece(octets, left), key) ^ key.mask) * 0x9E3779B97F4A7C15;
  return hash ^ hash >> 32;
}

bool same(std::span<const unsigned char> a, std::span<const unsigned char> b) noexcept {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  const std::size_t n = a.size();
  if (n != b.size()) return false;
  if (n < kWord) return std::equal(a.begin(), a.end(), b.begin());
  for (std::size_t i = 0; i + kWord < n; i += kWord) {
    if (load(a.data() + i) != load(b.data() + i)) return false;
  }
  return load(a.data() + n - kWord) == load(b.data() + n - kWord);
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

void SerialIndex::build(const RevokedBlock& block) {
  const int entries = block.count();
  numberBits_ = bitsOf(static_cast<std::uint64_t>(entries));
  tagShift_ = numberBits_ + bitsOf(block.bytes(0, entries).size());
  slots_ = HeapArray<std::uint64_t>::zeroed(static_cast<std::size_t>(entries) * 2 + 1);
  // Entries are fetched well before they are hashed, and hashed some way ahead of their insertion, so that their slots
  // are fetched meanwhile.
  constexpr int kAhead = 32;
  constexpr int kFarAhead = 64;
  std::array<Entry, kAhead> ahead{};
  const Key& key = processKey();
  for (int i = 0; i < entries + kAhead; ++i) {
    Entry& entry = ahead[static_cast<std::size_t>(i % kAhead)];
    if (i >= kAhead) insert(block, entry);
    if (i + kFarAhead < entries) __builtin_prefetch(block.bytes(i + kFarAhead, i + kFarAhead).data());
    if (i >= entries) continue;
    const std::uint32_t place = block.serialPlace(i);
    entry = {static_cast<std::uint32_t>(i), place, hashOf(block.serialAt(place), key)};
    __builtin_prefetch(slots_.data() + home(entry.hash), 1);
  }
}

void SerialIndex::insert(const RevokedBlock& block, const Entry& entry) noexcept {
  std::uint64_t& slot = slots_.data()[seek(block, block.serialAt(entry.place), entry.hash)];
  if (slot == 0) slot = tag(entry.hash) | std::uint64_t{entry.place} << numberBits_ | entry.number;
}

int SerialIndex::find(const RevokedBlock& block, std::span<const unsigned char> serial) const noexcept {
  const std::uint64_t slot = slots_.data()[seek(block, serial, hashOf(serial, processKey()))];
  return slot == 0 ? -1 : static_cast<int>(slot & lowBits(numberBits_));
}

}  // namespace keystrand
