#include <gmock/gmock.h>

#include <memory>
#include <tuple>

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

struct AttributeRow {
  const char *name, *left, *right;
  bool equal, acrossEncodings, pattern;
};

TEST(AttributeComparison, LooksAtTheStringType) {
  const AttributeRow rows[] = {
      {"PrintableString without case", "130441434D45", "130461636D65", true, true, true},
      {"IA5String without case", "160141", "160161", true, true, true},
      {"letters beyond ASCII keep their case", "1602C3A0", "1602C380", false, false, false},
      {"T61String with case", "140141", "140161", false, false, false},
      {"OCTET STRING with case", "040141", "040161", false, false, false},
      {"UTF8String with case", "0C0141", "0C0161", false, false, false},
      {"another type of the same text", "130141", "0C0141", false, true, false},
      {"another type in the other case", "130141", "0C0161", false, false, false},
      {"T61String and OCTET STRING", "140141", "040141", false, true, false},
      {"T61String as it stands", "1401E0", "0C02C3A0", false, false, false},
      {"BMPString", "1E0220AC", "1E0220AC", true, true, true},
      {"BMPString and UniversalString", "1E0220AC", "1C04000020AC", false, true, false},
      {"BMPString and UTF8String", "1E020041", "0C0141", false, false, false},
      {"another length", "130141", "13024141", false, false, false},
      {"BIT STRING", "030200A0", "030200A0", true, true, true},
      {"the unused bits are not looked at", "030205A0", "030204A0", true, true, true},
      {"BIT STRING and text", "03020041", "130141", false, false, false},
      {"no bits", "030100", "030100", true, true, true},
      {"raw values are never equal", "120131", "120131", false, false, false},
      {"nor are unreadable ones", "0C0180", "0C0180", false, false, false},
      {"an unreadable one and an empty one", "0C0180", "0C00", false, false, false},
      {"a pattern", "140361 2563", "1403616263", false, false, true},
      {"a pattern without case", "1303412563", "1303616243", false, false, true},
      {"a pattern with case", "1403412563", "1403616263", false, false, false},
      {"the right side is no pattern", "1403616263", "1403612563", false, false, false},
      {"exactly one character", "14026125", "1403616263", false, false, false},
      {"a pattern of UTF8String", "0C0325 6263", "0C04E0A1 A26263", false, false, false},
      {"one character, not one byte", "0C03256263", "0C04C3A06263", false, false, true},
      {"a pattern of BMPString", "1E040041 0025", "1E040041 20AC", false, false, true},
  };
  for (const AttributeRow& row : rows) {
    const AttributeTypeAndValue left = commonName(row.left);
    const AttributeTypeAndValue right = commonName(row.right);
    EXPECT_EQ(left.equals(right), row.equal) << row.name;
    EXPECT_EQ(left.equalsAcrossEncodings(right), row.acrossEncodings) << row.name;
    EXPECT_EQ(left.equalsPattern(right), row.pattern) << row.name;
  }
  AttributeTypeAndValue other = commonName("130141");
  other.setType("2.5.4.10");
  EXPECT_FALSE(other.equals(commonName("130141")) || other.equalsAcrossEncodings(commonName("0C0141")) ||
               other.equalsPattern(commonName("130141")));
  EXPECT_FALSE(AttributeTypeAndValue().equals(AttributeTypeAndValue()));
}

// The order of the RDNs does not count, that inside an RDN does, and the search is neither one to one nor symmetric:
// callers find the names of old files by exactly this.
TEST(NameComparison, FindsEachRDNOfTheLeft) {
  using Row = std::tuple<const char*, const char*, bool, bool>;
  for (const auto& [leftText, rightText, equal, inOrder] :
       {Row{"C=IT,O=A", "O=A,C=IT", true, false}, Row{"C=IT,O=A", "C=it,O=A", true, true},
        Row{"C=IT,O=A", "C=IT,O=a", false, false}, Row{"C=IT,O=A", "C=IT", false, false},
        Row{"CN=X+SER=1", "SER=1+CN=X", false, false}, Row{"CN=X+SER=1", "CN=X,SER=1", false, false},
        Row{"C=IT,C=IT", "C=IT,C=FR", true, false}, Row{"C=IT,C=FR", "C=IT,C=IT", false, false}}) {
    const auto left = nameOf(leftText);
    const auto right = nameOf(rightText);
    EXPECT_EQ(left->equals(*right), equal) << leftText << " " << rightText;
    EXPECT_EQ(left->equalsExact(*right), equal) << leftText << " " << rightText;
    EXPECT_EQ(left->equalsAcrossEncodings(*right), equal) << leftText << " " << rightText;
    EXPECT_EQ(left->equalsInOrder(*right), inOrder) << leftText << " " << rightText;
  }
}

TEST(NameComparison, OfNamesWithoutList) {
  const Name none;
  Name empty;
  ASSERT_TRUE(decode(empty, hex("3000")));
  EXPECT_TRUE(none.equals(Name()) && none.equalsPattern(Name()) && none.equalsAcrossEncodings(Name()));
  EXPECT_TRUE(empty.equals(empty));
  EXPECT_FALSE(none.equals(empty) || empty.equals(none));
}

TEST(NameNormalised, HasTheTypesOfTheProfile) {
  struct Row {
    const char *name, *type, *value, *normalised;
  };
  const Row rows[] = {
      {"country", "2.5.4.6", "0C024954", "13024954"},
      {"serial number", "2.5.4.5", "1E020031", "130131"},
      {"dnQualifier", "2.5.4.46", "1C0400000031", "130131"},
      {"domain component", "0.9.2342.19200300.100.1.25", "140161", "160161"},
      {"e-mail", "1.2.840.113549.1.9.1", "0C0161", "160161"},
      {"T61String", "2.5.4.3", "140241E0", "0C0341C3A0"},
      {"PrintableString", "2.5.4.3", "130141", "0C0141"},
      {"BMPString", "2.5.4.3", "1E0220AC", "0C03E282AC"},
      {"UTF8String stays", "2.5.4.3", "0C04F09F9880", "0C04F09F9880"},
      {"a raw value stays", "2.5.4.6", "120131", "120131"},
      {"a BIT STRING stays", "2.5.4.45", "030200A0", "030200A0"},
  };
  for (const Row& row : rows) {
    AttributeTypeAndValue attribute, expected;
    Holding value(row.value), normalised(row.normalised);
    attribute.setType(row.type);
    expected.setType(row.type);
    ASSERT_TRUE(attribute.setValueFromDER(value) && expected.setValueFromDER(normalised)) << row.name;
    attribute.normalise();
    EXPECT_EQ(encode(attribute), encode(expected)) << row.name;
  }
  const auto printable = nameOf("C=IT,O=Acme", 19);
  printable->normalise();
  EXPECT_TRUE(printable->equals(*nameOf("C=IT,O=Acme", 12)));
}

}  // namespace
}  // namespace keystrand::test
