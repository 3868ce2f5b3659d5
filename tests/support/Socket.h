// TCP sockets of the server fixtures, on loopback only.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace keystrand::test {

// Owns a descriptor.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor();
  [[nodiscard]] int get() const { return number_; }

 private:
  int number_;
};

// A socket that listens on a free port of 127.0.0.1.
Descriptor listenOnLoopback();
std::uint16_t portOf(const Descriptor& listener);
// A port on which nobody listens, for servers that want to open it themselves and for tests of refused connections.
std::uint16_t freePort();
// A connection to 127.0.0.1; holds no descriptor when nobody accepts.
Descriptor connectTo(std::uint16_t port);
// Whether somebody accepts there.
bool accepts(std::uint16_t port);
// Sends a text to 127.0.0.1 and returns all that comes back until the peer closes; empty when it cannot be reached.
std::string ask(std::uint16_t port, std::string_view request);

// Waits until condition() holds, looking again and again; false when it does not within 20 seconds.
bool eventually(const auto& condition);
void pause();

bool eventually(const auto& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    pause();
  }
  return true;
}

}  // namespace keystrand::test
