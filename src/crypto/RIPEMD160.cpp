#include "crypto/RIPEMD160.h"

namespace keystrand {

namespace {

using Word = std::uint32_t;
using Byte = unsigned char;

// The two lines run side by side over the same block, each with its own order of words, turns and constants.
struct Line {
  std::array<std::array<Byte, 16>, 5> word;
  std::array<std::array<Byte, 16>, 5> turn;
  std::array<Word, 5> constant;
};

constexpr Line kLeft = {{{{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
                          {7, 4, 13, 1, 10, 6, 15, 3, 12, 0, 9, 5, 2, 14, 11, 8},
                          {3, 10, 14, 4, 9, 15, 8, 1, 2, 7, 0, 6, 13, 11, 5, 12},
                          {1, 9, 11, 10, 0, 8, 12, 4, 13, 3, 7, 15, 14, 5, 6, 2},
                          {4, 0, 5, 9, 7, 12, 2, 10, 14, 1, 3, 8, 11, 6, 15, 13}}},
                        {{{11, 14, 15, 12, 5, 8, 7, 9, 11, 13, 14, 15, 6, 7, 9, 8},
                          {7, 6, 8, 13, 11, 9, 7, 15, 7, 12, 15, 9, 11, 7, 13, 12},
                          {11, 13, 6, 7, 14, 9, 13, 15, 14, 8, 13, 6, 5, 12, 7, 5},
                          {11, 12, 14, 15, 14, 15, 9, 8, 9, 14, 5, 6, 8, 6, 5, 12},
                          {9, 15, 5, 11, 6, 8, 13, 12, 5, 12, 13, 14, 11, 8, 5, 6}}},
                        {0x00000000, 0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xA953FD4E}};

constexpr Line kRight = {{{{5, 14, 7, 0, 9, 2, 11, 4, 13, 6, 15, 8, 1, 10, 3, 12},
                           {6, 11, 3, 7, 0, 13, 5, 10, 14, 15, 8, 12, 4, 9, 1, 2},
                           {15, 5, 1, 3, 7, 14, 6, 9, 11, 8, 12, 2, 10, 0, 4, 13},
                           {8, 6, 4, 1, 3, 11, 15, 0, 5, 12, 2, 13, 9, 7, 10, 14},
                           {12, 15, 10, 4, 1, 5, 8, 7, 6, 2, 13, 14, 0, 3, 9, 11}}},
                         {{{8, 9, 9, 11, 13, 15, 15, 5, 7, 7, 8, 11, 14, 14, 12, 6},
                           {9, 13, 15, 7, 12, 8, 9, 11, 7, 7, 12, 7, 6, 15, 13, 11},
                           {9, 7, 15, 11, 8, 6, 6, 14, 12, 13, 5, 14, 13, 13, 7, 5},
                           {15, 5, 8, 11, 14, 14, 6, 14, 6, 9, 12, 9, 12, 5, 15, 8},
                           {8, 5, 12, 9, 12, 5, 14, 6, 8, 13, 6, 5, 15, 13, 11, 11}}},
                         {0x50A28BE6, 0x5C4DD124, 0x6D703EF3, 0x7A6D76E9, 0x00000000}};

constexpr auto kF1 = [](Word x, Word y, Word z) { return x ^ y ^ z; };
constexpr auto kF2 = [](Word x, Word y, Word z) { return z ^ (x & (y ^ z)); };
constexpr auto kF3 = [](Word x, Word y, Word z) { return (x | ~y) ^ z; };
constexpr auto kF4 = [](Word x, Word y, Word z) { return y ^ (z & (x ^ y)); };
constexpr auto kF5 = [](Word x, Word y, Word z) { return x ^ (y | ~z); };

using State = std::array<Word, 5>;
using Block = std::array<Word, 16>;

template <class Function>
inline void round(State& s, const Block& x, const Line& line, std::size_t number, Function f) {
  for (std::size_t i = 0; i < 16; ++i) {
    const Word sum = s[0] + f(s[1], s[2], s[3]) + x[line.word[number][i]] + line.constant[number];
    s = {s[4], std::rotl(sum, line.turn[number][i]) + s[4], s[1], std::rotl(s[2], 10), s[3]};
  }
}

void block(Word* state, const unsigned char* data) {
  Block x;
  for (std::size_t i = 0; i < 16; ++i) x[i] = loadWord<Word, std::endian::little>(data + 4 * i);
  State left = {state[0], state[1], state[2], state[3], state[4]};
  State right = left;
  round(left, x, kLeft, 0, kF1);
  round(left, x, kLeft, 1, kF2);
  round(left, x, kLeft, 2, kF3);
  round(left, x, kLeft, 3, kF4);
  round(left, x, kLeft, 4, kF5);
  round(right, x, kRight, 0, kF5);
  round(right, x, kRight, 1, kF4);
  round(right, x, kRight, 2, kF3);
  round(right, x, kRight, 3, kF2);
  round(right, x, kRight, 4, kF1);
  const State old = {state[0], state[1], state[2], state[3], state[4]};
  for (std::size_t i = 0; i < 5; ++i) state[i] = old[(i + 1) % 5] + left[(i + 2) % 5] + right[(i + 3) % 5];
}

}  // namespace

void RIPEMD160Algorithm::blocks(Word* state, const unsigned char* data, std::size_t count) {
  for (; count != 0; --count, data += kBlockLength) block(state, data);
}

template class BlockDigest<RIPEMD160Algorithm>;

}  // namespace keystrand
