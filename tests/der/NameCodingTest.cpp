#include <gmock/gmock.h>

#include <memory>

#include "der/Values.h"

namespace keystrand::test {
namespace {

// --- single attributes -------------------------------------------------------------------------------------

TEST(AttributeValue, OfEachType) {
  struct Row {
    const char *name, *der, *narrow, *utf8;
    const char* written;  // null: as it was read
  };
  const Row rows[] = {
      {"PrintableString", "130441636D65", "Acme", "Acme", nullptr},
      {"UTF8String", "0C03E282AC", "\xE2\x82\xAC", "\xE2\x82\xAC", nullptr},
      {"UTF8String beyond the basic plane", "0C04F09F9880", "\xEF\x98\x80", "\xF0\x9F\x98\x80", nullptr},
      {"T61String in Latin-1", "140241E0", "A\xE0", "A\xC3\xA0", nullptr},
      {"OCTET STRING", "040141", "A", "A", nullptr},
      {"BMPString", "1E02 20AC", "\xE2\x82\xAC", "\xE2\x82\xAC", nullptr},
      {"UniversalString", "1C04000020AC", "\xE2\x82\xAC", "\xE2\x82\xAC", "1C02AC20"},
      {"a text that a NUL cuts", "1603410042", "A", "A", "160141"},
      {"empty", "1300", "", "", nullptr},
      {"BIT STRING", "0303 04 ABCF", "(null)", "#abc0", "030304ABC0"},
      {"BIT STRING of no bits", "030100", "(null)", "#", nullptr},
      {"NumericString", "120131", "(null)", "#120131", nullptr},
      {"INTEGER", "020105", "(null)", "#020105", nullptr},
      {"NULL", "0500", "(null)", "#0500", nullptr},
      {"a length in a longer form", "1281 0131", "(null)", "#12810131", nullptr},
      {"zero octets before it", "0000120131", "(null)", "#120131", "120131"},
      {"UTF8String that is none", "0C0180", "", "", "0500"},
  };
  for (const Row& row : rows) {
    const AttributeTypeAndValue attribute = commonName(row.der);
    EXPECT_EQ(taken(attribute.toNarrowText()), row.narrow) << row.name;
    EXPECT_EQ(taken(attribute.toUTF8Text()), row.utf8) << row.name;
    ByteString expected = hex("30 00 0603550403");
    const ByteString value = hex(row.written != nullptr ? row.written : row.der);
    expected.insert(expected.end(), value.begin(), value.end());
    expected[1] = static_cast<unsigned char>(5 + value.size());
    EXPECT_EQ(encode(attribute), expected) << row.name;
  }
}

TEST(AttributeValue, ThatCannotBeReadFails) {
  for (const char* der : {"", "13", "130441", "0304", "0300", "030107", "02", "0205", "1284FFFFFFFF31", "00000000"}) {
    AttributeTypeAndValue attribute;
    Holding buffer(der);
    EXPECT_FALSE(attribute.setValueFromDER(buffer)) << der;
  }
}

TEST(AttributeValue, IsSetByItsTag) {
  AttributeTypeAndValue attribute;
  attribute.setType("2.5.4.3");
  const auto valueOf = [&attribute](auto value, unsigned char tag, auto... length) {
    attribute.setValue(value, tag, length...);
    const ByteString der = encode(attribute);
    return ByteString(der.begin() + 7, der.end());
  };
  const ByteString octet = bytesOf("A");
  const char* none = nullptr;
  for (const auto& [tag, text, absent] :
       {std::tuple{19, "130141", "1300"}, {12, "0C0141", "0500"}, {30, "1E020041", "0500"}, {28, "1C024100", "0500"}}) {
    EXPECT_EQ(valueOf("A", static_cast<unsigned char>(tag)), hex(text));
    EXPECT_EQ(valueOf(none, static_cast<unsigned char>(tag)), hex(absent));
  }
  EXPECT_EQ(valueOf(u"\u20AC", 12), hex("0C03E282AC"));
  EXPECT_EQ(valueOf(u"\u20AC", 20), hex("1403E282AC"));
  EXPECT_EQ(valueOf(octet.data(), 4, 1U), hex("040141"));
  EXPECT_EQ(valueOf(octet.data(), 3, 1U), hex("03020041"));
  EXPECT_EQ(valueOf(none, 3), hex("0500"));
  EXPECT_EQ(valueOf(u"\u20AC", 30), hex("1E0220AC"));
  std::uint32_t n = 0;
  const std::unique_ptr<unsigned char[]> copy(attribute.valueCopy(n));
  EXPECT_EQ(ByteString(copy.get(), copy.get() + n), hex("20AC"));
}

// --- whole names -------------------------------------------------------------------------------------------

TEST(NameCoding, RefusesWhatDoesNotFit) {
  struct Row {
    const char *name, *der;
    bool read;
    int rdns;  // what was read stays
  };
  const Row rows[] = {
      {"an empty name", "3000", true, 0},
      {"an empty RDN", "30023100", true, 1},
      {"a good one", "300C 310A 3008 0603550403 130141", true, 1},
      {"no SEQUENCE", "310C 310A 3008 0603550403 130141", false, 0},
      {"a SEQUENCE as RDN", "300C 300A 3008 0603550403 130141", false, 0},
      {"the second RDN is bad", "300E 310A 3008 0603550403 130141 3101", false, 1},
      {"a length beyond the data", "3020 310A 3008 0603550403 130141", false, 0},
      {"a huge length", "3084FFFFFFF0 310A 3008 0603550403 130141", false, 0},
      {"an RDN beyond the data", "300C 3120 3008 0603550403 130141", false, 0},
      {"no value", "3009 3107 3005 0603550403", false, 0},
      {"no type", "3007 3105 3003 130141", false, 0},
      {"an unfinished type", "300C 310A 3008 0603550483 130141", false, 0},
      {"the indefinite form", "3080 310A 3008 0603550403 130141 0000", true, 0},
      {"zeros between", "300E 310A 3008 0603550403 130141 0000", false, 1},
  };
  for (const Row& row : rows) {
    Name name;
    EXPECT_EQ(decode(name, hex(row.der)), row.read) << row.name;
    ASSERT_NE(name.listView(), nullptr) << row.name;
    EXPECT_EQ(name.listView()->count(), row.rdns) << row.name;
  }
}

TEST(NameCoding, KeepsTheOrderOfASet) {
  const ByteString notSorted = hex("3018 3116 3009 0603550403 13025858 3009 0603550405 1302 3131");
  Name name;
  ASSERT_TRUE(decode(name, notSorted));
  EXPECT_EQ(name.text(), "CN=XX+SER=11");
  EXPECT_EQ(encode(name), notSorted);
}

TEST(NameList, IsClonedInAndOut) {
  const auto name = nameOf("C=IT,CN=X+SER=1");
  const std::unique_ptr<RelativeDistinguishedNameList> list(name->list());
  const std::unique_ptr<RelativeDistinguishedName> rdn(list->get(1));
  EXPECT_TRUE(rdn->get(2) == nullptr && list->get(-1) == nullptr);
  list->add(*rdn);
  name->setList(list.get());
  EXPECT_EQ(name->text(), "C=IT,CN=X+SER=1,CN=X+SER=1");
  RelativeDistinguishedName read;
  constexpr unsigned char kTag = 0xA1;
  EXPECT_TRUE(decode(read, encode(*rdn, kTag), kTag) && read.equals(*rdn));
}

}  // namespace
}  // namespace keystrand::test
