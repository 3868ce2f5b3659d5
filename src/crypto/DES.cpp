#include "crypto/DES.h"

#include <bit>
#include <span>

#include "crypto/Words.h"
#include "support/SecretBytes.h"

namespace keystrand {

namespace {

using Positions = std::span<const unsigned char>;

// The tables of FIPS 46-3; positions count from 1 at the most significant bit.
constexpr unsigned char kInitial[] = {58, 50, 42, 34, 26, 18, 10, 2, 60, 52, 44, 36, 28, 20, 12, 4,
                                      62, 54, 46, 38, 30, 22, 14, 6, 64, 56, 48, 40, 32, 24, 16, 8,
                                      57, 49, 41, 33, 25, 17, 9,  1, 59, 51, 43, 35, 27, 19, 11, 3,
                                      61, 53, 45, 37, 29, 21, 13, 5, 63, 55, 47, 39, 31, 23, 15, 7};
constexpr unsigned char kFinal[] = {40, 8, 48, 16, 56, 24, 64, 32, 39, 7, 47, 15, 55, 23, 63, 31,
                                    38, 6, 46, 14, 54, 22, 62, 30, 37, 5, 45, 13, 53, 21, 61, 29,
                                    36, 4, 44, 12, 52, 20, 60, 28, 35, 3, 43, 11, 51, 19, 59, 27,
                                    34, 2, 42, 10, 50, 18, 58, 26, 33, 1, 41, 9,  49, 17, 57, 25};
constexpr unsigned char kPermutation[] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23, 26, 5,  18, 31, 10,
                                          2,  8, 24, 14, 32, 27, 3,  9,  19, 13, 30, 6,  22, 11, 4,  25};
constexpr unsigned char kChoice1[] = {57, 49, 41, 33, 25, 17, 9,  1,  58, 50, 42, 34, 26, 18, 10, 2,  59, 51, 43,
                                      35, 27, 19, 11, 3,  60, 52, 44, 36, 63, 55, 47, 39, 31, 23, 15, 7,  62, 54,
                                      46, 38, 30, 22, 14, 6,  61, 53, 45, 37, 29, 21, 13, 5,  28, 20, 12, 4};
constexpr unsigned char kChoice2[] = {14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,
                                      26, 8,  16, 7,  27, 20, 13, 2,  41, 52, 31, 37, 47, 55, 30, 40,
                                      51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};
constexpr unsigned char kShifts[] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};

constexpr unsigned char kBoxes[8][64] = {
    {14, 4,  13, 1, 2,  15, 11, 8, 3, 10, 6, 12, 5,  9,  0,  7,  0,  15, 7,  4,  14, 2,
     13, 1,  10, 6, 12, 11, 9,  5, 3, 8,  4, 1,  14, 8,  13, 6,  2,  11, 15, 12, 9,  7,
     3,  10, 5,  0, 15, 12, 8,  2, 4, 9,  1, 7,  5,  11, 3,  14, 10, 0,  6,  13},
    {15, 1,  8, 14, 6,  11, 3,  4, 9, 7, 2,  13, 12, 0, 5, 10, 3,  13, 4,  7, 15, 2,  8, 14, 12, 0, 1, 10, 6, 9, 11, 5,
     0,  14, 7, 11, 10, 4,  13, 1, 5, 8, 12, 6,  9,  3, 2, 15, 13, 8,  10, 1, 3,  15, 4, 2,  11, 6, 7, 12, 0, 5, 14, 9},
    {10, 0,  9,  14, 6, 3,  15, 5,  1,  13, 12, 7, 11, 4,  2,  8,  13, 7, 0,  9, 3, 4,
     6,  10, 2,  8,  5, 14, 12, 11, 15, 1,  13, 6, 4,  9,  8,  15, 3,  0, 11, 1, 2, 12,
     5,  10, 14, 7,  1, 10, 13, 0,  6,  9,  8,  7, 4,  15, 14, 3,  11, 5, 2,  12},
    {7, 13, 14, 3, 0, 6,  9, 10, 1,  2, 8,  5, 11, 12, 4,  15, 13, 8,  11, 5, 6, 15,
     0, 3,  4,  7, 2, 12, 1, 10, 14, 9, 10, 6, 9,  0,  12, 11, 7,  13, 15, 1, 3, 14,
     5, 2,  8,  4, 3, 15, 0, 6,  10, 1, 13, 8, 9,  4,  5,  11, 12, 7,  2,  14},
    {2,  12, 4, 1,  7,  10, 11, 6, 8, 5,  3, 15, 13, 0,  14, 9,  14, 11, 2,  12, 4,  7,
     13, 1,  5, 0,  15, 10, 3,  9, 8, 6,  4, 2,  1,  11, 10, 13, 7,  8,  15, 9,  12, 5,
     6,  3,  0, 14, 11, 8,  12, 7, 1, 14, 2, 13, 6,  15, 0,  9,  10, 4,  5,  3},
    {12, 1,  10, 15, 9,  2,  6, 8,  0, 13, 3,  4,  14, 7,  5, 11, 10, 15, 4, 2, 7, 12,
     9,  5,  6,  1,  13, 14, 0, 11, 3, 8,  9,  14, 15, 5,  2, 8,  12, 3,  7, 0, 4, 10,
     1,  13, 11, 6,  4,  3,  2, 12, 9, 5,  15, 10, 11, 14, 1, 7,  6,  0,  8, 13},
    {4, 11, 2,  14, 15, 0, 8, 13, 3,  12, 9, 7, 5, 10, 6, 1, 13, 0,  11, 7, 4, 9, 1,  10, 14, 3, 5, 12, 2,  15, 8, 6,
     1, 4,  11, 13, 12, 3, 7, 14, 10, 15, 6, 8, 0, 5,  9, 2, 6,  11, 13, 8, 1, 4, 10, 7,  9,  5, 0, 15, 14, 2,  3, 12},
    {13, 2,  8, 4, 6, 15, 11, 1, 10, 9, 3,  14, 5,  0, 12, 7, 1, 15, 13, 8, 10, 3,  7, 4,  12, 5,  6, 11, 0, 14, 9, 2,
     7,  11, 4, 1, 9, 12, 14, 2, 0,  6, 10, 13, 15, 3, 5,  8, 2, 1,  14, 7, 4,  10, 8, 13, 15, 12, 9, 0,  3, 5,  6, 11},
};

// The bits of `value`, which has `width` of them, in the order of the table.
constexpr std::uint64_t permuted(std::uint64_t value, int width, Positions table) {
  std::uint64_t result = 0;
  for (const unsigned char position : table) result = (result << 1) | ((value >> (width - position)) & 1);
  return result;
}

// The box of six bits together with the permutation behind all boxes.
struct Substitution {
  std::uint32_t words[8][64];
};

constexpr Substitution makeSubstitution() {
  Substitution made{};
  for (std::size_t box = 0; box < 8; ++box) {
    for (std::size_t bits = 0; bits < 64; ++bits) {
      const std::size_t row = (bits >> 4 & 2) | (bits & 1);
      const std::uint64_t value = std::uint64_t{kBoxes[box][row * 16 + (bits >> 1 & 15)]} << (28 - 4 * box);
      made.words[box][bits] = static_cast<std::uint32_t>(permuted(value, 32, kPermutation));
    }
  }
  return made;
}

constexpr Substitution kSubstitution = makeSubstitution();

// The expansion repeats the bits at both ends of every group of four.
std::uint32_t round(std::uint32_t half, std::uint64_t key) {
  std::uint32_t result = 0;
  for (std::size_t box = 0; box < 8; ++box) {
    const std::uint32_t group = std::rotl(half, static_cast<int>(4 * box) + 5) & 0x3F;
    result ^= kSubstitution.words[box][group ^ ((key >> (42 - 6 * box)) & 0x3F)];
  }
  return result;
}

constexpr std::uint32_t rotated28(std::uint32_t value, unsigned shift) {
  return ((value << shift) | (value >> (28 - shift))) & 0x0FFFFFFF;
}

}  // namespace

DES::~DES() {
  wipe({reinterpret_cast<unsigned char*>(schedules_.data()), sizeof schedules_});
}

DES::Schedule DES::scheduleOf(std::span<const unsigned char> key, bool reversed) {
  const std::uint64_t bits = permuted(loadWord<std::uint64_t, std::endian::big>(key.data()), 64, kChoice1);
  auto c = static_cast<std::uint32_t>(bits >> 28);
  auto d = static_cast<std::uint32_t>(bits & 0x0FFFFFFF);
  Schedule schedule{};
  for (std::size_t i = 0; i < schedule.size(); ++i) {
    c = rotated28(c, kShifts[i]);
    d = rotated28(d, kShifts[i]);
    schedule[reversed ? 15 - i : i] = permuted((std::uint64_t{c} << 28) | d, 56, kChoice2);
  }
  return schedule;
}

// Decryption runs the stages from the last to the first, each the other way round.
bool DES::setKey(std::span<const unsigned char> key, bool decrypt) {
  constexpr std::size_t kLength = 8;
  if (key.size() != kLength && key.size() != 2 * kLength && key.size() != 3 * kLength) return false;
  stages_ = key.size() == kLength ? 1 : 3;
  for (std::size_t stage = 0; stage < stages_; ++stage) {
    const std::size_t part = decrypt ? stages_ - 1 - stage : stage;
    schedules_[stage] = scheduleOf(key.subspan(part * kLength % key.size(), kLength), decrypt != (part == 1));
  }
  return true;
}

bool DES::setEncryptionKey(std::span<const unsigned char> key) {
  return setKey(key, false);
}
bool DES::setDecryptionKey(std::span<const unsigned char> key) {
  return setKey(key, true);
}

// Between two stages the final permutation of the one and the initial one of the other cancel out.
void DES::crypt(const unsigned char* source, unsigned char* target) const {
  const std::uint64_t block = permuted(loadWord<std::uint64_t, std::endian::big>(source), 64, kInitial);
  auto left = static_cast<std::uint32_t>(block >> 32);
  auto right = static_cast<std::uint32_t>(block);
  for (std::size_t stage = 0; stage < stages_; ++stage) {
    for (const std::uint64_t key : schedules_[stage]) {
      left ^= round(right, key);
      std::swap(left, right);
    }
    std::swap(left, right);
  }
  storeWord<std::endian::big>(permuted((std::uint64_t{left} << 32) | right, 64, kFinal), target);
}

void DES::encryptBlock(const unsigned char* source, unsigned char* target) const {
  crypt(source, target);
}
void DES::decryptBlock(const unsigned char* source, unsigned char* target) const {
  crypt(source, target);
}

}  // namespace keystrand
