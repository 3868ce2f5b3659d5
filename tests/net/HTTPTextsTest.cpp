// The texts of HTTP: what is found in the table of headers that the libcurl client keeps, dates, and URLs.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "net/CurlHeaders.h"
#include "net/HTTPDate.h"
#include "net/URL.h"

namespace keystrand {
namespace {

using namespace std::string_literals;
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
const std::string kForty(40, 'v');

Lines behind(int count, const std::string& line) {
  Lines lines(static_cast<std::size_t>(count), line);
  lines.push_back(kDate);
  return lines;
}

TEST(CurlHeaders, FindByLowerCaseNameInATableOfThirtyRows) {
  struct Row {
    const char* what;
    Lines lines;
    std::string name;
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
      // a full field runs into what follows it
      {"a long value is read on",
       {kTransportSecurity, kDate},
       "strict-transport-security",
       kTransportSecurity.substr(26)},
      {"its rest is the second row's name", {kTransportSecurity, kDate}, "eload\r\n", ""},
      {"the next header is the third row", {kTransportSecurity, kDate}, "last-modified", kDateValue},
      {"value of 40", {"A:" + kForty}, "a", kForty},
      {"value of 40, next name", {"A:" + kForty, "Bcd: 1234\r\n"}, "a", kForty + "bcd"},
      {"name of 40, value of 5", {std::string(40, 'N') + ":VALUE"}, "nnnnn" + std::string(35, 'N') + "VALUE", "VALUE"},
      {"name of 47, written over from the 41st on",
       {std::string(40, 'n') + "ABCDEFG:12345"},
       std::string(40, 'n') + "12345FG",
       "12345FG"},
      // and the end of the table cuts it
      {"the last row", behind(29, "X: y\r\n"), "last-modified", kDateValue},
      {"no row left", behind(30, "X: y\r\n"), "last-modified", std::nullopt},
      {"two rows each", behind(14, kTransportSecurity), "last-modified", kDateValue},
      {"two rows each, full", behind(15, kTransportSecurity), "last-modified", std::nullopt},
  };
  for (const Row& row : rows) EXPECT_EQ(found(row.lines, row.name), row.value) << row.what;
  Lines full(29, "X: y\r\n");
  full.push_back("Last:" + std::string(100, 'e') + "\r\n");
  EXPECT_EQ(found(full, "last"), std::string(40, 'e')) << "cut where the table ends";
}

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

// --- URLs

constexpr auto kNoQuery = std::string::npos;

TEST(HTTPParseURL, SplitsAsStoredKeysExpect) {
  struct Row {
    std::string url;
    int scheme;
    std::string host;
    int port;
    std::optional<std::string> path;
    std::size_t query;
  };
  const Row rows[] = {
      {"http://crl.example.it/ca.crl", 1, "crl.example.it", 80, "/ca.crl", 28},
      {"https://crl.example.it/ca.crl?x=1", 3, "crl.example.it", 443, "/ca.crl", 29},
      {"ldap://ldap.example.it/cn=CA%20One,c=IT?crl", 2, "ldap.example.it", 389, "/cn=CA One,c=IT", 39},
      {"file:///etc/ca.crl", 4, "", 0, "/etc/ca.crl", 18},
      {"http://", 1, "", 80, std::nullopt, kNoQuery},
      // a port counts only where a slash follows at the authority's tenth character or later
      {"http://host:8080/ca.crl", 1, "host", 8080, "/ca.crl", 23},
      {"http://h:8/ca", 1, "h:8", 80, "/ca", 13},
      {"http://h:8/abc/defghij/k", 1, "h", 8, "/abc/defghij/k", 24},
      {"http://crl.example.it:8080", 1, "crl.example.it:8080", 80, std::nullopt, kNoQuery},
      {"http://h:80", 1, "h:80", 80, std::nullopt, kNoQuery},
      {"http://crl.example.it/a:80/b", 1, "crl.example.it", 80, "/a:80/b", 28},
      {"http://h/a:5/long/path", 1, "h/a", 5, "/long/path", 22},
      {"http://crl.example.it:x/a", 1, "crl.example.it", 0, "/a", 25},
      {"http://crl.example.it:99999999999/a", 1, "crl.example.it", 0, "/a", 35},
      // the literal may stand anywhere, and the first of the four wins
      {"see http://h/a", 1, "p:", 80, "//h/a", 14},
      {"ldap://h/?http://", 1, "h/?http", 0, "//", 17},
      {"https://h/?ldap://", 2, "/h/?ldap", 0, "//", 18},
      // a NUL ends the text
      {"http://h/a\0b"s, 1, "h", 80, "/a", 10},
  };
  for (const Row& row : rows) {
    const auto parsed = httpParseURL(row.url, false);
    ASSERT_TRUE(parsed) << row.url;
    EXPECT_EQ(parsed->scheme, row.scheme) << row.url;
    EXPECT_EQ(parsed->host, row.host) << row.url;
    EXPECT_EQ(parsed->port, row.port) << row.url;
    EXPECT_EQ(parsed->path, row.path) << row.url;
    EXPECT_EQ(parsed->queryOffset, row.query) << row.url;
  }
}

TEST(HTTPParseURL, RefusesOtherSchemes) {
  for (const char* url : {"", "http:/h/a", "ftp://h/a", "HTTP://h/a", "h/a", "http"})
    EXPECT_FALSE(httpParseURL(url, true)) << url;
}

TEST(HTTPParseURL, DropsTheSlashOfAnLDAPPathOnlyWithTheScheme) {
  EXPECT_EQ(httpParseURL("ldap://h/cn=A?x", true)->path, "cn=A");
  EXPECT_EQ(httpParseURL("ldap://h/cn=A?x", true)->queryOffset, 13U);
  EXPECT_EQ(httpParseURL("ldap://h/", true)->path, "");
  EXPECT_EQ(httpParseURL("http://h/a", true)->path, "/a");
}

TEST(HTTPParseURL, DecodesThePath) {
  struct Row {
    std::string coded, path;
    std::size_t query;  // from the path's start
  };
  for (const Row& row :
       {Row{"/a%0D%41", "/aA", 8}, Row{"/a+b", "/a b", 4}, Row{"/a++b", "/a +b", 5}, Row{"/a+%42", "/a B", 6},
        Row{"/a+?b?c", "/a ?b", 5}, Row{"/a+", "/a ", 3}, Row{"/%4", "/%4", 3}, Row{"/%zz%", "/%zz%", 5},
        Row{"/%2541", "/%41", 6}, Row{"/%00b", "/\0b"s, 5}, Row{"/%0a", "/\n", 4}, Row{"/%e0%C3", "/\xE0\xC3", 7}}) {
    const auto parsed = httpParseURL("http://h" + row.coded, false);
    EXPECT_EQ(parsed->path, row.path) << row.coded;
    EXPECT_EQ(parsed->queryOffset, 8 + row.query) << row.coded;
  }
}

TEST(HTTPUnescape, TakesTheQueryAlong) {
  EXPECT_EQ(httpUnescape("http://h/My%20CA.crl?a+b%3f"), "http://h/My CA.crl?a b?");
  EXPECT_EQ(httpUnescape("+"), " ");
  EXPECT_EQ(httpUnescape("%41\0B"s), "A");
}

TEST(HTTPEscape, KeepsWhatItKeeps) {
  const std::string kept = "azAZ09$-_.+!*'(),;/?:@&";
  EXPECT_EQ(httpEscape(kept), kept);
  EXPECT_EQ(httpEscape("a b=c%d#\"~[]"), "a%20b%3Dc%25d%23%22%7E%5B%5D");
  EXPECT_EQ(httpEscape("\x80x\xC3\xA0\xFF"), "%FFx%FF%FF%FF");
  EXPECT_EQ(httpEscape("\x10\x7F"), "%10%7F");
  EXPECT_EQ(httpEscape("a\nb"), "a%A");
  EXPECT_EQ(httpEscape("\x0F"), "%F");
}

}  // namespace
}  // namespace keystrand
