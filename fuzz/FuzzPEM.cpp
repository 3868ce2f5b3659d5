// Base64 and PEM armour: both decoders against plain models of them, and the way there and back.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "Property.h"
#include "keystrand/der/Buffer.h"
#include "support/Base64.h"

namespace {

using keystrand::Buffer;
using keystrand::Bytes;
using keystrand::fuzz::require;
using Input = std::span<const unsigned char>;

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

Bytes contents(const Buffer& buffer) {
  const auto held = buffer.range(0, buffer.size());
  return {held.begin(), held.end()};
}

// The six bits of every character of the alphabet, gathered to bytes.
Bytes lenientModel(Input text) {
  Bytes bytes;
  unsigned bits = 0;
  int held = 0;
  for (const unsigned char c : text) {
    const std::size_t value = kAlphabet.find(static_cast<char>(c));
    if (value == std::string_view::npos) continue;
    bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFF;
    held += 6;
    if (held >= 8) bytes.push_back(static_cast<unsigned char>(bits >> (held -= 8)));
  }
  return bytes;
}

// The strict decoder one character at a time; empty when it refuses.
Bytes strictModel(Input text) {
  Bytes bytes;
  unsigned bits = 0;
  int held = 0;
  std::size_t places = 0;
  std::size_t characters = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::size_t value = kAlphabet.find(static_cast<char>(text[i]));
    if (text[i] == '=') {
      if (places < 2) return {};
      if (++places % 4 == 3 && (i + 1 == text.size() || text[i + 1] != '=')) return {};
      if (places % 4 != 0) continue;
      places = 0;
      held = 0;
    } else if (value != std::string_view::npos) {
      bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFF;
      held += 6;
      if (held >= 8) bytes.push_back(static_cast<unsigned char>(bits >> (held -= 8)));
      ++places;
      ++characters;
    }
  }
  return places % 4 == 0 && bytes.size() == characters * 3 / 4 ? bytes : Bytes();
}

void decodersAreTheirModels(Input text) {
  const std::optional<Bytes> lenient = keystrand::decodeBase64(text);
  require(lenient.value_or(Bytes()) == lenientModel(text), "the lenient decoder is its model");
  require(!lenient || !lenient->empty(), "nothing decoded is no value");

  Bytes inPlace(text.begin(), text.end());
  inPlace.push_back(0);
  std::size_t n = text.size();
  const bool decoded = keystrand::decodeBase64InPlace(inPlace.data(), inPlace.data(), n);
  const Bytes model = strictModel(text);
  require(decoded == !model.empty() && n == model.size(), "the strict decoder accepts what its model accepts");
  inPlace.resize(n);
  require(inPlace == model, "the strict decoder is its model");
}

void encodedTextComesBack(Input bytes) {
  if (bytes.empty()) return;
  const Bytes original(bytes.begin(), bytes.end());
  for (const std::string& text : {keystrand::encodeBase64(bytes), keystrand::encodeBase64Lines(bytes)}) {
    Bytes back(text.begin(), text.end());
    require(keystrand::decodeBase64(back) == original, "the lenient decoder takes what was encoded");
    std::size_t n = back.size();
    require(keystrand::decodeBase64InPlace(back.data(), back.data(), n), "the strict decoder takes what was encoded");
    back.resize(n);
    require(back == original, "and gives the same bytes");
  }
}

void memoryRoute(Input input) {
  Buffer plain;
  plain.assign(input.data(), static_cast<std::uint32_t>(input.size()));
  Buffer used(4096);
  used.assign(Bytes(4000, 'Q').data(), 4000);
  used.assign(input.data(), static_cast<std::uint32_t>(input.size()));
  char label[8] = "unset";
  const bool decoded = plain.fromPEM(label, sizeof label);
  require(std::memchr(label, 0, sizeof label) != nullptr, "a label ends within its array");
  require(used.fromPEM(label, sizeof label) == decoded && contents(used) == contents(plain),
          "what lies behind the text does not matter");
  if (decoded)
    require(plain.size() != 0 && plain.size() <= input.size() / 4 * 3 + 2, "the bytes come from the text");
  else
    require(plain.size() == 0 || contents(plain) == Bytes(input.begin(), input.end()),
            "refused and untouched, or empty");
}

// One file in memory for all runs.
int fileHolding(Input input) {
  static const int file = memfd_create("pem", 0);
  require(ftruncate(file, 0) == 0 && lseek(file, 0, SEEK_SET) == 0, "the file is emptied");
  require(write(file, input.data(), input.size()) == static_cast<ssize_t>(input.size()), "the file is filled");
  require(lseek(file, 0, SEEK_SET) == 0, "the file is rewound");
  return file;
}

void streamRoute(Input input) {
  const int file = fileHolding(input);
  Buffer block;
  char label[8];
  off_t position = 0;
  while (block.readPEMStream(file, label, sizeof label)) {
    const off_t now = lseek(file, 0, SEEK_CUR);
    require(now > position && now <= static_cast<off_t>(input.size()), "every block moves the file on, within it");
    require(block.size() != 0 && block.size() <= static_cast<std::uint64_t>(now - position), "and comes from its text");
    position = now;
  }
}

void armourComesBack(Input input) {
  if (input.empty()) return;
  Buffer out;
  out.assign(input.data(), static_cast<std::uint32_t>(input.size()));
  const int file = fileHolding({});
  require(out.writePEM(file, "ANY DATA") && lseek(file, 0, SEEK_SET) == 0, "the armour is written");
  Buffer in;
  char label[16];
  require(in.readPEMStream(file, label, sizeof label) && contents(in) == contents(out), "and read back as a stream");
  require(std::strcmp(label, "ANY DATA") == 0, "with its label");
  require(lseek(file, 0, SEEK_SET) == 0 && in.readPEM(file, label, sizeof label) && contents(in) == contents(out),
          "and read back as a whole");
  require(std::strcmp(label, "NY DATA") == 0, "with its label but for the first letter");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Input input(data, size);
  decodersAreTheirModels(input);
  encodedTextComesBack(input);
  memoryRoute(input);
  streamRoute(input);
  armourComesBack(input);
  return 0;
}
