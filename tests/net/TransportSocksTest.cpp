// Connections and datagrams through a SOCKS 5 server: a real one, and servers that answer byte by byte what no real one
// would.
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

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
using test::SOCKSProxyServer;
using Then = ScriptedServer::Then;
using Dialogue = ScriptedServer::Dialogue;

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
    for (std::size_t i = 0; i < row.sent.size(); ++i) dialogue.steps.push_back({row.sent[i], row.replies[i]});
    ScriptedServer server(dialogue);
    everythingThrough(server.port(), row.credentials);
    Transport client;
    client.setTimeout(20);
    EXPECT_EQ(client.connect(row.host, 80), row.error) << row.name;
    EXPECT_EQ(client.isConnected(), row.error == 0) << row.name;
    EXPECT_TRUE(server.heardAll()) << row.name;
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

// --- datagrams, directly and through the relay of a SOCKS server

class TransportDatagram : public FreshNetState {};

TEST_F(TransportDatagram, GoesAndComes) {
  const std::uint16_t port = test::freePort();
  const std::uint16_t back = test::freePort();
  Transport here;
  Transport there;
  unsigned char bytes[10];
  std::size_t length = 4;
  there.setTimeout(0);
  EXPECT_EQ(there.receiveFrom("localhost", bytes, length, 0, port), kSocketTimeout);
  EXPECT_EQ(here.sendTo(kLoopback, port, bytesOf("across"), back), 0);
  EXPECT_EQ(here.sendTo("no-such-host.invalid", port, bytesOf("x")), kSocketError);
  length = 4;
  EXPECT_EQ(there.receiveFrom("localhost", bytes, length, 20), 0);
  EXPECT_EQ(textOf(std::span(bytes).first(length)), "acro") << "as much as there is room";
  EXPECT_EQ(there.sendTo("localhost", back, {}), 0);
  length = sizeof bytes;
  EXPECT_EQ(here.receiveFrom(kLoopback, bytes, length, 20), 0);
  EXPECT_EQ(length, 0U);
  EXPECT_EQ(here.sendTo(kLoopback, port, std::vector<unsigned char>(70'000)), EMSGSIZE);
}

// A peer that answers where a datagram came from.
class Echo {
 public:
  Echo() : socket_(Socket::create(SOCK_DGRAM)) { EXPECT_EQ(socket_.bind(0, 0), 0); }

  [[nodiscard]] std::uint16_t port() const { return socket_.localPort(); }

  std::string hear() {
    unsigned char bytes[100];
    socklen_t size = sizeof from_;
    EXPECT_EQ(socket_.await(POLLIN, Deadline::of(20)), 0);
    const ssize_t n = recvfrom(socket_.number(), bytes, sizeof bytes, 0, reinterpret_cast<sockaddr*>(&from_), &size);
    return textOf(std::span(bytes).first(static_cast<std::size_t>(std::max<ssize_t>(n, 0))));
  }
  void answer(std::string_view text) const { EXPECT_EQ(socket_.sendTo(bytesOf(text), from_, Deadline::of(20)), 0); }

 private:
  Socket socket_;
  sockaddr_in from_{};
};

// What arrives, or the error.
std::string received(Transport& transport, const std::string& host) {
  unsigned char bytes[100];
  std::size_t length = sizeof bytes;
  const int error = transport.receiveFrom(host, bytes, length, 20);
  return error == 0 ? textOf(std::span(bytes).first(length)) : "error " + std::to_string(error);
}

TEST_F(TransportDatagram, ThroughARealServer) {
  if (!SOCKSProxyServer::installed()) GTEST_SKIP() << SOCKSProxyServer::kNotInstalled;
  const SOCKSProxyServer proxy;
  Echo echo;
  for (const char* host : {kLoopback, "localhost"}) {
    everythingThrough(proxy.port());
    Transport client;
    ASSERT_EQ(client.sendTo(host, echo.port(), bytesOf("there")), 0);
    EXPECT_EQ(echo.hear(), "there");
    echo.answer("and back");
    EXPECT_EQ(received(client, host), "and back");
    EXPECT_TRUE(client.isConnected()) << "to the server, for the life of the relay";
    EXPECT_TRUE(addSocksDirect("127.0.0.0", "255.0.0.0"));
    ASSERT_EQ(client.sendTo(host, echo.port(), bytesOf("directly")), 0);
    EXPECT_EQ(echo.hear(), "directly");
    echo.answer("without a header");
    EXPECT_EQ(received(client, host), "without a header");
  }
  EXPECT_TRUE(proxy.logged("udp"));
}

TEST_F(TransportDatagram, HeadersOfARelay) {
  Echo relay;
  std::string reply = "\5\0\0\3\x09localhost"s;
  reply.push_back(static_cast<char>(relay.port() >> 8));
  reply.push_back(static_cast<char>(relay.port() & 0xFF));
  ScriptedServer server(ScriptedServer::Dialogue{{{3, "\5\0"s}, {10, reply}}, ScriptedServer::Then::silence});
  everythingThrough(server.port());
  Transport client;
  ASSERT_EQ(client.sendTo("10.1.2.3", 0x1234, bytesOf("x")), 0);
  EXPECT_EQ(relay.hear(), "\0\0\0\1\x0A\1\2\3\x12\x34x"s);
  ASSERT_EQ(client.sendTo("ca.invalid", 0x1234, bytesOf("x")), 0);
  EXPECT_EQ(relay.hear(),
            "\0\0\0\3\x0A"
            "ca.invalid\x12\x34x"s);
  EXPECT_EQ(client.sendTo(std::string(256, 'n'), 1, bytesOf("x")), kSocketError);

  struct Row {
    const char* name;
    std::string datagram, content;
  };
  for (const Row& row :
       {Row{"from an address", "\0\0\0\1\1\1\1\1\0\1ab"s, "ab"}, Row{"from a name", "\0\0\0\3\2it\0\1ab"s, "ab"},
        Row{"from a name of no length", "\0\0\0\3\0\0\1ab"s, "ab"}, Row{"without content", "\0\0\0\1\1\1\1\1\0\1"s, ""},
        Row{"empty", "", "error 1"}, Row{"cut in the address", "\0\0\0\1\1\1\1\1\0"s, "error 1"},
        Row{"cut in the name", "\0\0\0\3\xFFit\0\1ab"s, "error 1"},
        Row{"from IPv6", "\0\0\0\4.an.address.of.16.bytes..."s, "error 1"}}) {
    relay.answer(row.datagram);
    EXPECT_EQ(received(client, "ca.invalid"), row.content) << row.name;
  }
}

TEST_F(TransportDatagram, ARelayRefused) {
  struct Row {
    const char* name;
    std::vector<ScriptedServer::Step> steps;
    int error;
  };
  for (const Row& row : {Row{"command not supported", {{3, "\5\0"s}, {10, "\5\7\0\1\0"s}}, 7},
                         Row{"relay without an address", {{3, "\5\0"s}, {10, "\5\0\0\3\2..\0\1"s}}, 1},
                         Row{"no method", {{3, "\5\xFF"s}}, 1}}) {
    const ScriptedServer server(ScriptedServer::Dialogue{row.steps});
    everythingThrough(server.port());
    Transport client;
    EXPECT_EQ(client.sendTo("10.1.2.3", 9, bytesOf("x")), row.error) << row.name;
    EXPECT_FALSE(client.isConnected()) << row.name;
  }
}

}  // namespace
}  // namespace keystrand
