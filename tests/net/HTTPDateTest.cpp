#include <gtest/gtest.h>

#include "net/HTTPDate.h"

namespace keystrand {
namespace {

TEST(HTTPDate, ReadsTheThreeFormsAndSurvivesTheRest) {
  struct Row {
    const char *text, *expected;
  };
  constexpr const char* kNever = "700101000000Z";
  for (const Row& row :
       {Row{" Sun, 06 Nov 1994 08:49:37 GMT\r\n", "941106084937Z"},
        Row{"Sunday, 06-Nov-94 08:49:37 GMT", "941106084937Z"}, Row{"Sun Nov  6 08:49:37 1994", "941106084937Z"},
        Row{"thu, 01 jan 1970 00:00:01 gmt", "700101000001Z"},
        Row{" Tue, 29 Feb 2028 23:59:59 GMT\r\n", "280229235959Z"},
        Row{"Mon, 01 Jun 2026 00:00:00 GMT", "260601000000Z"}, Row{"Mon, 01 Jul 2026 00:00:00 GMT", "260701000000Z"},
        Row{"Mon, 01 Mar 2026 00:00:00 GMT", "260301000000Z"}, Row{"Mon, 01 May 2026 00:00:00 GMT", "260501000000Z"},
        Row{"Mon, 01 Apr 2026 00:00:00 GMT", "260401000000Z"}, Row{"Mon, 01 Aug 2026 00:00:00 GMT", "260801000000Z"},
        Row{"", kNever}, Row{"GMT", kNever}, Row{"Sun, GMT", kNever}, Row{"Sun, 06 Nov 2100 08:49:37 GMT", kNever},
        Row{"Sun, 99999999999999999999 Nov 1994 08:49:37 GMT", kNever}, Row{"\r\n", kNever}}) {
    EXPECT_STREQ(parseHTTPDate(row.text).textView(), row.expected) << row.text;
  }
}

}  // namespace
}  // namespace keystrand
