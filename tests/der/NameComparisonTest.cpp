#include <gmock/gmock.h>

#include "der/Values.h"

namespace keystrand::test {
namespace {

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
  struct Row {
    const char *left, *right;
    bool equal, inOrder;
  };
  for (const Row& row : {Row{"C=IT,O=A", "O=A,C=IT", true, false}, Row{"C=IT,O=A", "C=it,O=A", true, true},
                         Row{"C=IT,O=A", "C=IT,O=a", false, false}, Row{"C=IT,O=A", "C=IT", false, false},
                         Row{"CN=X+SER=1", "SER=1+CN=X", false, false}, Row{"CN=X+SER=1", "CN=X,SER=1", false, false},
                         Row{"C=IT,C=IT", "C=IT,C=FR", true, false}, Row{"C=IT,C=FR", "C=IT,C=IT", false, false}}) {
    const auto left = nameOf(row.left);
    const auto right = nameOf(row.right);
    EXPECT_EQ(left->equals(*right), row.equal) << row.left << " " << row.right;
    EXPECT_EQ(left->equalsExact(*right), row.equal) << row.left << " " << row.right;
    EXPECT_EQ(left->equalsAcrossEncodings(*right), row.equal) << row.left << " " << row.right;
    EXPECT_EQ(left->equalsInOrder(*right), row.inOrder) << row.left << " " << row.right;
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
