#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "net/CurlHeaders.h"

namespace keystrand {
namespace {

using Lines = std::vector<std::string>;

std::optional<std::string> found(const Lines& lines, std::string_view name) {
  CurlHeaders headers;
  for (const std::string& line : lines) headers.add(line);
  const auto value = headers.find(name);
  return value ? std::optional<std::string>(*value) : std::nullopt;
}

const std::string kDate = "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n";
const std::string kDateValue = " Sun, 06 Nov 1994 08:49:37 GMT\r\n";
// 75 characters, line end included: the value of 50 fills its field and goes on over the next row's name.
const std::string kTransportSecurity = "Strict-Transport-Security: max-age=31536000; includeSubDomains; preload\r\n";

TEST(CurlHeaders, FindsByLowerCaseName) {
  struct Row {
    const char* what;
    Lines lines;
    const char* name;
    std::optional<std::string> value;
  };
  const Row rows[] = {
      {"as it came", {"HTTP/1.1 200 OK\r\n", kDate, "\r\n"}, "last-modified", kDateValue},
      {"odd case", {"lAsT-mOdIfIeD:x y z x y z\r\n"}, "last-modified", "x y z x y z\r\n"},
      {"no headers", {"HTTP/1.1 200 OK\r\n", "\r\n"}, "last-modified", std::nullopt},
      {"the first wins", {kDate, "Last-Modified: later later later\r\n"}, "last-modified", kDateValue},
      {"no line end", {"last-modified:x"}, "last-modified", "x"},
      {"after a line feed", {"junk\nLast-Modified: x: y: z: 12\r\n"}, "last-modified", " x: y: z: 12\r\n"},
      {"blank before the colon", {"Last-Modified : x\r\n"}, "last-modified", std::nullopt},
      {"NUL ends the line", {std::string("Last-Modified: 12345678\0!\r\n", 27)}, "last-modified", " 12345678"},
      // lower-cased as far as the value is long: the last capital, T, stands at the ninth character
      {"value of 11", {"Content-Type: text/css\r\n"}, "content-type", " text/css\r\n"},
      {"value of 8", {"Content-Type: a/bcd\r\n"}, "content-type", std::nullopt},
      {"value of 8, as sent", {"Content-Type: a/bcd\r\n"}, "content-Type", " a/bcd\r\n"},
      {"all capitals, value of 11", {"CONTENT-TYPE: text/css\r\n"}, "content-type", std::nullopt},
      {"all capitals, value of 13", {"CONTENT-TYPE: text/plain\r\n"}, "content-type", " text/plain\r\n"},
      {"never a capital", {"content-type: a\r\n"}, "content-type", " a\r\n"},
      {"line of 127", {"A: " + std::string(122, 'x') + "\r\n"}, "a", " " + std::string(122, 'x') + "\r\n"},
      {"line of 128", {"A: " + std::string(123, 'x') + "\r\n"}, "a", std::nullopt},
  };
  for (const Row& row : rows) EXPECT_EQ(found(row.lines, row.name), row.value) << row.what;
}

TEST(CurlHeaders, SpillIntoTheNextRow) {
  const Lines lines = {kTransportSecurity, kDate};
  EXPECT_EQ(found(lines, "strict-transport-security"), kTransportSecurity.substr(26));
  EXPECT_EQ(found(lines, "eload\r\n"), "") << "the rest has become the second row's name";
  EXPECT_EQ(found(lines, "last-modified"), kDateValue) << "in the third row";
}

TEST(CurlHeaders, FullFieldRunsIntoWhatFollows) {
  struct Row {
    const char* what;
    Lines lines;
    const char *name, *value;
  };
  const Row rows[] = {
      {"value of 40", {"A:vvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvv"}, "a", "vvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvv"},
      {"value of 40, next name",
       {"A:vvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvv", "Bcd: 1234\r\n"},
       "a",
       "vvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvbcd"},
      {"name of 40, value of 5",
       {"NNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNN:VALUE"},
       "nnnnnNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNVALUE",
       "VALUE"},
      {"name of 47, written over from the 41st on",
       {"nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnABCDEFG:12345"},
       "nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn12345FG",
       "12345FG"},
  };
  for (const Row& row : rows) EXPECT_EQ(found(row.lines, row.name), row.value) << row.what;
}

TEST(CurlHeaders, TableEndCutsAndFullTableIgnores) {
  Lines lines;
  for (int i = 0; i < 29; ++i) lines.push_back("X" + std::to_string(i) + ": filler\r\n");
  lines.push_back("Last:" + std::string(100, 'e') + "\r\n");
  lines.push_back(kDate);
  EXPECT_EQ(found(lines, "x28"), " filler\r\n");
  EXPECT_EQ(found(lines, "last"), std::string(40, 'e'));
  EXPECT_EQ(found(lines, "last-modified"), std::nullopt);
}

TEST(CurlHeaders, SpilledRowsCountAsTaken) {
  Lines lines(20, kTransportSecurity);  // two rows each
  Lines fits(lines.begin(), lines.begin() + 14);
  fits.push_back(kDate);
  EXPECT_EQ(found(fits, "last-modified"), kDateValue);
  Lines full(lines.begin(), lines.begin() + 15);
  full.push_back(kDate);
  EXPECT_EQ(found(full, "last-modified"), std::nullopt);
}

}  // namespace
}  // namespace keystrand
