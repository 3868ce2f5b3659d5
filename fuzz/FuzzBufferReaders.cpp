// The readers of Buffer, in an order that the input chooses: its first byte counts the readers, each following byte
// picks one, the rest is what they read.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Property.h"
#include "keystrand/der/Buffer.h"
#include "keystrand/der/OID.h"

namespace {

using keystrand::Buffer;
using keystrand::OID;
using keystrand::fuzz::require;
using Input = std::span<const unsigned char>;
using Bytes = std::vector<unsigned char>;

// What a reader answered: its result, and the value in whatever form.
struct Answer {
  int result = 0;
  bool absent = false;
  std::uint32_t number = 0;
  unsigned char octet = 0;
  Bytes bytes;
  bool operator==(const Answer&) const = default;
};

std::uint32_t sizeOf(const Bytes& bytes) {
  return static_cast<std::uint32_t>(bytes.size());
}

// Takes over an array that a reader made; it may be no longer than what there was to read.
void adopt(Answer& answer, unsigned char* bytes, std::uint32_t n) {
  const std::unique_ptr<unsigned char[]> array(bytes);
  answer.absent = bytes == nullptr;
  answer.number = n;
  if (bytes != nullptr) answer.bytes.assign(bytes, bytes + n);
}

Bytes contents(const Buffer& buffer) {
  const auto held = buffer.range(0, buffer.size());
  return {held.begin(), held.end()};
}

// A value is written with the size announced and read back as it was.
template <class Put, class Get>
void comesBack(const Answer& answer, std::uint32_t announced, Put put, Get get) {
  Buffer copy;
  put(copy);
  require(copy.size() == announced, "size tells what put writes");
  Buffer back;
  const Bytes written = contents(copy);
  back.assign(written.data(), sizeOf(written));
  require(get(back) == answer, "what was read is read back");
  require(back.atEnd(), "and nothing else");
}

// --- the readers

Answer header(Buffer& in) {
  Answer answer;
  answer.result = in.getHeader(answer.octet, answer.number);
  return answer;
}

Answer headerWithForm(Buffer& in) {
  Answer answer;
  bool definite = true;
  answer.result = in.getHeader(answer.octet, answer.number, definite);
  answer.absent = definite;
  return answer;
}

Answer peekedHeader(Buffer& in) {
  const std::uint32_t position = in.readPosition();
  Answer peeked;
  bool definite = true;
  peeked.result = in.peekHeader(peeked.octet, peeked.number, definite);
  peeked.absent = definite;
  require(in.readPosition() == position, "peeking moves nothing");
  require(headerWithForm(in) == peeked, "peeking tells what reading tells");
  return peeked;
}

Answer sequence(Buffer& in) {
  Answer answer;
  answer.result = in.getSequence(answer.number);
  return answer;
}

Answer endOfContents(Buffer& in) {
  Answer answer;
  answer.result = in.getEndOfContents();
  return answer;
}

Answer byte(Buffer& in) {
  Answer answer;
  answer.octet = in.getByte();
  return answer;
}

Answer bytes(Buffer& in) {
  Answer answer;
  const std::uint32_t position = in.readPosition();
  const std::unique_ptr<unsigned char[]> array(in.getBytes(7));
  answer.bytes.assign(array.get(), array.get() + (in.readPosition() - position));
  return answer;
}

Answer integer(Buffer& in) {
  Answer answer;
  std::int32_t value = 0;
  answer.result = in.getInteger(value);
  answer.number = static_cast<std::uint32_t>(value);
  return answer;
}

Answer byteValue(Buffer& in) {
  Answer answer;
  answer.result = in.getBoolean(answer.octet);
  return answer;
}

Answer identifier(Buffer& in) {
  Answer answer;
  OID oid;
  answer.result = in.getOID(oid);
  answer.absent = oid.overflow();
  for (const std::uint32_t arc : oid.arcs())
    for (int shift = 24; shift >= 0; shift -= 8) answer.bytes.push_back(static_cast<unsigned char>(arc >> shift));
  answer.number = static_cast<std::uint32_t>(oid.count());
  require(answer.result != 0 || oid.count() == 0, "an identifier that was refused stays empty");
  return answer;
}

Answer text(Buffer& in) {
  Answer answer;
  char* value = nullptr;
  answer.result = in.getText(value, 12);
  const std::unique_ptr<char[]> array(value);
  answer.absent = value == nullptr;
  if (value != nullptr) answer.bytes.assign(value, value + std::strlen(value));
  return answer;
}

Answer octetsAsText(Buffer& in) {
  Answer answer;
  char* value = nullptr;
  answer.result = in.getOctetString(value, answer.number);
  const std::unique_ptr<char[]> array(value);
  answer.absent = value == nullptr;
  if (value != nullptr) require(value[answer.number] == '\0', "text ends with a NUL");
  if (value != nullptr) answer.bytes.assign(value, value + answer.number);
  return answer;
}

Answer octets(Buffer& in) {
  Answer answer;
  unsigned char* value = nullptr;
  std::uint32_t n = 0;
  answer.result = in.getOctetString(value, n);
  adopt(answer, value, n);
  require(answer.result != 0 || (answer.absent && n == 0), "a failed reader hands out nothing");
  return answer;
}

Answer octetsInPlace(Buffer& in) {
  Answer answer;
  unsigned char* value = nullptr;
  std::uint32_t n = 0;
  answer.result = in.getOctetStringRef(value, n);
  if (answer.result == 2) {
    adopt(answer, value, n);
  } else {
    answer.absent = value == nullptr;
    answer.number = n;
    if (value != nullptr) answer.bytes.assign(value, value + n);
  }
  return answer;
}

Answer fixedOctets(Buffer& in) {
  Answer answer;
  unsigned char dest[2] = {};
  answer.result = in.getOctetString(std::span<unsigned char>(dest));
  answer.bytes.assign(dest, dest + sizeof dest);
  return answer;
}

Answer bits(Buffer& in) {
  Answer answer;
  unsigned char* value = nullptr;
  std::uint32_t n = 0;
  answer.result = in.getBitString(value, n, answer.octet);
  adopt(answer, value, n);
  return answer;
}

// --- and what must hold of their answers

void integerComesBack(const Answer& answer) {
  const auto value = static_cast<std::int32_t>(answer.number);
  comesBack(
      answer, Buffer().sizeInteger(value), [&](Buffer& out) { out.putInteger(value); }, integer);
}

void identifierComesBack(const Answer& answer) {
  if (answer.absent || answer.number < 2) return;  // an overflowed one equals nothing
  OID oid;
  for (std::uint32_t i = 0; i < answer.number; ++i) {
    std::uint32_t arc = 0;
    for (std::uint32_t b = 0; b < 4; ++b) arc = arc << 8 | answer.bytes[4 * i + b];
    oid.setArc(static_cast<int>(i), arc);
  }
  oid.setCount(static_cast<int>(answer.number));
  comesBack(
      answer, Buffer().sizeOID(oid), [&](Buffer& out) { out.putOID(oid); }, identifier);
}

void octetsComeBack(const Answer& answer) {
  const unsigned char* value = answer.absent ? nullptr : answer.bytes.data();
  if (!answer.absent && value == nullptr) return;  // no octets at all: a vector has no address for them
  comesBack(
      answer, Buffer().sizeOctetString(value, answer.number),
      [&](Buffer& out) { out.putOctetString(value, answer.number); }, octets);
}

void bitsComeBack(const Answer& answer) {
  if (answer.absent) return;  // written with putNull()
  comesBack(
      answer, Buffer().sizeBitString(answer.number),
      [&](Buffer& out) { out.putBitString(answer.bytes.data(), answer.number, answer.octet); }, bits);
}

void textComesBack(const Answer& answer) {
  if (answer.absent) return;  // written as an empty text, not as NULL
  const std::string value(answer.bytes.begin(), answer.bytes.end());
  comesBack(
      answer, Buffer().sizeText(value.c_str(), 12), [&](Buffer& out) { out.putText(value.c_str(), 12); }, text);
}

struct Reader {
  Answer (*read)(Buffer& in);
  bool ofValue;  // bounded by size(), so that nothing behind it matters
  void (*property)(const Answer& answer) = nullptr;
};

constexpr Reader kReaders[] = {
    {integer, true, integerComesBack},
    {identifier, true, identifierComesBack},
    {octets, true, octetsComeBack},
    {bits, true, bitsComeBack},
    {text, true, textComesBack},
    {octetsInPlace, true},
    {octetsAsText, true},
    {fixedOctets, false},  // true where a header can be read
    {byteValue, true},
    {header, false},
    {headerWithForm, false},
    {peekedHeader, false},
    {sequence, false},
    {endOfContents, false},
    {byte, false},
    {bytes, false},
};

// The same content at the end of its block, and in a larger one that held something else before.
class Twins {
 public:
  explicit Twins(Input content) : used_(static_cast<std::uint32_t>(content.size()) + 300) {
    const Bytes other(content.size() + 300, 0x04);
    used_.assign(other.data(), sizeOf(other));
    used_.assign(content.data(), static_cast<std::uint32_t>(content.size()));
    exact_.assign(content.data(), static_cast<std::uint32_t>(content.size()));
  }

  // False behind the content, where the twins may go apart.
  bool read(const Reader& reader) {
    const Answer answer = reader.read(exact_);
    const Answer other = reader.read(used_);
    require(exact_.readPosition() <= exact_.limit(), "the cursor stays within the block");
    const bool within = used_.readPosition() <= used_.size();
    require(!(within || reader.ofValue) || answer == other, "what lies behind the content changes no answer");
    require(answer.bytes.size() <= exact_.size() + std::size_t{256}, "no value is longer than the content");
    if (answer.result != 0 && reader.property != nullptr) reader.property(answer);
    return within && exact_.remaining() != 0;
  }

 private:
  Buffer exact_;
  Buffer used_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Input input(data, size);
  if (input.empty()) return 0;
  const std::size_t count = std::min<std::size_t>(input[0] % 32, size - 1);
  Twins twins(input.subspan(1 + count));
  for (const unsigned char pick : input.subspan(1, count))
    if (!twins.read(kReaders[pick % std::size(kReaders)])) break;
  return 0;
}
