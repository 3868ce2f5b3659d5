// SHA-256 with the SHA instructions of x86: four rounds at a time.
#include "crypto/BlockFunctions.h"
#include "crypto/Processor.h"

#if defined(__x86_64__)
#include <immintrin.h>

#include <utility>

#include "crypto/SHA2Constants.h"
#endif

namespace keystrand {

#if defined(__x86_64__)

namespace {

using Vector = __m128i;
using Schedule = Vector[4];  // of the message schedule the last sixteen words suffice

[[gnu::target("sha,sse4.1,ssse3"), gnu::always_inline]] inline Vector loadVector(const void* from) {
  return _mm_loadu_si128(static_cast<const Vector*>(from));
}

// Sixteen bytes of input as four words.
[[gnu::target("sha,sse4.1,ssse3"), gnu::always_inline]] inline Vector loadWords(const unsigned char* data) {
  return _mm_shuffle_epi8(loadVector(data), _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203));
}

// The working variables in the order in which the instructions take them, the first named in the highest word.
struct State {
  Vector abef;
  Vector cdgh;
};

// Rounds 4 * Group to 4 * Group + 3. Each vector of the schedule is replaced four groups later.
template <std::size_t Group>
[[gnu::target("sha,sse4.1,ssse3"), gnu::always_inline]] inline void fourRounds(State& s, Schedule& w,
                                                                               const unsigned char* data) {
  Vector& word = w[Group % 4];
  if constexpr (Group < 4) {
    word = loadWords(data + 16 * Group);
  } else {
    const Vector last = w[(Group + 3) % 4];
    const Vector sevenBack = _mm_alignr_epi8(last, w[(Group + 2) % 4], 4);
    word = _mm_sha256msg2_epu32(_mm_add_epi32(_mm_sha256msg1_epu32(word, w[(Group + 1) % 4]), sevenBack), last);
  }
  constexpr int kUpperHalf = 0x0E;
  const Vector sum = _mm_add_epi32(word, loadVector(&sha2::kSHA256Constants[4 * Group]));
  s.cdgh = _mm_sha256rnds2_epu32(s.cdgh, s.abef, sum);
  s.abef = _mm_sha256rnds2_epu32(s.abef, s.cdgh, _mm_shuffle_epi32(sum, kUpperHalf));
}

template <std::size_t... Group>
[[gnu::target("sha,sse4.1,ssse3"), gnu::always_inline]] inline void rounds(State& s, Schedule& w,
                                                                           const unsigned char* data,
                                                                           std::index_sequence<Group...>) {
  (fourRounds<Group>(s, w, data), ...);
}

[[gnu::target("sha,sse4.1,ssse3"), gnu::always_inline]] inline State loadState(const std::uint32_t* state) {
  const Vector badc = _mm_shuffle_epi32(loadVector(state), 0xB1);
  const Vector hgfe = _mm_shuffle_epi32(loadVector(state + 4), 0x1B);
  return {_mm_alignr_epi8(badc, hgfe, 8), _mm_blend_epi16(hgfe, badc, 0xF0)};
}

[[gnu::target("sha,sse4.1,ssse3"), gnu::always_inline]] inline void storeState(const State& s, std::uint32_t* state) {
  const Vector feba = _mm_shuffle_epi32(s.abef, 0x1B);
  const Vector dchg = _mm_shuffle_epi32(s.cdgh, 0xB1);
  _mm_storeu_si128(reinterpret_cast<Vector*>(state), _mm_blend_epi16(feba, dchg, 0xF0));
  _mm_storeu_si128(reinterpret_cast<Vector*>(state + 4), _mm_alignr_epi8(dchg, feba, 8));
}

[[gnu::target("sha,sse4.1,ssse3")]] void sha256Instructions(std::uint32_t* state, const unsigned char* data,
                                                            std::size_t count) {
  State s = loadState(state);
  for (; count != 0; --count, data += 64) {
    Schedule w;
    const State old = s;
    rounds(s, w, data, std::make_index_sequence<16>());
    s.abef = _mm_add_epi32(s.abef, old.abef);
    s.cdgh = _mm_add_epi32(s.cdgh, old.cdgh);
  }
  storeState(s, state);
}

}  // namespace

Blocks32 sha256Accelerated() {
  return processor().shaExtensions ? &sha256Instructions : nullptr;
}

#else

Blocks32 sha256Accelerated() {
  return nullptr;
}

#endif

}  // namespace keystrand
