#include "support/Base64.h"

#include <array>
#include <cstdint>

namespace keystrand {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kOther = 0x80;  // the bit that no value of the alphabet has
constexpr std::size_t kLineLength = 64;

constexpr std::array<std::uint8_t, 256> kValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kOther);
  for (std::uint8_t i = 0; i < 64; ++i) values[static_cast<unsigned char>(kAlphabet[i])] = i;
  return values;
}();

// Four characters of every three bytes, '=' filling up the last group.
void encodeInto(std::span<const unsigned char> bytes, char* out) {
  const auto letter = [](std::uint32_t bits) { return kAlphabet[bits & 63]; };
  for (; bytes.size() >= 3; bytes = bytes.subspan(3), out += 4) {
    const std::uint32_t bits = std::uint32_t{bytes[0]} << 16 | std::uint32_t{bytes[1]} << 8 | bytes[2];
    out[0] = letter(bits >> 18);
    out[1] = letter(bits >> 12);
    out[2] = letter(bits >> 6);
    out[3] = letter(bits);
  }
  if (bytes.empty()) return;
  const std::uint32_t bits = std::uint32_t{bytes[0]} << 16 | (bytes.size() == 2 ? std::uint32_t{bytes[1]} << 8 : 0);
  out[0] = letter(bits >> 18);
  out[1] = letter(bits >> 12);
  out[2] = bytes.size() == 2 ? letter(bits >> 6) : '=';
  out[3] = '=';
}

// How many characters of the text belong to the alphabet.
std::size_t countAlphabet(std::span<const unsigned char> text) {
  std::size_t count = 0;
  for (const unsigned char c : text) count += kValues[c] < kOther;
  return count;
}

// A byte for every 8 bits; the bits left over are dropped.
std::size_t sizeOf(std::size_t characters) {
  return characters / 4 * 3 + characters % 4 * 3 / 4;
}

// The values at the four places of a group, ready to be joined, and a bit beyond them for any other character.
using PlacedValues = std::array<std::uint32_t, 256>;
constexpr std::uint32_t kOtherPlaced = 0x80000000;
constexpr std::array<PlacedValues, 4> kPlaced = [] {
  std::array<PlacedValues, 4> places{};
  for (std::size_t place = 0; place < 4; ++place)
    for (std::size_t c = 0; c < 256; ++c)
      places[place][c] = kValues[c] == kOther ? kOtherPlaced : std::uint32_t{kValues[c]} << (18 - 6 * place);
  return places;
}();

// Whole groups with nothing else in them, up to the last but one: a fourth byte is written with the three of a group,
// and the characters that follow leave room for it.
void decodeGroups(const unsigned char*& in, const unsigned char* end, unsigned char*& out) {
  for (; end - in >= 8; in += 4, out += 3) {
    const std::uint32_t bits = kPlaced[0][in[0]] | kPlaced[1][in[1]] | kPlaced[2][in[2]] | kPlaced[3][in[3]];
    if ((bits & kOtherPlaced) != 0) return;
    out[0] = static_cast<unsigned char>(bits >> 16);
    out[1] = static_cast<unsigned char>(bits >> 8);
    out[2] = static_cast<unsigned char>(bits);
    out[3] = 0;
  }
}

// A text that is decoded for itself: up to the padding that completes a group, that included, or to the end.
struct PaddedText {
  std::span<const unsigned char> bytes;
  std::size_t characters = 0;  // of the alphabet
};

// Cuts the next padded text off the front; nothing where it is refused. Characters and padding count as places, on
// through all groups of the text: '=' may take any but the first two, and where it takes the third of a group another
// one follows at once.
std::optional<PaddedText> nextPaddedText(std::span<const unsigned char>& rest) {
  PaddedText next;
  std::size_t at = 0;
  std::size_t places = 0;
  do {
    const std::span<const unsigned char> plain = upTo(rest.subspan(at), '=');
    const std::size_t characters = countAlphabet(plain);
    next.characters += characters;
    places += characters;
    at += plain.size();
    if (at == rest.size()) {
      if (places % 4 != 0) return std::nullopt;
      break;
    }
    if (places < 2) return std::nullopt;
    ++places;
    ++at;
    if (places % 4 == 3 && (at == rest.size() || rest[at] != '=')) return std::nullopt;
  } while (places % 4 != 0);
  next.bytes = rest.first(at);
  rest = rest.subspan(at);
  return next;
}

// The size of what the strict decoder would write, 0 when it refuses the text.
std::size_t strictSize(std::span<const unsigned char> text) {
  std::size_t characters = 0;
  std::size_t written = 0;
  while (!text.empty()) {
    const std::optional<PaddedText> next = nextPaddedText(text);
    if (!next) return 0;
    characters += next->characters;
    written += sizeOf(next->characters);
  }
  return written == sizeOf(characters) ? written : 0;  // differs where padding inside the text dropped bits
}

}  // namespace

std::string encodeBase64(std::span<const unsigned char> bytes) {
  std::string text((bytes.size() + 2) / 3 * 4, '\0');
  encodeInto(bytes, text.data());
  return text;
}

std::string encodeBase64Lines(std::span<const unsigned char> bytes) {
  const std::string text = encodeBase64(bytes);
  std::string lines;
  lines.reserve(text.size() + text.size() / kLineLength);
  for (std::size_t at = 0; at < text.size(); at += kLineLength) {
    if (at != 0) lines += '\n';
    lines.append(text, at, kLineLength);
  }
  return lines;
}

std::size_t decodeBase64To(std::span<const unsigned char> text, unsigned char* target) {
  const unsigned char* in = text.data();
  const unsigned char* const end = in + text.size();
  unsigned char* out = target;
  std::uint32_t bits = 0;
  int count = 0;  // characters of the group that bits holds
  while (in != end) {
    if (count == 0) decodeGroups(in, end, out);
    const std::uint8_t value = kValues[*in++];
    if (value == kOther) continue;
    bits = bits << 6 | value;
    count = (count + 1) % 4;
    if (count != 1) *out++ = static_cast<unsigned char>(bits >> (count == 0 ? 0 : 8 - 2 * count));
  }
  return static_cast<std::size_t>(out - target);
}

std::optional<Bytes> decodeBase64(std::span<const unsigned char> text) {
  Bytes bytes(sizeOf(text.size()));
  bytes.resize(decodeBase64To(text, bytes.data()));
  if (bytes.empty()) return std::nullopt;
  return bytes;
}

bool decodeBase64InPlace(const unsigned char* source, unsigned char* target, std::size_t& n) {
  std::span<const unsigned char> text(source, source != nullptr ? n : 0);
  n = target != nullptr ? strictSize(text) : 0;
  if (n == 0) return false;
  for (std::size_t written = 0; written < n;) written += decodeBase64To(nextPaddedText(text)->bytes, target + written);
  return true;
}

}  // namespace keystrand
