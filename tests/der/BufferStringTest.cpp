#include <gmock/gmock.h>
#include <openssl/asn1.h>

#include <cstring>
#include <optional>
#include <string>
#include <tuple>

#include "der/BufferContents.h"

namespace keystrand::test {
namespace {

// What a reader handed out, released: its result, and nothing for null.
using Value = std::pair<int, std::optional<ByteString>>;

const Value kRefused{0, std::nullopt};

template <class Octet>
Value taken(int result, const Octet* octets, std::uint32_t n) {
  const std::unique_ptr<const Octet[]> array(octets);
  EXPECT_TRUE(octets != nullptr || n == 0);
  if constexpr (std::is_same_v<Octet, char>) {
    EXPECT_TRUE(octets == nullptr || octets[n] == '\0');
  }
  return {result, octets != nullptr ? std::optional(ByteString(octets, octets + n)) : std::nullopt};
}

template <class Octet, unsigned char... Tag>
Value octets(Buffer& in) {
  Octet* value = nullptr;
  std::uint32_t n = 99;
  const bool read = in.getOctetString(value, n, Tag...);
  return taken(read, value, n);
}

Value text(Buffer& in) {
  char* value = nullptr;
  const bool read = in.getText(value, 0x04);
  return taken(read, value, value != nullptr ? static_cast<std::uint32_t>(std::strlen(value)) : 0);
}

Value octetsInPlace(Buffer& in) {
  unsigned char* bytes = nullptr;
  std::uint32_t n = 99;
  const bool read = in.getOctetStringRef(bytes, n, 0x04);
  return {read, bytes != nullptr ? std::optional(ByteString(bytes, bytes + n)) : std::nullopt};
}

using ReadValue = Value (*)(Buffer& in);
constexpr std::pair<const char*, ReadValue> kReaders[] = {{"octets", octets<unsigned char>},
                                                          {"octets of a tag", octets<unsigned char, 0x04>},
                                                          {"octets as text", octets<char>},
                                                          {"text", text},
                                                          {"octets in place", octetsInPlace}};

// Like-named readers for text and for bytes: a cast between them changes what is accepted.
TEST(BufferOctetString, OnlyTheReaderOfBytesTakesTheConstructedForm) {
  using Row = std::tuple<const char*, const char*, Value>;
  for (const auto& [name, encoding, value] :
       {Row{"three octets", "0403616263", {1, bytesOf("abc")}}, Row{"none", "0400", {1, ByteString()}},
        Row{"NULL stands for an absent one", "0500", {1, std::nullopt}}, Row{"another type", "0C0161", kRefused},
        Row{"one octet short", "04036162", kRefused}, Row{"a length near 2^32", "0484FFFFFFFF 6162", kRefused},
        Row{"a length of 2 GiB", "04847FFFFFFF 6162", kRefused}, Row{"nothing", "", kRefused},
        Row{"segments", "2480 040161 0402 6263 040164 0000 0500", kRefused}})
    for (const auto& [reader, read] : kReaders) {
      Holding in(encoding);
      const bool segments = in.peekByte() == 0x24 && read == octets<unsigned char>;
      EXPECT_EQ(read(in), segments ? Value(1, bytesOf("abcd")) : value) << reader << ", " << name;
      EXPECT_TRUE(!segments || in.readPosition() == 14);
    }
}

TEST(BufferOctetString, ConstructedForms) {
  using Row = std::tuple<const char*, const char*, Value, std::uint32_t>;
  for (const auto& [name, encoding, value, position] :
       {Row{"no segments", "2480 0000", {1, ByteString()}, 4},
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
    Holding in(encoding);
    EXPECT_EQ(octets<unsigned char>(in), value) << name;
    EXPECT_EQ(in.readPosition(), position) << name;
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
  using Row = std::tuple<const char*, bool, const char*>;
  for (const auto& [octets, ok, after] :
       {Row{"04024954", true, "4954"}, Row{"0403495400", true, "2020"}, Row{"040149", true, "2020"},
        Row{"0C024954", true, "2020"}, Row{"040249", false, "2020"}, Row{"0485", false, "2020"}}) {
    ByteString field = hex("2020");
    EXPECT_EQ(Holding(octets).getOctetString(std::span(field)), ok) << octets;
    EXPECT_EQ(field, hex(after)) << octets;
  }
}

TEST(BufferOctetString, AbsentValuesAreWrittenWithTheSizeAnnounced) {
  const ByteString bytes = hex("AABB");
  const char* none = nullptr;
  Buffer out;
  out.putOctetString(nullptr, 7);
  out.putOctetString(nullptr, 7, 0x80);
  out.putOctetString(none);
  out.putText(nullptr, 0x0C);
  out.putOctetString(bytes.data(), 2, 0x80);
  out.putOctetString("abc");
  EXPECT_EQ(held(out), hex("0500 0500 0500 0C00 8002AABB 0403616263"));
  EXPECT_EQ(out.sizeOctetString(nullptr, 7) + out.sizeOctetString(nullptr, 7, 0x80) + out.sizeOctetString(none) +
                out.sizeText(nullptr, 0x0C) + out.sizeOctetString(bytes.data(), 2, 0x80) + out.sizeOctetString("abc"),
            out.size());
}

// --- BIT STRING --------------------------------------------------------------------------------------------

using Bits = std::tuple<bool, std::optional<ByteString>, int>;  // the last counts the unused ones

template <unsigned char... Tag>
Bits bits(Buffer& in) {
  unsigned char* bytes = nullptr;
  std::uint32_t n = 99;
  unsigned char unused = 99;
  const bool read = in.getBitString(bytes, n, unused, Tag...);
  return {read, taken(read, bytes, n).second, unused};
}

TEST(BufferBitString, ReadsAndRefuses) {
  using Row = std::tuple<const char*, const char*, Bits, bool>;
  for (const auto& [name, octets, plain, okTagged] :
       {Row{"unused bits are cleared", "030205FF", {true, hex("E0"), 5}, true},
        Row{"eight unused bits", "030208FF", {true, hex("00"), 8}, true},
        Row{"255 unused bits", "0302FFFF", {true, hex("00"), 255}, true},
        Row{"no bits", "030100", {true, std::nullopt, 0}, true},
        Row{"no bits, one of them unused", "030101", {false, std::nullopt, 1}, true},
        Row{"no octets", "0300 FF", {false, std::nullopt, 0}, false},
        Row{"NULL", "0500", {true, std::nullopt, 0}, true},
        Row{"another type", "040200FF", {false, std::nullopt, 0}, false},
        Row{"cut off", "030300FF", {false, std::nullopt, 0}, false},
        Row{"a length near 2^32", "0384FFFFFFFF 00FF", {false, std::nullopt, 0}, false}}) {
    Holding in(octets);
    EXPECT_EQ(bits(in), plain) << name;
    in.setReadPosition(0);
    EXPECT_EQ(std::get<0>(bits<0x03>(in)), okTagged) << name;
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
  using Row = std::tuple<const char*, const char*, bool, std::uint32_t, std::uint32_t>;
  for (const auto& [name, octets, ok, length, position] :
       {Row{"around a SEQUENCE", "030300 3000", true, 2, 3}, Row{"any tag", "0402003000", true, 1, 3},
        Row{"beyond the data is not refused here", "0384FFFFFFFF 00", true, 0xFFFFFFFE, 7},
        Row{"no octets", "0300 00", false, 0, 2}, Row{"NULL", "0500", true, 0, 2},
        Row{"cut off", "0302", false, 1, 2}}) {
    Holding in(octets);
    std::uint32_t n = 99;
    unsigned char unused = 99;
    EXPECT_EQ(in.getBitStringHeader(n, unused), ok) << name;
    EXPECT_EQ(n, length) << name;
    EXPECT_EQ(unused, 0) << name;
    EXPECT_EQ(in.readPosition(), position) << name;
  }
}

}  // namespace
}  // namespace keystrand::test
