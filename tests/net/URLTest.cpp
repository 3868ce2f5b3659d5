#include <gmock/gmock.h>

#include "net/URL.h"

namespace keystrand {
namespace {

using namespace std::string_literals;
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
