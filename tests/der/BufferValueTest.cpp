#include <gmock/gmock.h>
#include <openssl/asn1.h>
#include <openssl/objects.h>

#include <limits>
#include <optional>
#include <tuple>

#include "der/BufferContents.h"
#include "keystrand/der/OID.h"
#include "support/BuilderParts.h"
#include "support/Der.h"

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
  using Row = std::tuple<const char*, const char*, bool, std::uint32_t, std::uint32_t>;
  for (const auto& [name, octets, ok, length, position] :
       {Row{"short", "7F", true, 127, 1}, Row{"four octets, all of them", "84FFFFFFFF", true, 0xFFFFFFFF, 5},
        Row{"not the shortest form", "830000 05", true, 5, 4},
        Row{"the indefinite form counts as none", "80", true, 0, 1}, Row{"five octets", "850102030405", false, 0, 1},
        Row{"127 octets", "FF010203", false, 0, 1},
        Row{"cut off: guard bytes complete it", "8402", true, 0x02010101, 2}, Row{"nothing left", "", true, 1, 0}}) {
    Holding in(octets);
    std::uint32_t n = 0;
    EXPECT_EQ(in.getLength(n), ok) << name;
    if (ok) {
      EXPECT_EQ(n, length) << name;
    }
    EXPECT_EQ(in.readPosition(), position) << name;
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

ByteString integerByOpenSSL(std::int32_t value) {
  const builder::IntegerHandle integer(ASN1_INTEGER_new());
  ASN1_INTEGER_set_int64(integer.get(), value);
  return builder::encoded(integer.get(), i2d_ASN1_INTEGER);
}

ByteString identifierByOpenSSL(const char* dotted) {
  const std::unique_ptr<ASN1_OBJECT, void (*)(ASN1_OBJECT*)> object(OBJ_txt2obj(dotted, 1), ASN1_OBJECT_free);
  return builder::encoded(object.get(), i2d_ASN1_OBJECT);
}

TEST(BufferInteger, IsCodedAsOpenSSLCodesIt) {
  for (int bit = 0; bit < 32; ++bit)
    for (const std::int64_t near : {-1, 0, 1})
      for (const int sign : {-1, 1}) {
        const std::int64_t wide = sign * ((std::int64_t{1} << bit) + near);
        const auto value = static_cast<std::int32_t>(wide);
        if (value != wide) continue;
        const ByteString expected = integerByOpenSSL(value);
        EXPECT_EQ(written([&](Buffer& out) { out.putInteger(value); }), expected) << value;
        EXPECT_EQ(Buffer().sizeInteger(value), expected.size()) << value;
        std::int32_t back = 0;
        EXPECT_TRUE(Holding(expected).getInteger(back)) << value;
        EXPECT_EQ(back, value);
      }
}

TEST(BufferInteger, ReadsAndRefuses) {
  using Row = std::tuple<const char*, const char*, bool, std::int32_t, std::uint32_t>;
  for (const auto& [name, octets, ok, expected, position] :
       {Row{"padded", "02020001", true, 1, 4}, Row{"padded, negative", "0204FFFFFFFF", true, -1, 6},
        Row{"five octets are skipped", "02050102030405 020107", false, 0, 7},
        Row{"another type is skipped", "0403AABBCC 020107", false, 0, 5},
        Row{"a length near 2^32 does not lead backwards", "0284FFFFFFFF AABB", false, 0, 8},
        Row{"cut off", "0204 7F", false, 0, 2},
        // four guard bytes, as many as the reader has room for, and nothing is left to read
        Row{"no octets", "0200 0201 07", true, 0x01010101, 5}}) {
    Holding in(octets);
    std::int32_t value = 0;
    EXPECT_EQ(in.getInteger(value), ok) << name;
    EXPECT_EQ(value, expected) << name;
    EXPECT_EQ(in.readPosition(), position) << name;
  }
}

TEST(BufferByteValue, ReadsAndRefuses) {
  using Row = std::tuple<const char*, const char*, bool, unsigned char>;
  for (const auto& [name, octets, ok, expected] :
       {Row{"true", "0101FF", true, 0xFF}, Row{"any byte as it stands", "010105", true, 5},
        Row{"two octets", "01020005", false, 0}, Row{"another type", "020105", false, 0},
        Row{"without octets the next byte counts", "01002A", true, 0x2A},
        Row{"without octets at the end", "0100", true, 1}, Row{"cut off", "0101", false, 0},
        Row{"zero bytes alone", "0000", false, 0}, Row{"length of five octets", "0185", false, 0}}) {
    unsigned char value = 0;
    EXPECT_EQ(Holding(octets).getBoolean(value), ok) << name;
    EXPECT_EQ(value, expected) << name;
  }
}

TEST(BufferOID, IsCodedAsOpenSSLCodesIt) {
  for (const char* dotted : {"0.0", "1.39.5", "2.5.29.15", "1.2.840.113549.1.1.11", "2.999.3", "2.47.1", "2.48.1",
                             "1.3.6.1.4.1.311.21.8.4294967295.128.127.16383.16384"}) {
    const OID oid(dotted);
    const ByteString expected = identifierByOpenSSL(dotted);
    EXPECT_EQ(written([&](Buffer& out) { out.putOID(oid); }), expected) << dotted;
    EXPECT_EQ(Buffer().sizeOID(oid), expected.size()) << dotted;
    OID back("1.2.3.4.5.6.7.8.9.10.11.12.13.14.15.16.17.18.19.20");
    EXPECT_TRUE(Holding(expected).getOID(back)) << dotted;
    EXPECT_TRUE(back.equals(oid)) << dotted;
  }
}

TEST(BufferOID, ReadsAndRefuses) {
  using Row = std::tuple<const char*, const char*, std::optional<const char*>>;  // nothing when refused
  const auto no = std::nullopt;
  OID oid("1.2.3");
  for (const auto& [name, octets, dotted] :
       {Row{"79 belongs to arc 1", "06014F", "1.39"}, Row{"80 belongs to arc 2", "060150", "2.0"},
        Row{"no octets", "0600", "0.0"}, Row{"padding is accepted", "0603558001", "2.5.1"},
        Row{"arcs count modulo 2^32", "06065590808080 0F", "2.5.15"}, Row{"an arc without an end", "06025581", no},
        Row{"cut off", "060555", no}, Row{"another type", "040155", no},
        Row{"a length near 2^32", "0684FFFFFFFF55", no}}) {
    ASSERT_EQ(Holding(octets).getOID(oid), dotted.has_value()) << name;
    EXPECT_TRUE(!dotted || oid.equals(*dotted)) << name;
  }
  for (const auto& [arcs, overflow] : {std::pair{64U, false}, {65U, true}, {100U, true}}) {
    const ByteString bytes = ByteString{0x06, static_cast<unsigned char>(arcs - 1)} + ByteString(arcs - 1, 0x2A);
    EXPECT_TRUE(Holding(bytes).getOID(oid));
    EXPECT_EQ(oid.overflow(), overflow) << arcs;
    EXPECT_EQ(oid.equals(oid), !overflow) << arcs;
    EXPECT_EQ(oid.count(), 64) << arcs;
  }
  EXPECT_TRUE(Holding("0603551D0F").getOID(oid));
  EXPECT_TRUE(oid.equals("2.5.29.15")) << "what was read before leaves no mark";
}

TEST(BufferOID, FewerThanTwoArcsAreWrittenAsZero) {
  EXPECT_EQ(written([](Buffer& out) { out.putOID(OID()); }), hex("060100"));
  EXPECT_EQ(written([](Buffer& out) { out.putOID(OID("2"), 0x88); }), hex("880100"));
  EXPECT_EQ(Buffer().sizeOID(OID("2")), 3U);
}

}  // namespace
}  // namespace keystrand::test
