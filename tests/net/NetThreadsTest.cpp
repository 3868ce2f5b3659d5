// Requests of several threads while the settings change. Worth most under ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "net/FreshNetState.h"
#include "net/HTTPS.h"
#include "net/Transport.h"
#include "support/ScriptedServer.h"
#include "support/TempFolder.h"

namespace keystrand {
namespace {

using test::ScriptedServer;

class NetThreads : public FreshNetState {};

TEST_F(NetThreads, EachRequestWorksOnOneSetOfSettings) {
  ScriptedServer server([](const std::string&) {
    return ScriptedServer::Answer{ScriptedServer::ok("body", "Last-Modified: x y z x y z x\r\n")};
  });
  const test::TempFolder folder;
  std::atomic<bool> done{false};
  std::thread changes([&] {
    for (int round = 0; !done; ++round) {
      // either proxy leads to the server, so that a mixture of both is what would fail
      setCurlProxy("127.0.0.1", server.port(), Credentials{"user", "secret"});
      setCurlLog((folder / "log").string());
      setCurlProxy("", 0, std::nullopt);
      setCurlSocks("localhost", server.port(), std::nullopt);
      setCurlLog("");
      if (round < 100) addCurlNoProxy("a.long.name.that.makes.the.list.grow.example.it");
      httpAddNoProxy("*.example.it");
      httpSetProxy("127.0.0.1", 3128, Credentials{"user", "secret"});
      httpUsesProxy("crl.example.it");
      setSocks(round % 2 == 0 ? "no-such-host.invalid" : "", 1080, Credentials{"user", "secret"});
      addSocksDirect("127.0.0.0", "255.0.0.0");
    }
  });
  std::vector<std::thread> clients;
  for (int i = 0; i < 3; ++i)
    clients.emplace_back([&] {
      Buffer buffer;
      std::string time;
      for (int request = 0; request < 40; ++request) {
        setCurlTimeout(20);
        EXPECT_TRUE(httpsGetObjectAndTime(server.url("/a/long/path"), buffer, time));
        EXPECT_EQ(time, " x y z x y z x\r\n");
        EXPECT_EQ(buffer.size(), 4U);
        EXPECT_EQ(Transport().connect("127.0.0.1", server.port()), 0) << "loopback goes direct";
      }
    });
  for (std::thread& client : clients) client.join();
  done = true;
  changes.join();
}

}  // namespace
}  // namespace keystrand
