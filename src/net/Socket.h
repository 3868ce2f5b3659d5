// A socket and the calls that wait: none goes on after its deadline, whatever the mode of the descriptor, none raises
// SIGPIPE, none ends early because of a signal, and the number of the descriptor may be of any size.
#pragma once

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
  Socket(Socket&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Socket& operator=(Socket&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Socket() { close(); }

  [[nodiscard]] int number() const noexcept { return number_; }
  [[nodiscard]] bool isOpen() const noexcept { return number_ >= 0; }
  // Ends both directions for every duplicate of the socket, then closes this one.
  void close() noexcept;

  // Waits for POLLIN or POLLOUT: 0, kSocketTimeout or an errno.
  [[nodiscard]] int await(short events, Deadline until) const noexcept;
  // All of the bytes: 0 or an errno, EAGAIN when the deadline passed. `more` tells that further bytes follow at once.
  [[nodiscard]] int send(std::span<const unsigned char> bytes, bool more, Deadline until) const noexcept;
  // At least one byte: 0, kSocketError when the peer has closed, kSocketTimeout or an errno.
  [[nodiscard]] int receive(std::span<unsigned char> room, std::size_t& received, Deadline until) const noexcept;

 private:
  int number_;
};

}  // namespace keystrand
