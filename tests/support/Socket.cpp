#include "support/Socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

namespace keystrand::test {
namespace {

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

Descriptor::~Descriptor() {
  if (number_ >= 0) close(number_);
}

Descriptor listenOnLoopback() {
  Descriptor listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_in address = loopback(0);
  if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener.get(), 64) != 0)
    throw std::runtime_error("cannot listen on loopback");
  return listener;
}

std::uint16_t portOf(const Descriptor& listener) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

std::uint16_t freePort() {
  return portOf(listenOnLoopback());
}

Descriptor connectTo(std::uint16_t port) {
  Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_in address = loopback(port);
  if (connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return Descriptor();
  return socket;
}

bool accepts(std::uint16_t port) {
  return connectTo(port).get() >= 0;
}

std::string ask(std::uint16_t port, std::string_view request) {
  const Descriptor socket = connectTo(port);
  if (socket.get() < 0 ||
      send(socket.get(), request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size()))
    return {};
  std::string answer;
  char piece[4096];
  for (ssize_t n = 0; (n = recv(socket.get(), piece, sizeof piece, 0)) > 0;)
    answer.append(piece, static_cast<std::size_t>(n));
  return answer;
}

void pause() {
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

}  // namespace keystrand::test
