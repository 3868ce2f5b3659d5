// The stream of a Transport, with peers that speak, are silent, drip or vanish.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "net/Transport.h"
#include "support/ScriptedServer.h"

namespace keystrand {
namespace {

using test::ScriptedServer;
using Then = ScriptedServer::Then;

constexpr const char* kLoopback = "127.0.0.1";

std::span<const unsigned char> bytesOf(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string textOf(const Buffer& buffer) {
  const auto bytes = buffer.range(0, buffer.size());
  return {bytes.begin(), bytes.end()};
}

TEST(Transport, CarriesBytesBothWays) {
  std::string long5000(5000, 'x');
  ScriptedServer server({{long5000}});
  Transport transport;
  ASSERT_EQ(transport.connect("localhost", server.port()), 0);
  EXPECT_EQ(transport.peerAddress(), kLoopback);
  EXPECT_EQ(transport.connect(kLoopback, server.port()), kSocketError) << "connected already";
  const std::string request = "Content-Length: 3000\r\n\r\n" + std::string(3000, 'r');
  EXPECT_EQ(transport.write(bytesOf(request)), 0);
  Buffer buffer(4096);
  EXPECT_EQ(transport.read(buffer, 4096), 0);
  EXPECT_EQ(transport.read(buffer, 1), kSocketError) << "no room";
  buffer.reserve(8192);
  EXPECT_EQ(transport.read(buffer, 905), kSocketError) << "the peer closes";
  EXPECT_EQ(textOf(buffer), long5000);
  EXPECT_THAT(server.requests(), testing::ElementsAre(request));
}

}  // namespace
}  // namespace keystrand
