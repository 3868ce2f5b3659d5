#include "net/Socket.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace keystrand {

namespace {

const sockaddr* generic(const sockaddr_in& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

// What became of a connection under way: 0 or an errno. An established one has a peer.
int outcome(int number) noexcept {
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(number, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
  sockaddr_in peer{};
  size = sizeof peer;
  if (error == 0 && getpeername(number, reinterpret_cast<sockaddr*>(&peer), &size) != 0) return errno;
  return error;
}

}  // namespace

Socket Socket::create(int type) noexcept {
  return Socket(::socket(AF_INET, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

void Socket::close() noexcept {
  if (isOpen()) ::close(number_);
  number_ = -1;
}

void Socket::shutDown() noexcept {
  if (isOpen()) shutdown(number_, SHUT_RDWR);
  close();
}

int Socket::bind(std::uint16_t port, int reuse) const noexcept {
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(port);
  if (setsockopt(number_, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse) != 0) return errno;
  return ::bind(number_, generic(place), sizeof place) == 0 ? 0 : errno;
}

std::uint16_t Socket::localPort() const noexcept {
  sockaddr_in place{};
  socklen_t size = sizeof place;
  return getsockname(number_, reinterpret_cast<sockaddr*>(&place), &size) == 0 ? ntohs(place.sin_port) : 0;
}

int Socket::await(short events, Deadline until) const noexcept {
  for (;;) {
    pollfd waiting{number_, events, 0};
    const int ready = poll(&waiting, 1, until.milliseconds());
    if (ready > 0) return 0;
    if (ready < 0 && errno != EINTR) return errno;
    if (until.milliseconds() == 0) return kSocketTimeout;
  }
}

// Makes a call that does not block again and again, waiting in between, until it has a result.
template <class Call>
int Socket::repeat(short events, Deadline until, ssize_t& result, Call call) const noexcept {
  for (;;) {
    result = call();
    if (result >= 0) return 0;
    if (errno == EAGAIN) {
      if (const int error = await(events, until); error != 0) return error;
    } else if (errno != EINTR) {
      return errno;
    }
  }
}

int Socket::connect(const sockaddr_in& peer, Deadline until) const noexcept {
  if (::connect(number_, generic(peer), sizeof peer) == 0) return 0;
  if (errno != EINPROGRESS) return errno;
  const int error = await(POLLOUT, until);
  return error != 0 ? error : outcome(number_);
}

int Socket::accept(Socket& accepted, sockaddr_storage& peer, Deadline until) const noexcept {
  ssize_t number = -1;
  const int error = repeat(POLLIN, until, number, [&] {
    socklen_t size = sizeof peer;
    return accept4(number_, reinterpret_cast<sockaddr*>(&peer), &size, SOCK_CLOEXEC);
  });
  if (error == 0) accepted = Socket(static_cast<int>(number));
  return error;
}

int Socket::send(std::span<const unsigned char> bytes, bool more, Deadline until) const noexcept {
  const int flags = MSG_NOSIGNAL | MSG_DONTWAIT | (more ? MSG_MORE : 0);
  while (!bytes.empty()) {
    ssize_t sent = 0;
    const int error = repeat(POLLOUT, until, sent, [&] { return ::send(number_, bytes.data(), bytes.size(), flags); });
    if (error != 0) return error == kSocketTimeout ? EAGAIN : error;
    bytes = bytes.subspan(static_cast<std::size_t>(sent));
  }
  return 0;
}

int Socket::receive(std::span<unsigned char> room, std::size_t& received, Deadline until) const noexcept {
  const int error = receiveDatagram(room, received, until);
  return error == 0 && received == 0 ? kSocketError : error;
}

int Socket::sendTo(std::span<const unsigned char> bytes, const sockaddr_in& to, Deadline until) const noexcept {
  ssize_t sent = 0;
  const int error = repeat(POLLOUT, until, sent, [&] {
    return sendto(number_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT, generic(to), sizeof to);
  });
  return error == kSocketTimeout ? EAGAIN : error;
}

int Socket::receiveDatagram(std::span<unsigned char> room, std::size_t& received, Deadline until) const noexcept {
  ssize_t got = 0;
  const int error = repeat(POLLIN, until, got, [&] { return recv(number_, room.data(), room.size(), MSG_DONTWAIT); });
  received = error == 0 ? static_cast<std::size_t>(got) : 0;
  return error;
}

}  // namespace keystrand
