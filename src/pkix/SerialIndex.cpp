#include "pkix/SerialIndex.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cstring>
#include <new>

#include "pkix/RevokedBlock.h"

namespace keystrand {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr std::uint64_t kPrime = (std::uint64_t{1} << 61) - 1;

struct Key {
  std::uint64_t point = 0;  // where the polynomial of the hash is evaluated
  std::uint64_t mix = 0;
};

Key makeKey() {
  Key key;
  if (getentropy(&key, sizeof key) != 0) {
    key.point = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    key.mix = reinterpret_cast<std::uintptr_t>(&key);
  }
  key.point = key.point % (kPrime - 2) + 2;
  return key;
}

const Key& processKey() {
  static const Key key = makeKey();
  return key;
}

// a * b modulo 2^61 - 1, not always in its least form; a below 2^62, b below 2^61.
std::uint64_t multiply(std::uint64_t a, std::uint64_t b) noexcept {
  const Wide product = Wide{a} * b;
  const std::uint64_t sum = (static_cast<std::uint64_t>(product) & kPrime) + static_cast<std::uint64_t>(product >> 61);
  return (sum & kPrime) + (sum >> 61);
}

constexpr std::size_t kPiece = 7;

// The last n octets, at most a piece, with a mark above them that tells how many they are.
std::uint64_t lastPiece(std::span<const unsigned char> octets, std::size_t n) noexcept {
  std::uint64_t piece = 0;
  if (octets.size() >= sizeof piece) {
    std::memcpy(&piece, octets.data() + octets.size() - sizeof piece, sizeof piece);
    piece >>= 8 * (sizeof piece - n);
  } else if (n != 0) {
    std::memcpy(&piece, octets.data(), n);
  }
  return piece | (std::uint64_t{n} + 1) << 56;
}

// The octets are the coefficients of a polynomial over the integers modulo 2^61 - 1, evaluated at a secret point: two
// different serial numbers of n octets meet with a chance of n / 7 in 2^61, whoever chose them.
std::uint64_t hashOf(std::span<const unsigned char> octets, const Key& key) noexcept {
  std::uint64_t hash = key.point;
  const unsigned char* at = octets.data();
  std::size_t left = octets.size();
  for (; left > kPiece; at += kPiece, left -= kPiece) {
    std::uint64_t piece = 0;
    std::memcpy(&piece, at, kPiece + 1);
    hash = multiply(hash + (piece & ((std::uint64_t{1} << 56) - 1)), key.point);
  }
  hash = multiply(hash + lastPiece(octets, left), key.point) ^ key.mix;
  hash *= 0x9E3779B97F4A7C15;
  return hash ^ hash >> 32;
}

bool same(std::span<const unsigned char> a, std::span<const unsigned char> b) noexcept {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace

std::size_t SerialIndex::home(std::uint64_t hash) const noexcept {
  return static_cast<std::size_t>((hash >> 32) * size_ >> 32);
}

std::uint32_t SerialIndex::tag(std::uint64_t hash) const noexcept {
  return static_cast<std::uint32_t>(hash) & ~numberMask_;
}

// The slot that holds this serial number, or the empty one where it would stand.
std::size_t SerialIndex::seek(const RevokedBlock& block, std::span<const unsigned char> serial,
                              std::uint64_t hash) const noexcept {
  const std::uint32_t wanted = tag(hash);
  std::size_t slot = home(hash);
  while (slots_[slot] != 0) {
    const std::uint32_t held = slots_[slot];
    if ((held & ~numberMask_) == wanted && same(block.serial(static_cast<int>(held & numberMask_) - 1), serial)) break;
    slot = slot + 1 == size_ ? 0 : slot + 1;
  }
  return slot;
}

void SerialIndex::build(const RevokedBlock& block) {
  const auto count = static_cast<std::uint32_t>(block.count());
  size_ = std::size_t{count} * 2 + 1;
  numberMask_ = (std::uint32_t{1} << std::bit_width(count)) - 1;
  slots_.reset(static_cast<std::uint32_t*>(std::calloc(size_, sizeof(std::uint32_t))));
  if (!slots_) throw std::bad_alloc();
  // A few entries are hashed ahead of their insertion, so that the slots of all of them are fetched at once.
  constexpr std::uint32_t kAhead = 16;
  std::array<std::uint64_t, kAhead> hashes{};
  const Key& key = processKey();
  for (std::uint32_t first = 0; first < count; first += kAhead) {
    const std::uint32_t last = std::min(first + kAhead, count);
    for (std::uint32_t i = first; i < last; ++i) {
      hashes[i - first] = hashOf(block.serial(static_cast<int>(i)), key);
      __builtin_prefetch(&slots_[home(hashes[i - first])], 1);
    }
    for (std::uint32_t i = first; i < last; ++i) {
      const std::uint64_t hash = hashes[i - first];
      std::uint32_t& slot = slots_[seek(block, block.serial(static_cast<int>(i)), hash)];
      if (slot == 0) slot = (i + 1) | tag(hash);
    }
  }
}

int SerialIndex::find(const RevokedBlock& block, std::span<const unsigned char> serial) const noexcept {
  const std::size_t slot = seek(block, serial, hashOf(serial, processKey()));
  return static_cast<int>(slots_[slot] & numberMask_) - 1;
}

}  // namespace keystrand
