#include <gmock/gmock.h>
#include <openssl/asn1.h>

#include <string>
#include <tuple>

#include "der/UTF8Text.h"
#include "der/Values.h"
#include "keystrand/der/Strings.h"

namespace keystrand::test {
namespace {

using namespace std::string_literals;

TEST(UTF8Units, AreSixteenBitsOfEachSequence) {
  struct Row {
    std::string text;
    std::u16string units;
    std::string narrow;  // the units as UTF-8 again
  };
  const Row rows[] = {
      {"", u"", ""},
      {"Acme", u"Acme", "Acme"},
      {"Societ\xC3\xA0 \xE2\x82\xAC", u"Societ\u00E0 \u20AC", "Societ\xC3\xA0 \xE2\x82\xAC"},
      {"\xF0\x9F\x98\x80!", u"\uF600!", "\xEF\x98\x80!"},  // beyond the basic plane: the low 16 bits
      {"\xED\xA0\xBD\xED\xB8\x80", u"\xD83D\xDE00", "\xED\xA0\xBD\xED\xB8\x80"},  // surrogates one by one
      {"\xC3(", u"\u00E8", "\xC3\xA8"},     // what follows a lead byte is not tested
      {"\xC1\x81", u"A", "A"},              // longer than needed
      {"\xF8\x80\x80\x81\x81", u"A", "A"},  // five and six bytes
      {"\xFC\x80\x80\x80\x81\x81", u"A", "A"},
      {"A\xC0\x80"
       "B",
       u"A", "A"},  // a unit of 0 ends the wide form
      {"A\0B"s, u"A", "A"},
  };
  for (const Row& row : rows) {
    const UTF8 value(row.text);
    EXPECT_EQ(value.wide(), row.units) << row.text;
    EXPECT_EQ(value.wideLength(), row.units.size()) << row.text;
    EXPECT_EQ(taken(value.toNarrow()), row.narrow) << row.text;
    EXPECT_EQ(value.text(), row.text.c_str()) << row.text;  // the text itself stays
    EXPECT_TRUE(value.equals(UTF8(row.units))) << row.text;
    EXPECT_EQ(UTF8(row.units).text(), row.narrow) << row.text;
  }
}

// A text that cannot be converted is no empty one: if it were, two unreadable names would be equal.
TEST(UTF8Failure, LeavesAnAbsentValue) {
  for (const std::string text :
       {"\x80", "A\xBF", "\xFE\x80\x80\x80\x80\x80\x80", "\xFF", "A\xC3", "\xE2\x82", "\xC3\0A"}) {
    ByteString der{12, static_cast<unsigned char>(text.size())};
    der.insert(der.end(), text.begin(), text.end());
    UTF8 value;
    EXPECT_FALSE(decode(value, der)) << text;
    EXPECT_TRUE(value.isAbsent());
    EXPECT_EQ(value.toText(), nullptr);
    EXPECT_EQ(value.toWide(), nullptr);
    EXPECT_EQ(encode(value), hex("0500"));
    EXPECT_FALSE(value.equals(value) || value.equalsPattern(value) || value.lessOrEqual(value) ||
                 value.equals(UTF8("")));
    EXPECT_TRUE(value.notEquals(value));
  }
}

TEST(WideCoding, OfEachType) {
  using Row = std::tuple<const char*, unsigned char, const char*, bool, std::optional<std::u16string>, const char*>;
  const Row rows[] = {
      {"UTF8String", 12, "0C03E282AC", true, u"\u20AC", "0C03E282AC"},
      {"longer than needed is written as read", 12, "0C02C181", true, u"A", "0C02C181"},
      {"empty", 12, "0C00", true, u"", "0C00"},
      {"NULL", 12, "0500", true, std::nullopt, "0500"},
      {"BMPString", 30, "1E0400412 0AC", true, u"A\u20AC", "1E04004120AC"},
      {"the last of an odd number is lost", 30, "1E03004120", true, u"A", "1E020041"},
      {"a NUL ends it", 30, "1E06004100000042", true, u"A", "1E020041"},
      {"empty", 30, "1E00", true, u"", "1E00"},
      {"NULL", 30, "0500", true, std::nullopt, "0500"},
      // reads four bytes a character and writes two, low byte first: what is re-encoded was made here
      {"UniversalString", 28, "1C0800000041000020AC", true, u"A\u20AC", "1C044100AC20"},
      {"only the low 16 bits count", 28, "1C040001F600", true, u"\uF600", "1C0200F6"},
      {"a rest of three is dropped", 28, "1C0700000041000020", true, u"A", "1C024100"},
      {"NULL", 28, "0500", true, std::nullopt, "0500"},
      {"another tag", 30, "0C0141", false, std::nullopt, "0500"},
      {"a length beyond the data", 30, "1E040041", false, std::nullopt, "0500"},
      {"a huge length", 12, "0C84FFFFFFFF41", false, std::nullopt, "0500"},
  };
  for (const auto& [name, tag, der, read, units, written] : rows) {
    UTF8 utf8;
    Unicode unicode;
    ISO10646 universal;
    ISO10646& value = tag == 12 ? utf8 : tag == 30 ? unicode : universal;
    EXPECT_EQ(decode(value, hex(der)), read) << name;
    EXPECT_EQ(value.wide(), units) << name;
    EXPECT_EQ(encode(value), hex(written)) << name;
  }
}

TEST(WideComparison, GoesByUnits) {
  using Row = std::tuple<const char16_t*, const char16_t*, bool, bool, bool>;
  for (const auto& [leftText, rightText, equal, less, pattern] :
       {Row{u"abc", u"abc", true, false, true}, Row{u"abc", u"abd", false, true, false},
        Row{u"ab", u"abc", false, true, false}, Row{u"a%c", u"abc", false, true, true},
        Row{u"a%", u"abc", false, true, false}, Row{u"abc", u"a%c", false, false, false},
        Row{u"%", u"", false, false, false}, Row{u"", u"", true, false, true},
        Row{u"\uFFFD", u"a", false, false, false}, Row{u"A", u"a", false, true, false}}) {
    const Unicode left(leftText);
    for (const ISO10646& right : {ISO10646(Unicode(rightText)), ISO10646(UTF8(rightText))}) {
      EXPECT_EQ(left.equals(right), equal);
      EXPECT_EQ(left.less(right), less);
      EXPECT_EQ(left.greaterOrEqual(right), !less);
      EXPECT_EQ(right.greater(left), less);
      EXPECT_EQ(left.equalsPattern(right), pattern);
    }
  }
  EXPECT_TRUE(UTF8("\xF0\x9F\x98\x80").equals(UTF8("\xEF\x98\x80")));  // the same low 16 bits
}

TEST(WideConstruction, WidensBytesAndReadsBigEndian) {
  EXPECT_EQ(Unicode("a\xE0").wide(), u"a\u00E0");
  const ByteString bytes = hex("00412 0AC 42");
  const Unicode value(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  EXPECT_EQ(value.wide(), u"A\u20AC");
  std::uint32_t n = 0;
  const std::unique_ptr<unsigned char[]> bigEndian(value.toBigEndian(n));
  EXPECT_EQ(ByteString(bigEndian.get(), bigEndian.get() + n), hex("004120AC"));
  EXPECT_EQ(Unicode().toBigEndian(n), nullptr);
  const std::unique_ptr<char16_t[]> wide(value.toWide());
  EXPECT_EQ(std::u16string(wide.get()), u"A\u20AC");
}

TEST(UTF8FromUTF16, FollowsTheByteOrderMark) {
  using Row = std::tuple<const char*, const char*, bool, std::optional<std::string>>;
  const Row rows[] = {
      {"big-endian", "FEFF 0041 20AC", true, "A\xE2\x82\xAC"},
      {"little-endian", "FFFE 4100 AC20", true, "A\xE2\x82\xAC"},
      {"no mark: two bytes are skipped", "0000 4100", true, "A"},
      {"a pair, truncated to 16 bits", "FEFF D83D DE00", true, "\xEF\x98\x80"},
      {"a high surrogate alone", "FEFF D83D 0041", false, std::nullopt},
      {"a high surrogate at the end", "FEFF D83D", false, std::nullopt},
      {"a low surrogate alone", "FEFF DE00", true, "\xED\xB8\x80"},
      {"an odd byte at the end", "FEFF 0041 42", true, "A"},
      {"the mark alone", "FEFF", true, ""},
      {"one byte", "FE", false, std::nullopt},
  };
  for (const auto& [name, digits, read, text] : rows) {
    const ByteString bytes = hex(digits);
    UTF8 value("before");
    EXPECT_EQ(value.fromUTF16(bytes.data(), static_cast<std::uint32_t>(bytes.size())), read) << name;
    EXPECT_EQ(value.text(), text) << name;
  }
}

TEST(Repair, TakesForLatin1WhatIsNoUTF8) {
  using Row = std::pair<const char*, const char*>;
  for (const auto& [text, expected] :
       {Row{"plain", "plain"}, Row{"Societ\xC3\xA0", "Societ\xC3\xA0"}, Row{"Societ\xE0", "Societ\xC3\xA0"},
        Row{"\xC3\xA0\xE0", "\xC3\x83\xC2\xA0\xC3\xA0"},  // all of it, not the bad byte alone
        Row{"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
        Row{"\xF8\x88\x80\x80\x80", "\xC3\xB8\xC2\x88\xC2\x80\xC2\x80\xC2\x80"}, Row{"\xC3", "\xC3\x83"},
        Row{"\x80", "\xC2\x80"}, Row{"\xE2\x82", "\xC3\xA2\xC2\x82"}}) {
    std::string repaired;
    appendRepaired(repaired, text);
    EXPECT_EQ(repaired, expected);
  }
}

}  // namespace
}  // namespace keystrand::test
