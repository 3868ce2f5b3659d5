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
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace

std::size_t SerialIndex::home(std::uint64_t hash) const noexcept {
  return static_cast<std::size_t>((hash >> 32) * slots_.size() >> 32);
}

std::uint32_t SerialIndex::tag(std::uint64_t hash) const noexcept {
  return static_cast<std::uint32_t>(hash) & ~numberMask_;
}

// The slot that holds the serial number of this hash, as `isThis` confirms for an entry, or the empty one where it
// would stand.
template <class IsThis>
std::size_t SerialIndex::seek(std::uint64_t hash, IsThis isThis) const noexcept {
  const std::uint32_t wanted = tag(hash);
  std::size_t slot = home(hash);
  for (; slots_.data()[slot] != 0; slot = slot + 1 == slots_.size() ? 0 : slot + 1) {
    const std::uint32_t held = slots_.data()[slot];
    if ((held & ~numberMask_) == wanted && isThis(static_cast<int>(held & numberMask_) - 1)) break;
  }
  return slot;
}

void SerialIndex::build(const RevokedBlock& block) {
  const auto count = static_cast<std::uint32_t>(block.count());
  slots_ = HeapArray<std::uint32_t>::zeroed(std::size_t{count} * 2 + 1);
  numberMask_ = (std::uint32_t{1} << std::bit_width(count)) - 1;
  // Entries are hashed some way ahead of their insertion, so that their slots are fetched meanwhile.
  constexpr std::uint32_t kAhead = 32;
  std::array<std::uint64_t, kAhead> hashes{};
  const Key& key = processKey();
  for (std::uint32_t i = 0; i < count + kAhead; ++i) {
    std::uint64_t& hash = hashes[i % kAhead];
    if (i >= kAhead) insert(block, i - kAhead, hash);
    if (i < count) {
      hash = hashOf(block.serial(static_cast<int>(i)), key);
      __builtin_prefetch(slots_.data() + home(hash), 1);
    }
  }
}

void SerialIndex::insert(const RevokedBlock& block, std::uint32_t entry, std::uint64_t hash) noexcept {
  const auto equals = [&](int other) { return same(block.serial(other), block.serial(static_cast<int>(entry))); };
  std::uint32_t& slot = slots_.data()[seek(hash, equals)];
  if (slot == 0) slot = (entry + 1) | tag(hash);
}

int SerialIndex::find(const RevokedBlock& block, std::span<const unsigned char> serial) const noexcept {
  const auto equals = [&](int index) { return same(block.serial(index), serial); };
  const std::size_t slot = seek(hashOf(serial, processKey()), equals);
  return static_cast<int>(slots_.data()[slot] & numberMask_) - 1;
}

}  // namespace keystrand
