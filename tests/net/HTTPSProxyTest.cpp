// The way of a request: which proxy, in which protocol, or none.
#include <gmock/gmock.h>

#include <cstdlib>

#include "net/Bytes.h"
#include "net/FreshNetState.h"
#include "net/HTTPS.h"
#include "support/NginxServer.h"
#include "support/ProxyServers.h"
#include "support/ScriptedServer.h"

namespace keystrand {
namespace {

using test::HTTPProxyServer;
using test::NginxServer;
using test::ScriptedServer;
using test::SOCKSProxyServer;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class HTTPSProxy : public FreshNetState {
 protected:
  void SetUp() override {
    if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
    server_.emplace("location = /via { return 200 \"via=$http_via\"; }");
  }

  // How a request reached the server: "" directly, otherwise what the proxy says of itself; "failed" if it did not.
  std::string way(bool direct = false) {
    std::string time;
    if (!httpsGetObjectAndTime(server_->url("/via"), buffer_, time, direct)) return "failed";
    const auto bytes = buffer_.range(4, buffer_.size());
    return {bytes.begin(), bytes.end()};
  }

  std::optional<NginxServer> server_;
  Buffer buffer_;
};

TEST_F(HTTPSProxy, HTTPProxyUnlessDirectOrListed) {
  if (!HTTPProxyServer::installed()) GTEST_SKIP() << HTTPProxyServer::kNotInstalled;
  const HTTPProxyServer proxy;
  EXPECT_EQ(way(), "");
  setCurlProxy(kLoopback, proxy.port(), std::nullopt);
  EXPECT_THAT(way(), HasSubstr("tinyproxy"));
  EXPECT_EQ(way(true), "");
  EXPECT_TRUE(httpsGetTime(server_->httpsURL("/via"), buffer_)) << "through a tunnel";
  EXPECT_TRUE(proxy.logged("CONNECT 127.0.0.1:"));
  addCurlNoProxy("example.it");
  EXPECT_THAT(way(), HasSubstr("tinyproxy"));
  addCurlNoProxy(kLoopback);
  EXPECT_EQ(way(), "");
}

TEST_F(HTTPSProxy, HTTPProxyWithCredentials) {
  if (!HTTPProxyServer::installed()) GTEST_SKIP() << HTTPProxyServer::kNotInstalled;
  const HTTPProxyServer proxy("user", "secret");
  setCurlProxy(kLoopback, proxy.port(), std::nullopt);
  EXPECT_EQ(way(), "failed");
  setCurlProxyCredentials(Credentials{"user", "secret"});
  EXPECT_THAT(way(), HasSubstr("tinyproxy"));
  setCurlProxy("", 0, std::nullopt);
  EXPECT_EQ(way(), "");
}

TEST_F(HTTPSProxy, TheEnvironmentHasNoSay) {
  if (!HTTPProxyServer::installed()) GTEST_SKIP() << HTTPProxyServer::kNotInstalled;
  const std::string nobody = "http://127.0.0.1:" + std::to_string(test::freePort());
  for (const char* name : {"http_proxy", "https_proxy", "all_proxy"}) setenv(name, nobody.c_str(), 1);
  EXPECT_EQ(way(), "");
  EXPECT_EQ(way(true), "");
  setenv("no_proxy", "*", 1);
  const HTTPProxyServer proxy;
  setCurlProxy(kLoopback, proxy.port(), std::nullopt);
  EXPECT_THAT(way(), HasSubstr("tinyproxy"));
  for (const char* name : {"http_proxy", "https_proxy", "all_proxy", "no_proxy"}) unsetenv(name);
}

TEST_F(HTTPSProxy, SOCKSProxyIsSpokenToInSOCKSOnlyWithCredentials) {
  if (!SOCKSProxyServer::installed()) GTEST_SKIP() << SOCKSProxyServer::kNotInstalled;
  const SOCKSProxyServer proxy;
  setCurlSocks(kLoopback, proxy.port(), Credentials{"user", "secret"});
  EXPECT_EQ(way(), "");
  EXPECT_TRUE(proxy.logged("tcp/connect"));

  ScriptedServer notSOCKS({{ScriptedServer::ok("0")}});
  setCurlSocks(kLoopback, notSOCKS.port(), std::nullopt);
  setCurlTimeout(1);
  EXPECT_EQ(way(), "failed") << "SOCKS to an HTTP proxy, the type of the last credentials";
  setCurlTimeout(15);
  setCurlProxyCredentials(Credentials{"user", "secret"});
  setCurlTimeout(20);
  EXPECT_NE(way(), "failed");
  EXPECT_TRUE(test::eventually([&] { return notSOCKS.requests().size() == 2; }))
      << "one was given up before it was read";
  EXPECT_THAT(notSOCKS.requests(), testing::ElementsAre(StartsWith("\x04\x01"), StartsWith("GET http://127.0.0.1:")));
}

}  // namespace
}  // namespace keystrand
