// The block function of SHA-256 and SHA-512 (FIPS 180-4 sections 6.2.2 and 6.4.2), which differ in the word, the number
// of rounds and the amounts of rotation. Everything is inlined into the function that calls it, so that a caller with a
// target attribute gets it in the instructions of that target.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <utility>

#include "crypto/SHA2Constants.h"
#include "crypto/Words.h"

namespace keystrand::sha2 {

template <class Word, int First, int Second, int Third>
[[gnu::always_inline]] inline Word bigSigma(Word x) {
  return std::rotr(x, First) ^ std::rotr(x, Second) ^ std::rotr(x, Third);
}

template <class Word, int First, int Second, int Shift>
[[gnu::always_inline]] inline Word smallSigma(Word x) {
  return std::rotr(x, First) ^ std::rotr(x, Second) ^ (x >> Shift);
}

struct SHA256Family {
  using Word = std::uint32_t;
  static constexpr std::size_t kRounds = 64;
  static constexpr const auto& kConstants = kSHA256Constants;
  [[gnu::always_inline]] static Word sum0(Word x) { return bigSigma<Word, 2, 13, 22>(x); }
  [[gnu::always_inline]] static Word sum1(Word x) { return bigSigma<Word, 6, 11, 25>(x); }
  [[gnu::always_inline]] static Word sigma0(Word x) { return smallSigma<Word, 7, 18, 3>(x); }
  [[gnu::always_inline]] static Word sigma1(Word x) { return smallSigma<Word, 17, 19, 10>(x); }
};

struct SHA512Family {
  using Word = std::uint64_t;
  static constexpr std::size_t kRounds = 80;
  static constexpr const auto& kConstants = kSHA512Constants;
  [[gnu::always_inline]] static Word sum0(Word x) { return bigSigma<Word, 28, 34, 39>(x); }
  [[gnu::always_inline]] static Word sum1(Word x) { return bigSigma<Word, 14, 18, 41>(x); }
  [[gnu::always_inline]] static Word sigma0(Word x) { return smallSigma<Word, 1, 8, 7>(x); }
  [[gnu::always_inline]] static Word sigma1(Word x) { return smallSigma<Word, 19, 61, 6>(x); }
};

// The message schedule, of which the last sixteen words suffice, and the working variables a to h. The variables stay
// in their places: what turns is which of them plays which. All indexes are known at compile time, so that the arrays
// dissolve into registers.
template <class Family>
struct Rounds {
  using Word = typename Family::Word;
  std::array<Word, 16> w;
  std::array<Word, 8> s;

  template <std::size_t Round>
  [[gnu::always_inline]] void schedule(const unsigned char* data) {
    Word& word = w[Round % 16];
    if constexpr (Round < 16) {
      word = loadWord<Word, std::endian::big>(data + sizeof(Word) * Round);
    } else {
      word += Family::sigma1(w[(Round + 14) % 16]) + w[(Round + 9) % 16] + Family::sigma0(w[(Round + 1) % 16]);
    }
  }

  template <std::size_t Round>
  [[gnu::always_inline]] void step(const unsigned char* data) {
    schedule<Round>(data);
    constexpr std::size_t kA = (Family::kRounds - Round) % 8;
    const Word a = s[kA];
    const Word b = s[(kA + 1) % 8];
    const Word c = s[(kA + 2) % 8];
    const Word e = s[(kA + 4) % 8];
    const Word f = s[(kA + 5) % 8];
    const Word g = s[(kA + 6) % 8];
    Word& h = s[(kA + 7) % 8];
    h += Family::sum1(e) + (g ^ (e & (f ^ g))) + Family::kConstants[Round] + w[Round % 16];
    s[(kA + 3) % 8] += h;
    h += Family::sum0(a) + ((a & b) | (c & (a | b)));
  }

  template <std::size_t... Round>
  [[gnu::always_inline]] void steps(const unsigned char* data, std::index_sequence<Round...>) {
    (step<Round>(data), ...);
  }

  template <std::size_t... I>
  [[gnu::always_inline]] void block(Word* state, const unsigned char* data, std::index_sequence<I...>) {
    ((s[I] = state[I]), ...);
    steps(data, std::make_index_sequence<Family::kRounds>());
    ((state[I] += s[I]), ...);
  }
};

template <class Family>
[[gnu::always_inline]] inline void blocks(typename Family::Word* state, const unsigned char* data, std::size_t count) {
  for (; count != 0; --count, data += 16 * sizeof(typename Family::Word)) {
    Rounds<Family> rounds;
    rounds.block(state, data, std::make_index_sequence<8>());
  }
}

}  // namespace keystrand::sha2
