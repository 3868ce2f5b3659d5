#include <gtest/gtest.h>

#include "support/Text.h"

namespace keystrand::test {
namespace {

TEST(Text, ComparesWithoutCaseInASCIIOnly) {
  EXPECT_TRUE(equalsNoCase("Content-TYPE", "content-type"));
  EXPECT_FALSE(equalsNoCase("abc", "abcd"));
  EXPECT_FALSE(equalsNoCase("@[`{", "`{@["));  // 0x20 apart, and no letters
  EXPECT_FALSE(equalsNoCase("\xC3\x88", "\xC3\xA8")) << "letters of other alphabets stay apart";
  EXPECT_TRUE(startsWithNoCase("LDAP://host", "ldap:"));
  EXPECT_FALSE(startsWithNoCase("ld", "ldap:"));
}

TEST(Text, Times) {
  std::tm time{};
  time.tm_year = 104;
  time.tm_mon = 1;
  time.tm_mday = 9;
  time.tm_hour = 7;
  time.tm_min = 5;
  time.tm_sec = 3;
  EXPECT_EQ(formatTimeDots(time), "09.02.2004 07:05:03");
  EXPECT_EQ(dotted14("09022004070503"), "09.02.2004 07:05:03");
  EXPECT_EQ(dotted8("09022004"), "09.02.2004");
  EXPECT_EQ(dotted14("0902200407050"), "");
  EXPECT_EQ(dotted8("0902200"), "");

  std::tm read{};
  const std::string now = nowLocalText();
  ASSERT_NE(strptime(now.c_str(), "%d/%m/%Y %H:%M:%S", &read), nullptr) << now;
  read.tm_isdst = -1;
  EXPECT_NEAR(static_cast<double>(std::mktime(&read)), static_cast<double>(std::time(nullptr)), 5);
}

}  // namespace
}  // namespace keystrand::test
