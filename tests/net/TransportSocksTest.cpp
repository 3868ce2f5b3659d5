// Connections through a SOCKS 5 server: a real one, and servers that answer byte by byte what no real one would.
#include <gmock/gmock.h>

#include "net/Bytes.h"
#include "net/FreshNetState.h"
#include "net/Transport.h"
#include "support/ProxyServers.h"
#include "support/ScriptedServer.h"

namespace keystrand {
namespace {

using namespace std::string_literals;
using test::MicroSocksServer;
using test::ScriptedServer;
using ::testing::ElementsAre;
using Then = ScriptedServer::Then;
using Dialogue = ScriptedServer::Dialogue;

constexpr const char* kLoopback = "127.0.0.1";
const Credentials kUser{"user", "secret"};

class TransportSocks : public FreshNetState {
 protected:
  TransportSocks() { EXPECT_EQ(listener_.listen(port_), 0); }

  // From which address a connection to the host arrives here, or the error.
  std::string arrival(const std::string& host) {
    Transport client;
    client.setTimeout(20);
    if (const int error = client.connect(host, port_); error != 0) return "error " + std::to_string(error);
    EXPECT_EQ(Transport::selectListeners(20), &listener_);
    EXPECT_EQ(listener_.accept(), 0);
    Transport server(std::move(listener_));
    EXPECT_EQ(client.write(bytesOf("?")), 0);
    unsigned char byte = 0;
    EXPECT_EQ(server.readExact({&byte, 1}), 0);
    EXPECT_EQ(byte, '?') << "nothing of the handshake arrives";
    return server.peerAddress();
  }

  std::uint16_t port_ = test::freePort();
  Transport listener_;
};

TEST_F(TransportSocks, ThroughARealServerByAddressAndByName) {
  if (!MicroSocksServer::installed()) GTEST_SKIP() << MicroSocksServer::kNotInstalled;
  const MicroSocksServer proxy;
  EXPECT_EQ(arrival(kLoopback), kLoopback) << "no server set";
  ASSERT_TRUE(setSocks("localhost", proxy.port(), {}));
  EXPECT_EQ(arrival(kLoopback), kLoopback) << "a network of this machine";
  everythingThrough(proxy.port());
  EXPECT_EQ(arrival(kLoopback), MicroSocksServer::kAddress);
  EXPECT_EQ(arrival("localhost"), MicroSocksServer::kAddress);
  everythingThrough(proxy.port(), kUser);
  EXPECT_EQ(arrival(kLoopback), MicroSocksServer::kAddress) << "credentials that nobody asks for";

  const MicroSocksServer asking("user", "secret");
  everythingThrough(asking.port(), kUser);
  EXPECT_EQ(arrival(kLoopback), MicroSocksServer::kAddress);
  everythingThrough(asking.port());
  EXPECT_EQ(arrival(kLoopback), "error 1") << "nothing to tell it";

  EXPECT_TRUE(addSocksDirect("127.77.0.0", "255.0.0.0"));
  EXPECT_EQ(arrival(kLoopback), kLoopback) << "among the networks";
  EXPECT_EQ(arrival("localhost"), kLoopback);
  everythingThrough(proxy.port());
  EXPECT_TRUE(addSocksDirect("127.0.0.2"));
  EXPECT_EQ(arrival(kLoopback), MicroSocksServer::kAddress);
  EXPECT_EQ(arrival("127.0.0.2"), kLoopback);
  everythingThrough(test::freePort());
  EXPECT_EQ(arrival(kLoopback), "error " + std::to_string(kSocketError)) << "no server there";
  ASSERT_TRUE(setSocks("", 0, {}));
  EXPECT_EQ(arrival(kLoopback), kLoopback) << "switched off";
}

const std::string kConnected = "\5\0\0\1"s + "\1\2\3\4\5\6"s;
const std::string kGreeting = "\5\1\0"s;
const std::string kOffer = "\5\2\0\2"s;
const std::string kRequest = "\5\1\0\1\x7F\0\0\1\0\x50"s;
const std::string kLogin = "\1\4user\6secret"s;

TEST_F(TransportSocks, SpeaksTheProtocolToTheByte) {
  struct Row {
    const char* name;
    std::optional<Credentials> credentials;
    std::string host;
    std::vector<std::string> sent, replies;
    int error;
  };
  const std::string longest(255, 'n');
  const std::string bound = "\5\0\0\3\xFF"s + longest + "\0\1"s;
  const std::string six(6, '\1');
  const std::string yes = "\5\0"s;
  const std::string login = "\5\2"s;
  const auto named = [](const std::string& name) {
    return "\5\1\0\3"s + static_cast<char>(name.size()) + name + "\0\x50"s;
  };
  for (const Row& row : {
           Row{"an address", {}, kLoopback, {kGreeting, kRequest}, {yes, kConnected}, 0},
           Row{"only the server knows it", {}, "ca.invalid", {kGreeting, named("ca.invalid")}, {yes, kConnected}, 0},
           Row{"the longest name", {}, longest, {kGreeting, named(longest)}, {yes, kConnected}, 0},
           Row{"credentials", kUser, kLoopback, {kOffer, kLogin, kRequest}, {login, "\1\0"s, kConnected}, 0},
           Row{"an empty password",
               Credentials{"u", ""},
               kLoopback,
               {kOffer, "\1\1u\0"s, kRequest},
               {login, "\1\0"s, kConnected},
               0},
           Row{"a bound name", {}, kLoopback, {kGreeting, kRequest}, {yes, "\5\0\0\3\2"s + "ca\0\1"s}, 0},
           Row{"a bound name of no length", {}, kLoopback, {kGreeting, kRequest}, {yes, "\5\0\0\3\0\0\1"s}, 0},
           Row{"a bound name of 255", {}, kLoopback, {kGreeting, kRequest}, {yes, bound}, 0},
           Row{"method of credentials without any", {}, kLoopback, {kGreeting}, {login}, 1},
           Row{"no method", kUser, kLoopback, {kOffer}, {"\5\xFF"s}, 1},
           Row{"unknown method", kUser, kLoopback, {kOffer}, {"\5\1"s}, 1},
           Row{"SOCKS 4", {}, kLoopback, {kGreeting}, {"\4\0"s}, 1},
           Row{"HTTP", {}, kLoopback, {kGreeting}, {"HTTP/1.1 400 Bad Request\r\n"}, 1},
           Row{"wrong password", kUser, kLoopback, {kOffer, kLogin}, {login, "\1\1"s}, 1},
           Row{"wrong sub-negotiation", kUser, kLoopback, {kOffer, kLogin}, {login, "\5\0"s}, 1},
           Row{"refused with a short reply", {}, kLoopback, {kGreeting, kRequest}, {yes, "\5\2\0\1\0"s}, 2},
           Row{"refused with an unknown field", {}, kLoopback, {kGreeting, kRequest}, {yes, "\5\xC8\0\1\0"s}, 200},
           Row{"bound to IPv6", {}, kLoopback, {kGreeting, kRequest}, {yes, "\5\0\0\4"s + six + six + six}, 1},
           Row{"reserved byte in use", {}, kLoopback, {kGreeting, kRequest}, {yes, "\5\0\1\1"s + six}, 1},
           Row{"version of the reply", {}, kLoopback, {kGreeting, kRequest}, {yes, "\4\0\0\1"s + six}, 1},
           Row{"a short reply", {}, kLoopback, {kGreeting, kRequest}, {yes, "\5\0\0\1\1\1"s}, 1},
           Row{"a short name", {}, kLoopback, {kGreeting, kRequest}, {yes, "\5\0\0\3\xFF" + "ca"s}, 1},
           Row{"nothing", {}, kLoopback, {kGreeting}, {""}, 1},
       }) {
    Dialogue dialogue;
    std::string sent;
    for (std::size_t i = 0; i < row.sent.size(); ++i) {
      dialogue.steps.push_back({row.sent[i].size(), row.replies[i]});
      sent += row.sent[i];
    }
    ScriptedServer server(dialogue);
    everythingThrough(server.port(), row.credentials);
    Transport client;
    client.setTimeout(20);
    EXPECT_EQ(client.connect(row.host, 80), row.error) << row.name;
    EXPECT_EQ(client.isConnected(), row.error == 0) << row.name;
    EXPECT_TRUE(test::eventually([&] { return !server.requests().empty(); }));
    EXPECT_THAT(server.requests(), ElementsAre(sent)) << row.name;
  }
  Transport client;
  EXPECT_EQ(client.connect(std::string(256, 'n'), 80), kSocketError) << "a name too long for the protocol";
  EXPECT_EQ(client.connect("1.2.3.4.5", 80), kSocketError) << "neither an address nor a name";
}

TEST_F(TransportSocks, SilentAndDrippingServersEndInATimeout) {
  struct Row {
    const char* name;
    Dialogue dialogue;
    int error;
  };
  const Row rows[] = {
      {"silent at once", {{{0, ""}}, Then::silence}, 1},
      {"silent after the method", {{{3, "\5\0"s}}, Then::silence}, kSocketTimeout},
      {"dripping a name", {{{3, "\5\0"s}, {10, "\5\0\0\3\xFF"s}}, Then::drip}, kSocketTimeout},
  };
  for (const Row& row : rows) {
    const ScriptedServer server(row.dialogue);
    everythingThrough(server.port());
    Transport client;
    client.setTimeout(1);
    EXPECT_EQ(client.connect(kLoopback, 80), row.error) << row.name;
    EXPECT_FALSE(client.isConnected()) << row.name;
  }
}

}  // namespace
}  // namespace keystrand
