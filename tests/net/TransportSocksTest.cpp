// Connections through a SOCKS 5 server: a real one, and servers that answer byte by byte what no real one would.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

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

  EXPECT_TRUE(addSocksDirect("127.77.0.0", "255.0.0.0"));
  EXPECT_EQ(arrival(kLoopback), kLoopback) << "among the networks";
  EXPECT_EQ(arrival("localhost"), kLoopback);
  everythingThrough(proxy.port());
  EXPECT_TRUE(addSocksDirect("127.0.0.2"));
  EXPECT_EQ(arrival(kLoopback), MicroSocksServer::kAddress);
  EXPECT_EQ(arrival("127.0.0.2"), kLoopback);
  ASSERT_TRUE(setSocks("", 0, {}));
  EXPECT_EQ(arrival(kLoopback), kLoopback) << "switched off";
}

TEST_F(TransportSocks, WithCredentials) {
  if (!MicroSocksServer::installed()) GTEST_SKIP() << MicroSocksServer::kNotInstalled;
  const MicroSocksServer proxy("user", "secret");
  everythingThrough(proxy.port(), kUser);
  EXPECT_EQ(arrival(kLoopback), MicroSocksServer::kAddress);
  EXPECT_EQ(arrival("localhost"), MicroSocksServer::kAddress);
  for (const auto& wrong : {std::optional<Credentials>(), std::optional(Credentials{"user", "wrong"}),
                            std::optional(Credentials{"", "secret"})}) {
    everythingThrough(proxy.port(), wrong);
    EXPECT_EQ(arrival(kLoopback), "error 1");
  }
}

TEST_F(TransportSocks, ARefusalGivesTheReplyField) {
  if (!MicroSocksServer::installed()) GTEST_SKIP() << MicroSocksServer::kNotInstalled;
  const MicroSocksServer proxy;
  everythingThrough(proxy.port());
  Transport client;
  EXPECT_EQ(client.connect(kLoopback, test::freePort()), 5) << "connection refused";
  EXPECT_EQ(client.connect("no-such-host.invalid", 80), 1) << "general failure";
  EXPECT_FALSE(client.isConnected());
  everythingThrough(test::freePort());
  EXPECT_EQ(client.connect(kLoopback, port_), kSocketError) << "no server there";
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
    std::vector<ScriptedServer::Step> steps;
    int error;
    std::string sent;
  };
  const std::string name255(255, 'n');
  const Row rows[] = {
      {"an address", {}, kLoopback, {{3, "\5\0"s}, {10, kConnected}}, 0, kGreeting + kRequest},
      {"a name that only the server knows",
       {},
       "ca.invalid",
       {{3, "\5\0"s}, {17, kConnected}},
       0,
       kGreeting + "\5\1\0\3\x0A"s + "ca.invalid\0\x50"s},
      {"the longest name",
       {},
       name255,
       {{3, "\5\0"s}, {262, kConnected}},
       0,
       kGreeting + "\5\1\0\3\xFF"s + name255 + "\0\x50"s},
      {"credentials", kUser, kLoopback, {{4, "\5\2"s}, {13, "\1\0"s}, {10, kConnected}}, 0, kOffer + kLogin + kRequest},
      {"an empty password",
       Credentials{"u", ""},
       kLoopback,
       {{4, "\5\2"s}, {4, "\1\0"s}, {10, kConnected}},
       0,
       kOffer + "\1\1u\0"s + kRequest},
      {"a bound name", {}, kLoopback, {{3, "\5\0"s}, {10, "\5\0\0\3\2"s + "ca\0\1"s}}, 0, kGreeting + kRequest},
      {"a bound name of no length", {}, kLoopback, {{3, "\5\0"s}, {10, "\5\0\0\3\0\0\1"s}}, 0, kGreeting + kRequest},
      {"a bound name of 255",
       {},
       kLoopback,
       {{3, "\5\0"s}, {10, "\5\0\0\3\xFF"s + name255 + "\0\1"s}},
       0,
       kGreeting + kRequest},

      {"method of credentials without any", {}, kLoopback, {{3, "\5\2"s}}, 1, kGreeting},
      {"no method", kUser, kLoopback, {{4, "\5\xFF"s}}, 1, kOffer},
      {"unknown method", kUser, kLoopback, {{4, "\5\1"s}}, 1, kOffer},
      {"SOCKS 4", {}, kLoopback, {{3, "\4\0"s}}, 1, kGreeting},
      {"HTTP", {}, kLoopback, {{3, "HTTP/1.1 400 Bad Request\r\n"}}, 1, kGreeting},
      {"wrong password", kUser, kLoopback, {{4, "\5\2"s}, {13, "\1\1"s}}, 1, kOffer + kLogin},
      {"wrong sub-negotiation", kUser, kLoopback, {{4, "\5\2"s}, {13, "\5\0"s}}, 1, kOffer + kLogin},
      {"refused with a short reply", {}, kLoopback, {{3, "\5\0"s}, {10, "\5\2\0\1\0"s}}, 2, kGreeting + kRequest},
      {"refused with an unknown field",
       {},
       kLoopback,
       {{3, "\5\0"s}, {10, "\5\xC8\0\1\0"s}},
       200,
       kGreeting + kRequest},
      {"bound to IPv6",
       {},
       kLoopback,
       {{3, "\5\0"s}, {10, "\5\0\0\4"s + std::string(18, '\1')}},
       1,
       kGreeting + kRequest},
      {"reserved byte in use",
       {},
       kLoopback,
       {{3, "\5\0"s}, {10, "\5\0\1\1"s + std::string(6, '\1')}},
       1,
       kGreeting + kRequest},
      {"version of the reply",
       {},
       kLoopback,
       {{3, "\5\0"s}, {10, "\4\0\0\1"s + std::string(6, '\1')}},
       1,
       kGreeting + kRequest},
      {"a short reply", {}, kLoopback, {{3, "\5\0"s}, {10, "\5\0\0\1\1\1"s}}, 1, kGreeting + kRequest},
      {"a short name", {}, kLoopback, {{3, "\5\0"s}, {10, "\5\0\0\3\xFF" + "ca"s}}, 1, kGreeting + kRequest},
      {"nothing", {}, kLoopback, {{3, ""}}, 1, kGreeting},
  };
  for (const Row& row : rows) {
    ScriptedServer server(Dialogue{row.steps});
    everythingThrough(server.port(), row.credentials);
    Transport client;
    client.setTimeout(20);
    EXPECT_EQ(client.connect(row.host, 80), row.error) << row.name;
    EXPECT_EQ(client.isConnected(), row.error == 0) << row.name;
    EXPECT_TRUE(test::eventually([&] { return !server.requests().empty(); }));
    EXPECT_THAT(server.requests(), ElementsAre(row.sent)) << row.name;
  }
  Transport client;
  EXPECT_EQ(client.connect(std::string(256, 'n'), 80), kSocketError) << "a name too long for the protocol";
  EXPECT_EQ(client.connect("1.2.3.4.5", 80), kSocketError) << "neither an address nor a name";
}

TEST_F(TransportSocks, SilentAndDrippingServersCostOneTimeout) {
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
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(client.connect(kLoopback, 80), row.error) << row.name;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4)) << row.name;
    EXPECT_FALSE(client.isConnected()) << row.name;
  }
}

// --- the settings

TEST_F(TransportSocks, SettingsAreTakenWholeOrNotAtAll) {
  const std::string longest(127, 'h');
  EXPECT_TRUE(setSocks(longest, 65535, Credentials{longest, longest}));
  const auto networks = socksState().directNetworks;
  EXPECT_FALSE(networks.empty()) << "loopback at least";
  for (const auto& [host, port, user] : {std::tuple{longest + "h", 1080, "u"s}, std::tuple{"host"s, 65536, "u"s},
                                         std::tuple{"host"s, 1080, longest + "u"}}) {
    EXPECT_FALSE(setSocks(host, port, Credentials{user, "p"}));
    EXPECT_EQ(socksState().host, longest);
    EXPECT_EQ(socksState().credentials->user, longest);
  }
  EXPECT_TRUE(setSocks("host", 1080, {}));
  EXPECT_FALSE(socksState().credentials) << "those of the former server are forgotten";
  EXPECT_EQ(socksState().directNetworks, networks) << "the networks of the machine enter once";
  EXPECT_TRUE(setSocks("host", 0, {}));
  EXPECT_EQ(socksState().host, "");
}

TEST_F(TransportSocks, DirectNetworks) {
  ASSERT_TRUE(setSocks("host", 1080, {}));
  struct Row {
    const char* address;
    const char* mask;
    bool added;
  };
  for (const Row& row : {Row{"10.1.2.3", "255.255.0.0", true}, Row{"255.255.255.255", "255.255.255.255", true},
                         Row{"10.0.0.0", "8", false}, Row{"10.0.0.0", "", false}, Row{"example.it", "255.0.0.0", false},
                         Row{"", "255.0.0.0", false}, Row{"10.0.0.0.0", "255.0.0.0", false}})
    EXPECT_EQ(addSocksDirect(row.address, row.mask), row.added) << row.address << " / " << row.mask;
  struct Place {
    const char* host;
    bool carried;
  };
  for (const Place& place : {Place{"10.1.200.9", false}, Place{"10.2.0.0", true}, Place{"255.255.255.255", false},
                             Place{"127.0.0.1", false}, Place{"localhost", false}, Place{"no-such-host.invalid", true}})
    EXPECT_EQ(socksState().carries(place.host), place.carried) << place.host;
  EXPECT_TRUE(addSocksDirect("0.0.0.0", "0.0.0.0"));
  EXPECT_FALSE(socksState().carries("no-such-host.invalid")) << "counts as 0.0.0.0";
  while (socksState().directNetworks.size() < 64) ASSERT_TRUE(addSocksDirect("10.0.0.1"));
  EXPECT_FALSE(addSocksDirect("10.0.0.1"));
  EXPECT_TRUE(setSocks("host", 1080, {})) << "its networks are there already";
}

}  // namespace
}  // namespace keystrand
