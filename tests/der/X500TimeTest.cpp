#include <gmock/gmock.h>
#include <openssl/asn1.h>

#include <ctime>
#include <memory>
#include <string>
#include <tuple>

#include "der/Calendar.h"
#include "der/Values.h"
#include "keystrand/der/X500Time.h"

namespace keystrand::test {
namespace {

constexpr const char* kFailed = "000000000000Z";

ByteString timeValue(unsigned char tag, const std::string& text) {
  const ByteString bytes = bytesOf(text);
  return written([&](Buffer& out) { out.putOctetString(bytes.data(), static_cast<std::uint32_t>(bytes.size()), tag); });
}

struct Expected {
  const char* text;  // as kept
  std::int64_t seconds;
  const char* fraction = "";
  std::uint32_t microseconds = 0;
};

void expectTime(const X500Time& time, const Expected& expected, const std::string& name) {
  EXPECT_STREQ(time.textView(), expected.text) << name;
  EXPECT_EQ(time.seconds(), expected.seconds) << name;
  EXPECT_STREQ(time.fractionView(), expected.fraction) << name;
  EXPECT_EQ(time.microseconds(), expected.microseconds) << name;
}

// --- the instants ------------------------------------------------------------------------------------------

std::int64_t secondsByOpenSSL(const std::string& text, unsigned char tag) {
  const std::unique_ptr<ASN1_TIME, decltype(&ASN1_TIME_free)> time(ASN1_STRING_type_new(tag), ASN1_TIME_free);
  ASN1_STRING_set(time.get(), text.data(), static_cast<int>(text.size()));
  std::tm fields{};
  EXPECT_EQ(ASN1_TIME_to_tm(time.get(), &fields), 1) << text;
  return timegm(&fields);
}

// The same time with its zone spelt out, which takes the general road.
std::string spelt(std::string text, const char* zone) {
  text.pop_back();
  text.append(zone);
  return text;
}

// The fast road, the general road that an explicit zone takes, and OpenSSL name the same second.
void expectOneInstant(const X500Time& made) {
  const std::string text = made.textView();
  X500Time fast, general;
  ASSERT_TRUE(decode(fast, timeValue(made.tag(), text))) << text;
  ASSERT_TRUE(decode(general, timeValue(made.tag(), spelt(text, "+0000")))) << text;
  ASSERT_EQ(fast.seconds(), made.seconds()) << text;
  ASSERT_EQ(general.seconds(), made.seconds()) << text;
  ASSERT_EQ(secondsByOpenSSL(text, made.tag()), made.seconds()) << text;
}

// Every day of the years that the two ordinary forms name, at an hour that moves.
TEST(X500TimeReading, AgreesWithOpenSSLByBothRoads) {
  X500Time made;
  for (std::int64_t day = daysBeforeMonth(1950, 1); day < daysBeforeMonth(2050, 1); ++day) {
    made.setUTC(day * 86400 + (day * day * 7) % 86400);
    ASSERT_NO_FATAL_FAILURE(expectOneInstant(made));
  }
  for (std::int64_t month = 1000 * 12; month < 10000 * 12; month += 7) {
    made.setGeneralized(daysBeforeMonth(0, month + 1) * 86400 - 1 + month % 3);
    ASSERT_NO_FATAL_FAILURE(expectOneInstant(made));
  }
}

// Fields out of their range carry over, by both roads.
TEST(X500TimeReading, CarriesOverAsTimegmDoes) {
  for (const char* text : {"20150229000000Z", "20151301000000Z", "20150001000000Z", "20150100000000Z",
                           "20151332256199Z", "00000000000000Z", "99999999999999Z", "20161231235960Z"}) {
    std::tm fields{};
    ASSERT_EQ(std::sscanf(text, "%4d%2d%2d%2d%2d%2d", &fields.tm_year, &fields.tm_mon, &fields.tm_mday, &fields.tm_hour,
                          &fields.tm_min, &fields.tm_sec),
              6);
    fields.tm_year -= 1900;
    fields.tm_mon -= 1;
    const std::int64_t expected = timegm(&fields);
    X500Time fast, general, set;
    EXPECT_TRUE(decode(fast, timeValue(24, text)) && decode(general, timeValue(24, spelt(text, "-0000"))));
    set.setGeneralizedText(text);
    for (const X500Time* time : {&fast, &general, &set}) EXPECT_EQ(time->seconds(), expected) << text;
  }
}

TEST(X500TimeReading, TakesEveryFormThatWasEverWritten) {
  using Row = std::tuple<unsigned char, const char*, Expected>;
  const Row rows[] = {
      {23, "490101000000Z", {"490101000000Z", 2493072000}},
      {23, "500101000000Z", {"500101000000Z", -631152000}},
      {24, "99991231235959Z", {"99991231235959Z", 253402300799}},
      // ten digits have no seconds
      {23, "0912312359Z", {"0912312359Z", 1262303940}},
      // the sign and the hours stay where the seconds would stand and are read as such, +0
      {23, "0912312359+0130", {"0912312359+0130", 1262298540}},
      {23, "091231235930-0130", {"091231235930-0130", 1262309370}},
      {23, "091231235930+01", {"091231235930+01", 1262300370}},  // missing minutes are 0
      {23, "091231235930+", {"091231235930+", 1262303970}},      // and so are missing hours
      {23, "091231235930", {"091231235930", 1262303970}},        // no zone is GMT
      // a short fraction is not scaled when it is read, unlike in the setter
      {24, "20150101120000.500Z", {"20150101120000.500Z", 1420113600, "500", 500}},
      {24, "20150101120000.5Z", {"20150101120000.5Z", 1420113600, "5", 5}},
      {24, "20150101120000.5+0100", {"20150101120000.5+0100", 1420110000, "5", 5}},
      {24, "20150101120000.1234567Z", {"20150101120000.1234567Z", 1420113600, "123456", 123456}},
      {24, "20150101120000.Z", {"20150101120000.Z", 1420113600}},
      // any tag goes on, as UTCTime, and stays
      {19, "150101120000Z", {"150101120000Z", 1420113600}},
      {4, "150101120000Z", {"150101120000Z", 1420113600}},
      // longer than the place that keeps it
      {24, "20150101120000.0000001234567890Z", {"20150101120000.00000012345", 1420113600, "000000", 0}},
  };
  for (const auto& [tag, text, expected] : rows) {
    X500Time time;
    EXPECT_TRUE(decode(time, timeValue(tag, text))) << text;
    expectTime(time, expected, text);
    EXPECT_EQ(encode(time), timeValue(tag, expected.text));
  }
}

TEST(X500TimeReading, LeavesNoTimeAtAllOnFailure) {
  using Row = std::pair<const char*, ByteString>;
  const std::string zerosBehindNUL("1501011\00020000Z", 14);
  for (const auto& [name, der] :
       {Row{"NULL", hex("0500")}, Row{"NULL of some length", hex("050D")}, Row{"an empty text", hex("1700")},
        Row{"nine digits", timeValue(23, "091231235Z")}, Row{"letters", timeValue(23, "abcdefghijklZ")},
        Row{"a letter among digits", timeValue(23, "1501o1120000Z")},
        Row{"GeneralizedTime without seconds", timeValue(24, "201501011200Z")},
        Row{"a fraction of minutes", timeValue(23, "1501011200.5Z")},
        Row{"zeros behind a NUL", timeValue(23, zerosBehindNUL)},
        Row{"a date that the place of 26 characters would cut",
            timeValue(24, "26" + std::string(24, ' ') + "0101000000Z")},
        Row{"a length beyond the data", hex("170D313530313031")}, Row{"a huge length", hex("1784FFFFFFFF31")},
        Row{"nothing", {}}}) {
    X500Time time;
    EXPECT_FALSE(decode(time, der)) << name;
    expectTime(time, {kFailed, -1}, name);
    EXPECT_TRUE(time.less(X500Time())) << name;
  }
}

// --- setters -----------------------------------------------------------------------------------------------

TEST(X500TimeSetters, ReadTexts) {
  struct Row {
    void (X500Time::*set)(const char*);
    const char* text;
    unsigned char tag;
    Expected expected;
  };
  constexpr auto kUTC = &X500Time::setUTCText;
  constexpr auto kGeneralized = &X500Time::setGeneralizedText;
  const Row rows[] = {
      {kUTC, "0912312359+0130", 23, {"0912312359+0130", 1262298540}},
      {kUTC, "091231235959", 23, {"091231235959Z", 1262303999}},
      {kUTC, "091231235959-0100Zjunk", 23, {"091231235959-0100", 1262307599}},
      {kUTC, "", 23, {"Z", 943920000}},  // month and day 0 of the year 2000: the last of November 1999
      {kUTC, nullptr, 23, {"Z", 943920000}},
      {&X500Time::setUTCDate, "150101", 23, {"150101000000Z", 1420070400}},
      {&X500Time::setUTCDate, "150101235959Z", 23, {"150101000000Z", 1420070400}},
      {&X500Time::setGeneralizedDate, "20150101", 24, {"20150101000000Z", 1420070400}},
      {kGeneralized, "20150101120000", 24, {"20150101120000Z", 1420113600}},
      {kGeneralized, "20150101120000.500Z", 24, {"20150101120000.5Z", 1420113600, "5", 500000}},
      {kGeneralized, "20150101120000.000Z", 24, {"20150101120000Z", 1420113600}},
      {kGeneralized, "20150101120000.1234567Z", 24, {"20150101120000.123456Z", 1420113600, "123456", 123456}},
      {kGeneralized, "20150101120000.050-0330", 24, {"20150101120000.05-0330", 1420126200, "05", 50000}},
      {kGeneralized, "20150101120000.25", 24, {"20150101120000.25Z", 1420113600, "25", 250000}},
      {kGeneralized, "20150101120000+0100", 24, {"20150101120000+0100", 1420110000}},
      {kGeneralized, "20150101120000123456789012345", 24, {"20150101120000123456789012", 1420113600}},
  };
  for (const Row& row : rows) {
    X500Time time;
    time.setGeneralized(1, 5);  // nothing of the former value may stay
    (time.*row.set)(row.text);
    expectTime(time, row.expected, row.expected.text);
    EXPECT_EQ(time.tag(), row.tag) << row.expected.text;
  }
}

TEST(X500TimeSetters, MakeTexts) {
  X500Time time;
  for (const Expected& utc : {Expected{"150101120000Z", 1420113600}, Expected{"000101000000Z", 253402300800}}) {
    time.setUTC(utc.seconds);
    expectTime(time, utc, utc.text);
  }
  struct Row {
    std::uint32_t microseconds;
    Expected expected;
  };
  for (const auto& [microseconds, expected] :
       {Row{50, {"20150101120000.00005Z", 1420113600, "00005", 50}}, Row{1000000, {"20150101120000Z", 1420113600}},
        Row{0, {"00010101000000Z", -62135596800}}, Row{0, {"999999999999", 253402300800}}}) {
    time.setGeneralized(expected.seconds, microseconds);
    expectTime(time, expected, expected.text);
  }
  // no text can stand for these: of four digits of the year, or of any year
  for (const std::int64_t seconds : {std::int64_t{-62167219201}, std::numeric_limits<std::int64_t>::max(),
                                     std::numeric_limits<std::int64_t>::min()}) {
    time.setGeneralized(seconds);
    expectTime(time, {"999999999999", seconds}, std::to_string(seconds));
    time.setUTC(seconds);
    expectTime(time, {"999999999999", seconds}, std::to_string(seconds));
  }
}

// No time at all has a text without zone and keeps the kind; it does not come back from its own text.
TEST(X500TimeSetters, MarkNoTimeAtAll) {
  X500Time time;
  time.setGeneralized(10, 5);
  time.setUTC(-1);
  expectTime(time, {"999999999999", -1}, "setUTC");
  EXPECT_EQ(time.tag(), 24);
  X500Time utc;
  utc.setGeneralized(-1, 5);
  expectTime(utc, {"999999999999", -1}, "setGeneralized");
  EXPECT_EQ(utc.tag(), 23);
  X500Time read;
  EXPECT_TRUE(decode(read, encode(utc)));
  EXPECT_EQ(read.seconds(), 1181536839);
}

TEST(X500TimeArithmetic, CarriesOverAndKeepsTheKind) {
  X500Time time;
  time.setGeneralizedText("20150131120000.25Z");
  time.addDate(0, 1, 0);
  expectTime(time, {"20150303120000.25Z", 1425384000, "25", 250000}, "a month from 31 January");
  time.addTime(-13, 0, 61);
  expectTime(time, {"20150302230101.25Z", 1425337261, "25", 250000}, "hours back");
  time.toMidnight();
  expectTime(time, {"20150302000000Z", 1425254400}, "midnight");
  X500Time leap;
  leap.setUTCText("000229000000Z");
  leap.addDate(1, 0, 0);
  EXPECT_STREQ(leap.textView(), "010301000000Z");
  leap.setUTC(-86401);  // the remainder of a negative number is negative
  leap.toMidnight();
  EXPECT_EQ(leap.seconds(), -86400);
  leap.addDate(2147483647, 2147483647, 2147483647);  // the last years that the calendar of the system has, and beyond
  EXPECT_STREQ(leap.textView(), "999999999999");
  leap.setUTC(67768036191676799);
  leap.addDate(1, 0, 0);
  EXPECT_EQ(leap.seconds(), 67768036191676799 + 366 * 86400);
}

TEST(X500TimeComparison, LooksAtTheInstantAlone) {
  X500Time utc, generalized, later;
  utc.setUTCText("150101120000Z");
  generalized.setGeneralizedText("20150101130000+0100");
  later.setGeneralizedText("20150101120000.000001Z");
  EXPECT_TRUE(utc.equals(generalized));
  EXPECT_TRUE(utc.less(later) && later.greater(utc) && utc.notEquals(later));
  EXPECT_TRUE(utc.lessOrEqual(generalized) && utc.greaterOrEqual(generalized) && !utc.less(generalized));
  X500Time before;
  before.setUTC(-100);
  EXPECT_TRUE(before.less(X500Time()));
}

// --- printable forms ---------------------------------------------------------------------------------------

class X500TimeText : public testing::Test {
 protected:
  X500TimeText() {
    setenv("TZ", "CET-1", 1);  // a fixed hour east of GMT
    tzset();
    X500Time::setTimeZoneName("MEZ Rome and around, cut");
    time.setGeneralizedText("20150101233000.25Z");
  }
  ~X500TimeText() override { X500Time::setTimeZoneName(""); }
  X500Time time;
};

TEST_F(X500TimeText, HasTheFractionBehindTheSeconds) {
  EXPECT_EQ(taken(time.timeGMT()), "23:30:00.25 GMT");
  EXPECT_EQ(taken(time.timeLocal()), "00:30:00.25  Rome and around,");
  EXPECT_EQ(taken(time.dateGMT()), "01/01/15 GMT");
  EXPECT_EQ(taken(time.dateLocal()), "01/02/15  Rome and around,");
  EXPECT_EQ(taken(time.dateTimeGMT()), "01/01/15 23:30:00.25 GMT");
  EXPECT_EQ(taken(time.dateTimeLocal()), "01/02/15 00:30:00.25  Rome and around,");
  EXPECT_EQ(taken(time.dateShortLocal()), "150102");
  EXPECT_EQ(taken(time.dateLongLocal()), "20150102");
  EXPECT_EQ(taken(time.formatGMT("%S s, %Y")), "00.25 s, 2015");
  EXPECT_EQ(taken(time.formatGMT("%T, %Y")), "23:30:00.25, 2015");
  EXPECT_EQ(taken(time.formatLocal("%d.%m. %H Uhr")), "02.01. 00 Uhr");
  X500Time::setTimeZoneName("CE");
  EXPECT_EQ(taken(X500Time().timeLocal()), "01:00:00 ");
}

TEST_F(X500TimeText, StaysWithinItsBlock) {
  EXPECT_EQ(taken(X500Time::timeZoneName()), "MEZ Rome and around,");
  std::string format(60, 'x');
  format.insert(0, "%S");
  EXPECT_EQ(taken(time.formatGMT(format.c_str())).size(), 63U);
  format.append("too long");
  EXPECT_EQ(taken(X500Time().formatGMT(format.c_str())), "");
  char block[8] = "1234567";
  time.formatGMT(block, 6, "%S%Y");
  EXPECT_STREQ(block, "00.25");
  EXPECT_EQ(block[7], '\0');
  time.formatGMT(block, 4, "%Y");  // does not fit with its NUL
  EXPECT_STREQ(block, "");
  time.formatGMT(nullptr, 5, "%Y");
  time.formatLocal(block, 0, "%Y");
  X500Time never;
  never.setUTC(std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(taken(never.dateTimeGMT()), " GMT");
}

}  // namespace
}  // namespace keystrand::test
