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

}  // namespace
}  // namespace keystrand::test
