#include <curl/curl.h>
#include <gmock/gmock.h>

#include <functional>
#include <thread>

#include "net/CurlSettings.h"
#include "net/FreshNetState.h"

namespace keystrand {
namespace {

class CurlProxy : public FreshNetState {};
class CurlNoProxy : public FreshNetState {};
class CurlPaths : public FreshNetState {};
class CurlTimeout : public FreshNetState {};

CurlSettings settings() {
  return NetState::instance().snapshot().curl;
}

const Credentials kUser{"user", "secret"};

// What stands after each call of a sequence. The type follows credentials only, so a SOCKS proxy without any is spoken
// to in HTTP, and an HTTP proxy without any, set after a SOCKS proxy with some, in SOCKS 4.
TEST_F(CurlProxy, RemembersItsTypeFromTheLastCredentials) {
  struct Row {
    const char* name;
    std::function<void()> call;
    bool active, authorised;
    long type;
    std::string host;
    int port;
  };
  const Row rows[] = {
      {"SOCKS, nobody", [] { setCurlSocks("s", 1080, {}); }, true, false, CURLPROXY_HTTP, "s", 1080},
      {"SOCKS, user", [] { setCurlSocks("s", 1081, kUser); }, true, true, CURLPROXY_SOCKS4, "s", 1081},
      {"HTTP, nobody", [] { setCurlProxy("h", 3128, {}); }, true, false, CURLPROXY_SOCKS4, "h", 3128},
      {"HTTP, user", [] { setCurlProxy("h", 3129, kUser); }, true, true, CURLPROXY_HTTP, "h", 3129},
      {"SOCKS again", [] { setCurlSocks("s", 1080, kUser); }, true, true, CURLPROXY_SOCKS4, "s", 1080},
      {"no credentials", [] { setCurlProxyCredentials({}); }, true, false, CURLPROXY_SOCKS4, "s", 1080},
      {"credentials", [] { setCurlProxyCredentials(kUser); }, true, true, CURLPROXY_HTTP, "s", 1080},
      {"port 0", [] { setCurlSocks("s", 0, kUser); }, false, false, CURLPROXY_HTTP, "", 0},
      {"SOCKS, user", [] { setCurlSocks("s", 1, kUser); }, true, true, CURLPROXY_SOCKS4, "s", 1},
      {"no host", [] { setCurlProxy("", 3128, kUser); }, false, false, CURLPROXY_SOCKS4, "", 0},
  };
  for (const Row& row : rows) {
    row.call();
    EXPECT_EQ(settings().proxyActive, row.active) << row.name;
    EXPECT_EQ(settings().proxyCredentials.has_value(), row.authorised) << row.name;
    EXPECT_EQ(settings().proxyType, row.type) << row.name;
    EXPECT_EQ(settings().proxyHost, row.host) << row.name;
    EXPECT_EQ(settings().proxyPort, row.port) << row.name;
  }
}

TEST_F(CurlNoProxy, JoinsWithCommas) {
  EXPECT_FALSE(settings().noProxy);
  EXPECT_TRUE(addCurlNoProxy("*.example.it"));
  EXPECT_FALSE(addCurlNoProxy(std::string(129, 'a')));
  EXPECT_TRUE(addCurlNoProxy(std::string(128, 'b')));
  EXPECT_EQ(settings().noProxy, "*.example.it," + std::string(128, 'b'));
}

TEST_F(CurlPaths, Keep259Bytes) {
  setCurlLog(std::string(300, 'l'));
  setCurlCaFile("/ca.pem");
  EXPECT_EQ(settings().logPath, std::string(259, 'l'));
  EXPECT_EQ(settings().caFile, "/ca.pem");
  setCurlLog("");
  EXPECT_EQ(settings().logPath, "");
}

TEST_F(CurlTimeout, OfThisThreadFirstOfTheProcessThen) {
  EXPECT_EQ(takeCurlTimeout(), -1);
  setCurlTimeout(60);
  std::thread([] {
    EXPECT_EQ(takeCurlTimeout(), 60);
    setCurlTimeout(15);
  }).join();
  EXPECT_EQ(takeCurlTimeout(), 60) << "set just before this request";
  EXPECT_EQ(takeCurlTimeout(), 15) << "nothing set for this request";
}

}  // namespace
}  // namespace keystrand
