#include <gmock/gmock.h>
#include <openssl/asn1.h>

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

struct HeaderRow {
  const char *name, *octets;
  bool ok;
  unsigned char tag;
  std::uint32_t n;
  bool definite;
  std::uint32_t position;
};

constexpr HeaderRow kHeaders[] = {
    {"plain", "0205", true, 0x02, 5, true, 2},
    {"beyond the data is not refused here", "0484FFFFFFFF", true, 0x04, 0xFFFFFFFF, true, 6},
    {"indefinite", "3080", true, 0x30, 0, false, 2},
    {"zero bytes are passed over", "0000 00 3003", true, 0x30, 3, true, 5},
    {"zero bytes up to the limit", "000000", false, 0, 0, true, 3},
    {"at the limit the guard is read", "", true, 1, 1, true, 0},
    {"tag alone", "30", true, 0x30, 1, true, 1},
    {"length of five octets", "3085", false, 0x30, 0, true, 2},
};

TEST(BufferHeader, ReadsHeadersAndPeeksAtThem) {
  for (const HeaderRow& row : kHeaders) {
    Holding in(row.octets);
    for (const bool peek : {true, false}) {
      unsigned char tag = 0;
      std::uint32_t n = 0;
      bool definite = true;
      EXPECT_EQ(peek ? in.peekHeader(tag, n, definite) : in.getHeader(tag, n, definite), row.ok) << row.name;
      EXPECT_EQ(in.readPosition(), peek ? 0 : row.position) << row.name;
      if (row.ok) {
        EXPECT_EQ(std::tie(tag, n, definite), std::tie(row.tag, row.n, row.definite)) << row.name;
      }
    }
  }
}

TEST(BufferHeader, ConstructedTypesWantTheirTag) {
  std::uint32_t n = 0;
  bool definite = true;
  EXPECT_FALSE(Holding("3100").getSequence(n, definite) || Holding("3180").getSequenceIndefinite());
  EXPECT_FALSE(Holding("3000").getSet(n) || Holding("3000").getSet(n, definite));
  EXPECT_TRUE(Holding("3080").getSequence(n, definite));
  EXPECT_FALSE(definite);
}

TEST(BufferHeader, IndefiniteFormAndItsEnd) {
  EXPECT_EQ(written([](Buffer& out) {
              out.putSequenceIndefinite();
              out.putIndefiniteHeader(0xA0);
              out.putEndOfContents();
            }),
            hex("3080 A080 0000"));
  Holding in("3080 A080 0000");
  unsigned char tag = 0;
  EXPECT_TRUE(in.getSequenceIndefinite());
  EXPECT_TRUE(in.peekIndefiniteHeader(tag));
  EXPECT_TRUE(in.getIndefiniteHeader(tag));
  EXPECT_EQ(tag, 0xA0);
  EXPECT_TRUE(in.getEndOfContents());
  EXPECT_FALSE(Holding("3003").getSequenceIndefinite());

  struct Row {
    const char* octets;
    bool ok;
    std::uint32_t position;
  };
  for (const Row& row : {Row{"0001", false, 2}, Row{"0100", false, 1}, Row{"00", false, 1}, Row{"", false, 0}}) {
    Holding ended(row.octets);
    EXPECT_EQ(ended.getEndOfContents(), row.ok) << row.octets;
    EXPECT_EQ(ended.readPosition(), row.position) << row.octets;
  }
}

TEST(BufferHeader, WideTagsTakeAsFewBytesAsHoldThem) {
  const ByteString content = hex("AABB");
  struct Row {
    std::uint32_t tag;
    const char* octets;
  };
  for (const Row& row : {Row{0x5F, "5F02AABB"}, Row{0x5F20, "5F2002AABB"}, Row{0x5F8120, "5F812002AABB"},
                         Row{0x7F818120, "7F81812002AABB"}}) {
    EXPECT_EQ(written([&](Buffer& out) { out.putWide(row.tag, 2, content.data()); }), hex(row.octets));
    EXPECT_EQ(Buffer().sizeWide(row.tag, 2), hex(row.octets).size());
    EXPECT_EQ(Buffer().sizeWideHeader(row.tag, 2) + 2, Buffer().sizeWide(row.tag, 2));
  }
  EXPECT_EQ(written([](Buffer& out) { out.putWide(0x7F49, 200, nullptr); }), hex("7F4981C8")) << "header alone";
}

}  // namespace
}  // namespace keystrand::test
