#include <gmock/gmock.h>
#include <openssl/asn1.h>

#include <cstring>
#include <optional>
#include <string>

#include "der/BufferContents.h"

namespace keystrand::test {
namespace {

// What a reader handed out, released.
struct Value {
  int result = 0;
  std::optional<ByteString> bytes;  // nothing for null
  bool operator==(const Value&) const = default;
};

void PrintTo(const Value& value, std::ostream* out) {
  *out << value.result << (value.bytes ? " " + ::testing::PrintToString(*value.bytes) : " null");
}

const Value kRefused{0, std::nullopt};

Value taken(int result, const unsigned char* bytes, std::uint32_t n) {
  const std::unique_ptr<const unsigned char[]> array(bytes);
  if (bytes == nullptr) {
    EXPECT_EQ(n, 0U);
  }
  return {result, bytes != nullptr ? std::optional(ByteString(bytes, bytes + n)) : std::nullopt};
}

Value octets(Buffer& in) {
  unsigned char* bytes = nullptr;
  std::uint32_t n = 99;
  const bool read = in.getOctetString(bytes, n);
  return taken(read, bytes, n);
}

Value octetsOfTag(Buffer& in) {
  unsigned char* bytes = nullptr;
  std::uint32_t n = 99;
  const bool read = in.getOctetString(bytes, n, 0x04);
  return taken(read, bytes, n);
}

Value octetsAsText(Buffer& in) {
  char* text = nullptr;
  std::uint32_t n = 99;
  const bool read = in.getOctetString(text, n);
  if (text != nullptr) {
    EXPECT_EQ(text[n], '\0');
  }
  return taken(read, reinterpret_cast<unsigned char*>(text), n);
}

Value text(Buffer& in) {
  char* value = nullptr;
  const bool read = in.getText(value, 0x04);
  return taken(read, reinterpret_cast<unsigned char*>(value),
               value != nullptr ? static_cast<std::uint32_t>(std::strlen(value)) : 0);
}

Value octetsInPlace(Buffer& in) {
  unsigned char* bytes = nullptr;
  std::uint32_t n = 99;
  const bool read = in.getOctetStringRef(bytes, n, 0x04);
  return {read, bytes != nullptr ? std::optional(ByteString(bytes, bytes + n)) : std::nullopt};
}

using ReadValue = Value (*)(Buffer& in);
constexpr std::pair<const char*, ReadValue> kReaders[] = {{"octets", octets},
                                                          {"octets of a tag", octetsOfTag},
                                                          {"octets as text", octetsAsText},
                                                          {"text", text},
                                                          {"octets in place", octetsInPlace}};

TEST(BufferOctetString, EveryReaderTakesThePrimitiveForm) {
  struct Row {
    const char *name, *octets;
    Value value;
  };
  const Row rows[] = {{"three octets", "0403616263", {1, bytesOf("abc")}},
                      {"none", "0400", {1, ByteString()}},
                      {"NULL stands for an absent one", "0500", {1, std::nullopt}},
                      {"another type", "0C0161", kRefused},
                      {"one octet short", "04036162", kRefused},
                      {"a length near 2^32", "0484FFFFFFFF 6162", kRefused},
                      {"a length of 2 GiB", "04847FFFFFFF 6162", kRefused},
                      {"nothing", "", kRefused}};
  for (const auto& [reader, read] : kReaders)
    for (const Row& row : rows) {
      Holding in(row.octets);
      EXPECT_EQ(read(in), row.value) << reader << ", " << row.name;
    }
}

// Like-named readers for text and for bytes: a cast between them changes what is accepted.
TEST(BufferOctetString, OnlyTheReaderOfBytesTakesTheConstructedForm) {
  const ByteString segments = hex("2480 040161 0402 6263 040164 0000 0500");
  Holding in(segments);
  EXPECT_EQ(octets(in), (Value{1, bytesOf("abcd")}));
  EXPECT_EQ(in.readPosition(), 14U);
  for (const ReadValue read : {octetsAsText, text, octetsOfTag, octetsInPlace}) {
    Holding other(segments);
    EXPECT_EQ(read(other), kRefused);
  }
}

TEST(BufferOctetString, ConstructedForms) {
  struct Row {
    const char *name, *octets;
    Value value;
    std::uint32_t position;
  };
  for (const Row& row : {Row{"no segments", "2480 0000", {1, ByteString()}, 4},
                         Row{"empty segments", "2480 0400 0400 0000", {1, ByteString()}, 8},
                         Row{"a segment of another type", "2480 0C0161 0000", kRefused, 4},
                         Row{"a segment beyond the data", "2480 0405 61 0000", kRefused, 4},
                         Row{"segments that add up to more than 2^32", "2480 040161 0484FFFFFFFF 0000", kRefused, 11},
                         Row{"no end", "2480 040161", kRefused, 5}, Row{"half an end", "2480 040161 00", kRefused, 6},
                         Row{"nested segments", "2480 2480 0401610000 0000", kRefused, 4},
                         // one segment only, in an array of the outer length; what follows stays unread
                         Row{"definite", "2406 0401AA 0401BB", {1, hex("AA0000000000")}, 5},
                         Row{"definite, the segment longer than the whole", "2402 0405 0102030405", kRefused, 4},
                         Row{"definite, the segment beyond the data", "2404 0404 0102", kRefused, 4},
                         Row{"definite, empty", "2400 0401AA", kRefused, 2},
                         Row{"definite, beyond the data", "2484FFFFFFFF 0401AA", kRefused, 6}}) {
    Holding in(row.octets);
    EXPECT_EQ(octets(in), row.value) << row.name;
    EXPECT_EQ(in.readPosition(), row.position) << row.name;
  }
}

TEST(BufferOctetString, ReferenceTellsWhetherItPointsIntoTheBuffer) {
  Holding in("0402AABB 2480 0401CC 0000 0500 0C00");
  std::uint32_t held = 0;
  unsigned char* bytes = nullptr;
  std::uint32_t n = 0;
  EXPECT_EQ(in.getOctetStringRef(bytes, n), 1);
  EXPECT_EQ(bytes, in.data(held) + 2);
  EXPECT_EQ(n, 2U);
  EXPECT_EQ(in.getOctetStringRef(bytes, n), 2);
  EXPECT_EQ(taken(2, bytes, n), (Value{2, hex("CC")}));
  EXPECT_EQ(in.getOctetStringRef(bytes, n), 1);
  EXPECT_EQ(bytes, nullptr);
  EXPECT_EQ(in.getOctetStringRef(bytes, n), 0);
}

// Records of old files are read into fixed fields this way: a field of another length is left alone, and not told.
TEST(BufferOctetString, FixedFieldTakesOnlyItsOwnLength) {
  struct Row {
    const char* octets;
    bool ok;
    const char* field;
  };
  for (const Row& row : {Row{"04024954", true, "4954"}, Row{"0403495400", true, "2020"}, Row{"0C024954", true, "2020"},
                         Row{"040249", false, "2020"}, Row{"0485", false, "2020"}}) {
    ByteString field = hex("2020");
    EXPECT_EQ(Holding(row.octets).getOctetString(std::span(field)), row.ok) << row.octets;
    EXPECT_EQ(field, hex(row.field)) << row.octets;
  }
}

TEST(BufferOctetString, AbsentValuesAreWrittenWithTheSizeAnnounced) {
  const ByteString bytes = hex("AABB");
  Buffer out;
  std::uint32_t announced = 0;
  out.putOctetString(nullptr, 7);
  announced += out.sizeOctetString(nullptr, 7);
  out.putOctetString(nullptr, 7, 0x80);
  announced += out.sizeOctetString(nullptr, 7, 0x80);
  out.putOctetString(static_cast<const char*>(nullptr));
  announced += out.sizeOctetString(static_cast<const char*>(nullptr));
  out.putText(nullptr, 0x0C);
  announced += out.sizeText(nullptr, 0x0C);
  out.putOctetString(bytes.data(), 2, 0x80);
  announced += out.sizeOctetString(bytes.data(), 2, 0x80);
  out.putOctetString("abc");
  announced += out.sizeOctetString("abc");
  EXPECT_EQ(held(out), hex("0500 0500 0500 0C00 8002AABB 0403616263"));
  EXPECT_EQ(announced, out.size());
}

// --- BIT STRING --------------------------------------------------------------------------------------------

struct Bits {
  bool ok = false;
  std::optional<ByteString> bytes;
  unsigned char unused = 0;
  bool operator==(const Bits&) const = default;
};

void PrintTo(const Bits& bits, std::ostream* out) {
  *out << bits.ok << " " << int{bits.unused} << (bits.bytes ? " " + ::testing::PrintToString(*bits.bytes) : " null");
}

Bits bits(Buffer& in, bool tagged) {
  unsigned char* bytes = nullptr;
  std::uint32_t n = 99;
  unsigned char unused = 99;
  const bool read = tagged ? in.getBitString(bytes, n, unused, 0x03) : in.getBitString(bytes, n, unused);
  return {read, taken(read, bytes, n).bytes, unused};
}

TEST(BufferBitString, ReadsAndRefuses) {
  struct Row {
    const char *name, *octets;
    Bits plain;
    bool okTagged;
  };
  for (const Row& row : {Row{"unused bits are cleared", "030205FF", {true, hex("E0"), 5}, true},
                         Row{"eight unused bits", "030208FF", {true, hex("00"), 8}, true},
                         Row{"255 unused bits", "0302FFFF", {true, hex("00"), 255}, true},
                         Row{"no bits", "030100", {true, std::nullopt, 0}, true},
                         Row{"no bits, one of them unused", "030101", {false, std::nullopt, 1}, true},
                         Row{"no octets", "0300 FF", {false, std::nullopt, 0}, false},
                         Row{"NULL", "0500", {true, std::nullopt, 0}, true},
                         Row{"another type", "040200FF", {false, std::nullopt, 0}, false},
                         Row{"cut off", "030300FF", {false, std::nullopt, 0}, false},
                         Row{"a length near 2^32", "0384FFFFFFFF 00FF", {false, std::nullopt, 0}, false}}) {
    Holding in(row.octets);
    EXPECT_EQ(bits(in, false), row.plain) << row.name;
    in.setReadPosition(0);
    EXPECT_EQ(bits(in, true).ok, row.okTagged) << row.name;
  }
}

// Without bytes only the header is written, with the length of the bits that are missing; with bytes but no bits the
// value is whole.
TEST(BufferBitString, WritesWithoutBytes) {
  const unsigned char none = 0;
  EXPECT_EQ(written([](Buffer& out) { out.putBitString(nullptr, 3, 0); }), hex("0504"));
  EXPECT_EQ(written([&](Buffer& out) { out.putBitString(&none, 0, 0); }), hex("030100"));
  EXPECT_EQ(Buffer().sizeBitString(0), 3U);
}

TEST(BufferBitString, HeaderLeavesTheBitsToTheCaller) {
  EXPECT_EQ(written([](Buffer& out) { out.putBitStringHeader(3, 0); }), hex("030400"));
  struct Row {
    const char *name, *octets;
    bool ok;
    std::uint32_t n, position;
  };
  for (const Row& row : {Row{"around a SEQUENCE", "030300 3000", true, 2, 3}, Row{"any tag", "0402003000", true, 1, 3},
                         Row{"beyond the data is not refused here", "0384FFFFFFFF 00", true, 0xFFFFFFFE, 7},
                         Row{"no octets", "0300 00", false, 0, 2}, Row{"NULL", "0500", true, 0, 2},
                         Row{"cut off", "0302", false, 1, 2}}) {
    Holding in(row.octets);
    std::uint32_t n = 99;
    unsigned char unused = 99;
    EXPECT_EQ(in.getBitStringHeader(n, unused), row.ok) << row.name;
    EXPECT_EQ(n, row.n) << row.name;
    EXPECT_EQ(unused, 0) << row.name;
    EXPECT_EQ(in.readPosition(), row.position) << row.name;
  }
}

}  // namespace
}  // namespace keystrand::test
