#include "net/IPv4.h"

#include <arpa/inet.h>
#include <netdb.h>

#include <memory>

#include "net/Socket.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

// Any port will do to ask for the way to a host; nothing is sent.
constexpr std::uint16_t kDiscardPort = 9;

std::vector<in_addr> lookUp(const std::string& name) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0) return {};
  const std::unique_ptr<addrinfo, Releaser<&freeaddrinfo>> owner(found);
  std::vector<in_addr> addresses;
  for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next)
    addresses.push_back(reinterpret_cast<const sockaddr_in*>(entry->ai_addr)->sin_addr);
  return addresses;
}

}  // namespace

bool isDottedNumber(std::string_view host) noexcept {
  return host.find_first_not_of("0123456789.") == std::string_view::npos;
}

std::vector<in_addr> addressesOf(const std::string& host) {
  if (!isDottedNumber(host)) return lookUp(host);
  in_addr address{};
  if (inet_aton(host.c_str(), &address) == 0) return {};
  return {address};
}

std::optional<in_addr> addressOf(const std::string& host) {
  const auto addresses = addressesOf(host);
  if (addresses.empty()) return std::nullopt;
  return addresses.front();
}

std::optional<in_addr> parseAddress(const std::string& dotted) {
  in_addr address{};
  if (inet_pton(AF_INET, dotted.c_str(), &address) != 1) return std::nullopt;
  return address;
}

std::string dottedText(in_addr address) {
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, &address, text, sizeof text);
}

sockaddr_in socketAddress(in_addr address, std::uint16_t port) noexcept {
  sockaddr_in result{};
  result.sin_family = AF_INET;
  result.sin_port = htons(port);
  result.sin_addr = address;
  return result;
}

// The address to which a connected datagram socket is bound.
std::string localAddressFor(const std::string& host) {
  const auto address = addressOf(host);
  if (!address) return {};
  const Socket socket = Socket::create(SOCK_DGRAM);
  sockaddr_in place = socketAddress(*address, kDiscardPort);
  socklen_t size = sizeof place;
  if (connect(socket.number(), reinterpret_cast<const sockaddr*>(&place), size) != 0 ||
      getsockname(socket.number(), reinterpret_cast<sockaddr*>(&place), &size) != 0)
    return {};
  return dottedText(place.sin_addr);
}

}  // namespace keystrand
