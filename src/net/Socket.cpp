#include "net/Socket.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace keystrand {

void Socket::close() noexcept {
  if (!isOpen()) return;
  shutdown(number_, SHUT_RDWR);
  ::close(number_);
  number_ = -1;
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

int Socket::send(std::span<const unsigned char> bytes, bool more, Deadline until) const noexcept {
  const int flags = MSG_NOSIGNAL | MSG_DONTWAIT | (more ? MSG_MORE : 0);
  while (!bytes.empty()) {
    const ssize_t sent = ::send(number_, bytes.data(), bytes.size(), flags);
    if (sent >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(sent));
    } else if (errno == EAGAIN) {
      if (const int error = await(POLLOUT, until); error != 0) return error == kSocketTimeout ? EAGAIN : error;
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

int Socket::receive(std::span<unsigned char> room, std::size_t& received, Deadline until) const noexcept {
  for (;;) {
    const ssize_t got = recv(number_, room.data(), room.size(), MSG_DONTWAIT);
    if (got > 0) {
      received = static_cast<std::size_t>(got);
      return 0;
    }
    if (got == 0) return kSocketError;
    if (errno == EAGAIN) {
      if (const int error = await(POLLIN, until); error != 0) return error;
    } else if (errno != EINTR) {
      return errno;
    }
  }
}

}  // namespace keystrand
