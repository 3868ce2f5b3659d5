#include <array>
#include <bit>
#include <utility>

#include "crypto/BlockFunctions.h"
#include "crypto/Words.h"

namespace keystrand {

namespace {

using Word = std::uint32_t;

constexpr Word kConstants[] = {0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6};

template <std::size_t Round>
[[gnu::always_inline]] inline Word function(Word b, Word c, Word d) {
  if constexpr (Round < 20) return d ^ (b & (c ^ d));
  if constexpr (Round >= 40 && Round < 60) return (b & c) | (d & (b | c));
  return b ^ c ^ d;
}

// The message schedule, of which the last sixteen words suffice, and the working variables a to e. The variables stay
// in their places: what turns is which of them plays which.
struct Rounds {
  std::array<Word, 16> w;
  std::array<Word, 5> s;

  template <std::size_t Round>
  [[gnu::always_inline]] void schedule(const unsigned char* data) {
    Word& word = w[Round % 16];
    if constexpr (Round < 16) {
      word = loadWord<Word, std::endian::big>(data + sizeof(Word) * Round);
    } else {
      word = std::rotl(w[(Round + 13) % 16] ^ w[(Round + 8) % 16] ^ w[(Round + 2) % 16] ^ word, 1);
    }
  }

  template <std::size_t Round>
  [[gnu::always_inline]] void step(const unsigned char* data) {
    schedule<Round>(data);
    constexpr std::size_t kA = (80 - Round) % 5;
    Word& b = s[(kA + 1) % 5];
    s[(kA + 4) % 5] += std::rotl(s[kA], 5) + function<Round>(b, s[(kA + 2) % 5], s[(kA + 3) % 5]) +
                       kConstants[Round / 20] + w[Round % 16];
    b = std::rotl(b, 30);
  }

  template <std::size_t... Round>
  [[gnu::always_inline]] void steps(const unsigned char* data, std::index_sequence<Round...>) {
    (step<Round>(data), ...);
  }
};

}  // namespace

void sha1Portable(Word* state, const unsigned char* data, std::size_t count) {
  for (; count != 0; --count, data += 64) {
    Rounds rounds;
    rounds.s = {state[0], state[1], state[2], state[3], state[4]};
    rounds.steps(data, std::make_index_sequence<80>());
    for (std::size_t i = 0; i < rounds.s.size(); ++i) state[i] += rounds.s[i];
  }
}

Blocks32 sha1Blocks() {
  static const Blocks32 blocks = sha1Accelerated() != nullptr ? sha1Accelerated() : &sha1Portable;
  return blocks;
}

}  // namespace keystrand
