// Datagrams, directly and through the relay of a SOCKS server.
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
using test::ScriptedServer;
using test::SOCKSProxyServer;

constexpr const char* kLoopback = "127.0.0.1";

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
