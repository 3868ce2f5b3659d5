#include "net/Transport.h"

#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace keystrand {

namespace {

// What became of a connection under way: 0 or an errno. An established one has a peer.
int outcome(const Socket& socket) {
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(socket.number(), SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
  sockaddr_in peer{};
  size = sizeof peer;
  if (error == 0 && getpeername(socket.number(), reinterpret_cast<sockaddr*>(&peer), &size) != 0) return kSocketError;
  return error;
}

// A duplicate handed to others shares the mode. Small writes go out at once.
void settle(const Socket& socket) {
  fcntl(socket.number(), F_SETFL, fcntl(socket.number(), F_GETFL) & ~O_NONBLOCK);
  const int on = 1;
  setsockopt(socket.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

}  // namespace

Transport::Transport(Transport&& other) noexcept
    : stream_(std::move(other.stream_)), datagram_(std::move(other.datagram_)), peer_(other.peer_) {}

int Transport::connect(const std::string& host, std::uint16_t port) {
  if (isConnected()) return kSocketError;
  return connectDirect(host, port);
}

// All addresses share one timeout. One that does not answer ends the attempt, one that refuses hands on to the next.
int Transport::connectDirect(const std::string& host, std::uint16_t port) {
  const auto addresses = addressesOf(host);
  const Deadline until = deadline();
  int error = kSocketError;
  for (const in_addr address : addresses) {
    error = connectTo(address, port, until);
    if (error == 0) return 0;
    if (error == kSocketTimeout) return kSocketError;
  }
  return error;
}

int Transport::connectTo(in_addr address, std::uint16_t port, Deadline until) {
  Socket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket.isOpen()) return errno;
  const sockaddr_in peer = socketAddress(address, port);
  if (::connect(socket.number(), reinterpret_cast<const sockaddr*>(&peer), sizeof peer) != 0) {
    if (errno != EINPROGRESS) return errno;
    if (const int error = socket.await(POLLOUT, until); error != 0) return error;
  }
  if (const int error = outcome(socket); error != 0) return error;
  settle(socket);
  stream_ = std::move(socket);
  peer_ = dottedText(address);
  return 0;
}

// The longest time is what poll can count in milliseconds.
std::chrono::seconds Transport::waitSeconds() const noexcept {
  constexpr std::int32_t kLongest = std::numeric_limits<int>::max() / 1000;
  return std::chrono::seconds(std::clamp(static_cast<std::int32_t>(timeout_), 0, kLongest));
}

Deadline Transport::deadline() const {
  return timeout_ == kNoTimeout ? limit_ : Deadline::earlier(limit_, Deadline::in(waitSeconds()));
}

Transport::Limit::Limit(Transport& transport, int timeouts) : transport_(transport), former_(transport.limit_) {
  if (transport.timeout_ == kNoTimeout) return;
  transport.limit_ = Deadline::earlier(former_, Deadline::in(transport.waitSeconds() * timeouts));
}

}  // namespace keystrand
