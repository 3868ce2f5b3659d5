// Datagrams, and their way through a SOCKS server (RFC 1928 section 7).
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "net/Socks.h"
#include "net/Transport.h"

namespace keystrand {

namespace {

constexpr int kSocketLimit = 65536;  // numbers of datagram sockets stay below
constexpr int kNoSocket = -1;
constexpr std::size_t kLargestDatagram = 65536;

// The bytes of a relayed datagram behind its header; nothing when it is cut short or of another kind.
std::optional<std::span<const unsigned char>> unwrap(std::span<const unsigned char> datagram) {
  constexpr std::size_t kIPv4Header = 10;
  constexpr std::size_t kNameHeader = 7;
  constexpr std::size_t kTypeAt = 3;
  constexpr std::size_t kNameLengthAt = 4;
  if (datagram.size() <= kNameLengthAt) return std::nullopt;
  const bool isName = datagram[kTypeAt] == socks::kDomainName;
  if (!isName && datagram[kTypeAt] != socks::kIPv4) return std::nullopt;
  const std::size_t header = isName ? datagram[kNameLengthAt] + kNameHeader : kIPv4Header;
  if (datagram.size() < header) return std::nullopt;
  return datagram.subspan(header);
}

}  // namespace

int Transport::sendTo(const std::string& host, std::uint16_t port, std::span<const unsigned char> bytes,
                      std::uint16_t localPort) {
  const SocksState server = socksState();
  const bool relayed = server.carries(host);
  if (const int error = prepareDatagrams(server, relayed, localPort); error != 0) return error;
  if (relayed) {
    socks::Message datagram{socks::kReserved, socks::kReserved, socks::kWholeDatagram};
    if (!socks::putDestination(datagram, host, port)) return kSocketError;
    datagram.insert(datagram.end(), bytes.begin(), bytes.end());
    return datagram_.sendTo(datagram, *relay_, deadline());
  }
  const auto address = addressOf(host);
  return address ? datagram_.sendTo(bytes, socketAddress(*address, port), deadline()) : kSocketError;
}

int Transport::receiveFrom(const std::string& host, std::span<unsigned char> bytes, std::size_t& length,
                           std::int64_t seconds, std::uint16_t localPort) {
  const std::size_t room = std::min(bytes.size(), length);
  length = 0;
  const SocksState server = socksState();
  const bool relayed = server.carries(host);
  if (!relayed && !addressOf(host)) return kSocketError;
  if (const int error = prepareDatagrams(server, relayed, localPort); error != 0) return error;

  std::vector<unsigned char> block(kLargestDatagram);
  std::size_t received = 0;
  const Deadline until = seconds == 0 ? deadline() : Deadline::of(seconds);
  if (const int error = datagram_.receiveDatagram(block, received, until); error != 0) return error;
  const std::span<const unsigned char> datagram(block.data(), received);
  const auto content = relayed ? unwrap(datagram) : datagram;
  if (!content) return kSocketError;
  length = std::min(room, content->size());
  std::copy_n(content->begin(), length, bytes.begin());
  return 0;
}

// A bound socket, and with SOCKS a relay for it.
int Transport::prepareDatagrams(const SocksState& server, bool relayed, std::uint16_t localPort) {
  if (relayed && !relay_) return associate(server, localPort);
  return datagram_.isOpen() ? 0 : openDatagramSocket(localPort);
}

int Transport::openDatagramSocket(std::uint16_t localPort) {
  Socket socket = Socket::create(SOCK_DGRAM);
  if (!socket.isOpen() || socket.number() >= kSocketLimit) return kNoSocket;
  if (const int error = socket.bind(localPort, reuse_); error != 0) return error;
  datagram_ = std::move(socket);
  return 0;
}

// The server is told the port from which the datagrams will come. The stream stays open as long as the relay is wanted.
int Transport::associate(const SocksState& server, std::uint16_t localPort) {
  if (isConnected() || !greet(server)) return kSocketError;
  int error = datagram_.isOpen() ? 0 : openDatagramSocket(localPort);
  if (error == 0) error = requestRelay();
  if (error != 0) close();
  return error;
}

int Transport::requestRelay() {
  socks::Message message{socks::kVersion, socks::kUDPAssociate, socks::kReserved};
  socks::putDestination(message, "0.0.0.0", datagram_.localPort());
  SocksReply reply;
  if (const int error = request(message, reply); error != 0) return error;
  const auto address = addressOf(reply.host);
  if (!address) return kSocketError;
  relay_ = socketAddress(*address, reply.port);
  return 0;
}

}  // namespace keystrand
