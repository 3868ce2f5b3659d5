#include "net/Transport.h"

#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "net/ReadProgress.h"

namespace keystrand {

namespace {

int sizeOf(const Socket& socket, int option) noexcept {
  int bytes = 0;
  socklen_t size = sizeof bytes;
  return getsockopt(socket.number(), SOL_SOCKET, option, &bytes, &size) == 0 ? bytes : -1;
}

int setSize(const Socket& socket, int option, int bytes) noexcept {
  if (!socket.isOpen()) return kSocketError;
  return setsockopt(socket.number(), SOL_SOCKET, option, &bytes, sizeof bytes) == 0 ? 0 : errno;
}

}  // namespace

Transport::Transport(Transport&& other) noexcept
    : stream_(std::move(other.stream_)),
      datagram_(std::move(other.datagram_)),
      relay_(std::exchange(other.relay_, std::nullopt)) {
  peer_ = other.peer_;  // a copy: the listener still tells who came last
}

Transport::~Transport() {
  close();
  closeListener();
}

int Transport::connect(const std::string& host, std::uint16_t port) {
  if (ReadProgress::cancelled() || isConnected() || listening_.isOpen()) return kSocketError;
  const SocksState server = socksState();
  return server.carries(host) ? connectThrough(server, host, port) : connectDirect(host, port);
}

void Transport::close() noexcept {
  stream_.shutDown();
  relay_.reset();
}

// All addresses share one timeout. One that does not answer ends the attempt, one that refuses hands on to the next.
int Transport::connectDirect(const std::string& host, std::uint16_t port) {
  const auto addresses = addressesOf(host);
  const Deadline until = Deadline::earlier(limit_, Deadline::patient(timeout_));
  int error = kSocketError;
  for (const in_addr address : addresses) {
    error = connectTo(address, port, until);
    if (error == 0) return 0;
    if (error == kSocketTimeout) return kSocketError;
  }
  return error;
}

int Transport::connectTo(in_addr address, std::uint16_t port, Deadline until) {
  Socket socket = Socket::create(SOCK_STREAM);
  if (!socket.isOpen()) return errno;
  if (const int error = socket.connect(socketAddress(address, port), until); error != 0) return error;
  adopt(std::move(socket), dottedText(address));
  return 0;
}

// From here on others may use duplicates of the socket, which share its mode. Small writes go out at once.
void Transport::adopt(Socket socket, std::string peer) noexcept {
  const int on = 1;
  fcntl(socket.number(), F_SETFL, fcntl(socket.number(), F_GETFL) & ~O_NONBLOCK);
  setsockopt(socket.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  stream_ = std::move(socket);
  peer_ = std::move(peer);
}

int Transport::receiveBufferSize() const noexcept {
  return sizeOf(stream_, SO_RCVBUF);
}

int Transport::sendBufferSize() const noexcept {
  return sizeOf(stream_, SO_SNDBUF);
}

int Transport::setReceiveBufferSize(int bytes) noexcept {
  return setSize(stream_, SO_RCVBUF, bytes);
}

int Transport::setSendBufferSize(int bytes) noexcept {
  return setSize(stream_, SO_SNDBUF, bytes);
}

Transport::Limit::Limit(Transport& transport, int timeouts) : transport_(transport), former_(transport.limit_) {
  if (transport.timeout_ == kNoTimeout) return;
  transport.limit_ = Deadline::earlier(former_, Deadline::in(patienceOf(transport.timeout_) * timeouts));
}

}  // namespace keystrand
