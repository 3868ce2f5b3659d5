// A socket and the calls that wait: none goes on after its deadline, whatever the mode of the descriptor, none raises
// SIGPIPE, none ends early because of a signal, and the number of the descriptor may be of any size.
#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <cstddef>
#include <span>
#include <utility>

#include "net/Deadline.h"

namespace keystrand {

// Error numbers of sockets and of Transport beside those of errno; 0 is success.
constexpr int kSocketError = 1;      // wrong state, unknown host, or the peer has closed
constexpr int kSocketTimeout = 145;  // the deadline passed, or the reading was cancelled

class Socket {
 public:
  explicit Socket(int number = -1) noexcept : number_(number) {}
  // A new one of the Internet family, for SOCK_STREAM or SOCK_DGRAM, that does not block.
  static Socket create(int type) noexcept;
  Socket(Socket&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Socket& operator=(Socket&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Socket() { close(); }

  [[nodiscard]] int number() const noexcept { return number_; }
  [[nodiscard]] bool isOpen() const noexcept { return number_ >= 0; }
  void close() noexcept;
  // Ends both directions, for duplicates of the socket too, and closes it.
  void shutDown() noexcept;
  [[nodiscard]] std::uint16_t localPort() const noexcept;
  // To a port of all interfaces; `reuse` is the value of SO_REUSEADDR. 0 or an errno.
  [[nodiscard]] int bind(std::uint16_t port, int reuse) const noexcept;

  // Waits for POLLIN or POLLOUT: 0, kSocketTimeout or an errno.
  [[nodiscard]] int await(short events, Deadline until) const noexcept;
  // Waits until the peer has accepted: 0, kSocketTimeout or an errno.
  [[nodiscard]] int connect(const sockaddr_in& peer, Deadline until) const noexcept;
  [[nodiscard]] int accept(Socket& accepted, sockaddr_storage& peer, Deadline until) const noexcept;
  // All of the bytes: 0 or an errno, EAGAIN when the deadline passed. `more` tells that further bytes follow at once.
  [[nodiscard]] int send(std::span<const unsigned char> bytes, bool more, Deadline until) const noexcept;
  // At least one byte: 0, kSocketError when the peer has closed, kSocketTimeout or an errno.
  [[nodiscard]] int receive(std::span<unsigned char> room, std::size_t& received, Deadline until) const noexcept;
  // One datagram, which may be empty; what does not fit is lost.
  [[nodiscard]] int sendTo(std::span<const unsigned char> bytes, const sockaddr_in& to, Deadline until) const noexcept;
  [[nodiscard]] int receiveDatagram(std::span<unsigned char> room, std::size_t& received,
                                    Deadline until) const noexcept;

 private:
  template <class Call>
  int repeat(short events, Deadline until, ssize_t& result, Call call) const noexcept;

  int number_;
};

}  // namespace keystrand
