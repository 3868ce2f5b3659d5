// SHA-1 with the SHA instructions of x86: four rounds at a time.
#include "crypto/BlockFunctions.h"
#include "crypto/Processor.h"

#if defined(__x86_64__)
#include <immintrin.h>

#include <utility>
#endif

namespace keystrand {

#if defined(__x86_64__)

namespace {

using Vector = __m128i;
using Schedule = Vector[4];  // of the message schedule the last sixteen words suffice

[[gnu::target("sha,sse4.1,ssse3"), gnu::always_inline]] inline Vector loadVector(const void* from) {
  return _mm_loadu_si128(static_cast<const Vector*>(from));
}

// Sixteen bytes of input as four words, the first in the highest.
[[gnu::target("sha,sse4.1,ssse3"), gnu::always_inline]] inline Vector loadWords(const unsigned char* data) {
  return _mm_shuffle_epi8(loadVector(data), _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F));
}

struct State {
  Vector abcd;
  Vector e;  // in the highest word
};

// Rounds 4 * Group to 4 * Group + 3. Each vector of the schedule is replaced four groups later.
template <std::size_t Group>
[[gnu::target("sha,sse4.1,ssse3"), gnu::always_inline]] inline void fourRounds(State& s, Schedule& w,
                                                                               const unsigned char* data) {
  Vector& word = w[Group % 4];
  if constexpr (Group < 4) {
    word = loadWords(data + 16 * Group);
  } else {
    const Vector mixed = _mm_xor_si128(_mm_sha1msg1_epu32(word, w[(Group + 1) % 4]), w[(Group + 2) % 4]);
    word = _mm_sha1msg2_epu32(mixed, w[(Group + 3) % 4]);
  }
  const Vector input = Group == 0 ? _mm_add_epi32(s.e, word) : _mm_sha1nexte_epu32(s.e, word);
  s.e = s.abcd;
  s.abcd = _mm_sha1rnds4_epu32(s.abcd, input, static_cast<int>(Group / 5));
}

template <std::size_t... Group>
[[gnu::target("sha,sse4.1,ssse3"), gnu::always_inline]] inline void rounds(State& s, Schedule& w,
                                                                           const unsigned char* data,
                                                                           std::index_sequence<Group...>) {
  (fourRounds<Group>(s, w, data), ...);
}

[[gnu::target("sha,sse4.1,ssse3")]] void sha1Instructions(std::uint32_t* state, const unsigned char* data,
                                                          std::size_t count) {
  constexpr int kReverseWords = 0x1B;
  State s = {_mm_shuffle_epi32(loadVector(state), kReverseWords), _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0)};
  for (; count != 0; --count, data += 64) {
    Schedule w;
    const State old = s;
    rounds(s, w, data, std::make_index_sequence<20>());
    s.e = _mm_sha1nexte_epu32(s.e, old.e);
    s.abcd = _mm_add_epi32(s.abcd, old.abcd);
  }
  _mm_storeu_si128(reinterpret_cast<Vector*>(state), _mm_shuffle_epi32(s.abcd, kReverseWords));
  state[4] = static_cast<std::uint32_t>(_mm_extract_epi32(s.e, 3));
}

}  // namespace

Blocks32 sha1Accelerated() {
  return processor().shaExtensions ? &sha1Instructions : nullptr;
}

#else

Blocks32 sha1Accelerated() {
  return nullptr;
}

#endif

}  // namespace keystrand
