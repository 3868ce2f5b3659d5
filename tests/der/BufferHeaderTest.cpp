#include <gmock/gmock.h>
#include <openssl/asn1.h>

#include <optional>
#include <tuple>

#include "der/BufferContents.h"

namespace keystrand::test {
namespace {

ByteString headerByOpenSSL(int n) {
  unsigned char bytes[16];
  unsigned char* end = bytes;
  ASN1_put_object(&end, 1, n, V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL);
  return {bytes, end};
}

TEST(BufferHeader, LengthsAreWrittenInTheShortestForm) {
  for (const int n : {0, 1, 127, 128, 255, 256, 65535, 65536, 0xFFFFFF, 0x1000000, 0x7FFFFFFF}) {
    const auto length = static_cast<std::uint32_t>(n);
    const ByteString expected = headerByOpenSSL(n);
    EXPECT_EQ(written([&](Buffer& out) { out.putSequence(length); }), expected) << n;
    EXPECT_EQ(Buffer().sizeHeader(0x30, length), expected.size()) << n;
    EXPECT_EQ(Buffer().sizeLength(length), expected.size() - 1) << n;
    Holding in(expected);
    std::uint32_t read = 0;
    EXPECT_TRUE(in.getSequence(read)) << n;
    EXPECT_EQ(read, length);
    EXPECT_TRUE(in.atEnd()) << n;
  }
  EXPECT_EQ(written([](Buffer& out) { out.putLength(0xFFFFFFFF); }), hex("84FFFFFFFF"));
}

TEST(BufferHeader, ReadsLengths) {
  struct Row {
    const char *name, *octets;
    bool ok;
    std::uint32_t n, position;
  };
  for (const Row& row :
       {Row{"short", "7F", true, 127, 1}, Row{"four octets, all of them", "84FFFFFFFF", true, 0xFFFFFFFF, 5},
        Row{"not the shortest form", "830000 05", true, 5, 4},
        Row{"the indefinite form counts as none", "80", true, 0, 1}, Row{"five octets", "850102030405", false, 0, 1},
        Row{"127 octets", "FF010203", false, 0, 1},
        Row{"cut off: guard bytes complete it", "8402", true, 0x02010101, 2}, Row{"nothing left", "", true, 1, 0}}) {
    Holding in(row.octets);
    std::uint32_t n = 0;
    EXPECT_EQ(in.getLength(n), row.ok) << row.name;
    if (row.ok) {
      EXPECT_EQ(n, row.n) << row.name;
    }
    EXPECT_EQ(in.readPosition(), row.position) << row.name;
  }
}

TEST(BufferHeader, ReadsHeadersAndPeeksAtThem) {
  using Header = std::tuple<unsigned char, std::uint32_t, bool>;  // tag, length, definite
  using Row = std::tuple<const char*, const char*, std::optional<Header>, std::uint32_t>;
  for (const auto& [name, octets, header, position] :
       {Row{"plain", "0205", Header{0x02, 5, true}, 2},
        Row{"beyond the data is not refused here", "0484FFFFFFFF", Header{0x04, 0xFFFFFFFF, true}, 6},
        Row{"indefinite", "3080", Header{0x30, 0, false}, 2},
        Row{"zero bytes are passed over", "0000 00 3003", Header{0x30, 3, true}, 5},
        Row{"zero bytes up to the limit", "000000", std::nullopt, 3},
        Row{"at the limit the guard is read", "", Header{1, 1, true}, 0},
        Row{"tag alone", "30", Header{0x30, 1, true}, 1}, Row{"length of five octets", "3085", std::nullopt, 2}}) {
    Holding in(octets);
    for (const bool peek : {true, false}) {
      unsigned char tag = 0;
      std::uint32_t n = 0;
      bool definite = true;
      ASSERT_EQ(peek ? in.peekHeader(tag, n, definite) : in.getHeader(tag, n, definite), header.has_value()) << name;
      EXPECT_EQ(in.readPosition(), peek ? 0 : position) << name;
      EXPECT_EQ(Header(tag, n, definite), header.value_or(Header(tag, n, definite))) << name;
    }
  }
}

TEST(BufferHeader, ConstructedTypesWantTheirTag) {
  std::uint32_t n = 0;
  bool definite = true;
  EXPECT_FALSE(Holding("3100").getSequence(n, definite) || Holding("3180").getSequenceIndefinite());
  EXPECT_FALSE(Holding("3000").getSet(n) || Holding("3000").getSet(n, definite));
  EXPECT_FALSE(Holding("3003").getSequenceIndefinite());
  EXPECT_TRUE(Holding("3080").getSequence(n, definite));
  EXPECT_FALSE(definite);
}

TEST(BufferHeader, IndefiniteFormAndItsEnd) {
  Buffer in;
  in.putSequenceIndefinite();
  in.putIndefiniteHeader(0xA0);
  in.putEndOfContents();
  EXPECT_EQ(held(in), hex("3080 A080 0000"));
  unsigned char tag = 0;
  EXPECT_TRUE(in.getSequenceIndefinite() && in.peekIndefiniteHeader(tag) && in.getIndefiniteHeader(tag));
  EXPECT_EQ(tag, 0xA0);
  EXPECT_TRUE(in.getEndOfContents());
  for (const auto& [octets, position] : {std::pair{"0001", 2U}, {"0100", 1U}, {"00", 1U}, {"", 0U}}) {
    Holding ended(octets);
    EXPECT_FALSE(ended.getEndOfContents()) << octets;
    EXPECT_EQ(ended.readPosition(), position) << octets;
  }
}

TEST(BufferHeader, WideTagsTakeAsFewBytesAsHoldThem) {
  const ByteString content = hex("AABB");
  for (const auto& [wide, octets] : {std::pair{0x5FU, "5F02AABB"},
                                     {0x5F20U, "5F2002AABB"},
                                     {0x5F8120U, "5F812002AABB"},
                                     {0x7F818120U, "7F81812002AABB"}}) {
    Buffer out;
    out.putWide(wide, 2, content.data());
    EXPECT_EQ(held(out), hex(octets));
    EXPECT_EQ(out.sizeWide(wide, 2), out.size());
    EXPECT_EQ(out.sizeWideHeader(wide, 2) + 2, out.size());
  }
  EXPECT_EQ(written([](Buffer& out) { out.putWide(0x7F49, 200, nullptr); }), hex("7F4981C8")) << "header alone";
}

}  // namespace
}  // namespace keystrand::test
