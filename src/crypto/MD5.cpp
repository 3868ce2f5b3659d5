#include "crypto/MD5.h"

namespace keystrand {

namespace {

using Word = std::uint32_t;

// floor(2^32 * |sin(i + 1)|), RFC 1321 section 3.4.
constexpr std::array<Word, 64> kSines = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391};

// One round of sixteen steps: which word each step takes, by how much it turns, and the function of the round.
template <class Function>
inline void round(std::array<Word, 4>& s, const std::array<Word, 16>& x, std::size_t number,
                  std::array<std::size_t, 2> word, std::array<int, 4> turn, Function f) {
  for (std::size_t i = 0; i < 16; ++i) {
    const Word sum = s[0] + f(s[1], s[2], s[3]) + x[(word[0] * i + word[1]) % 16] + kSines[number * 16 + i];
    s = {s[3], s[1] + std::rotl(sum, turn[i % 4]), s[1], s[2]};
  }
}

void block(Word* state, const unsigned char* data) {
  std::array<Word, 16> x;
  for (std::size_t i = 0; i < 16; ++i) x[i] = loadWord<Word, std::endian::little>(data + 4 * i);
  std::array<Word, 4> s = {state[0], state[1], state[2], state[3]};
  round(s, x, 0, {1, 0}, {7, 12, 17, 22}, [](Word b, Word c, Word d) { return d ^ (b & (c ^ d)); });
  round(s, x, 1, {5, 1}, {5, 9, 14, 20}, [](Word b, Word c, Word d) { return c ^ (d & (b ^ c)); });
  round(s, x, 2, {3, 5}, {4, 11, 16, 23}, [](Word b, Word c, Word d) { return b ^ c ^ d; });
  round(s, x, 3, {7, 0}, {6, 10, 15, 21}, [](Word b, Word c, Word d) { return c ^ (b | ~d); });
  for (std::size_t i = 0; i < 4; ++i) state[i] += s[i];
}

}  // namespace

void MD5Algorithm::blocks(Word* state, const unsigned char* data, std::size_t count) {
  for (; count != 0; --count, data += kBlockLength) block(state, data);
}

template class BlockDigest<MD5Algorithm>;

}  // namespace keystrand
