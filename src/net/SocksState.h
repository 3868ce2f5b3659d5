// The SOCKS 5 server (RFC 1928) of all socket connections of the process, and the networks that are reached without it.
//
// Thread: any. A connection works on a copy of the state taken at its start.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "net/Credentials.h"

namespace keystrand {

// Both in network byte order; bits of the address outside the mask are 0.
struct IPv4Network {
  in_addr_t address;
  in_addr_t mask;
  bool operator==(const IPv4Network&) const = default;
};

struct SocksState {
  std::string host;  // empty: no SOCKS
  std::uint16_t port = 0;
  std::optional<Credentials> credentials;
  std::vector<IPv4Network> directNetworks;

  // Whether a connection to this host goes through the server. A name is looked up for that, and one without an address
  // counts as 0.0.0.0: it goes to the server, which may know better.
  [[nodiscard]] bool carries(const std::string& destination) const;
};

[[nodiscard]] SocksState socksState();

// The networks of this machine's first six interfaces become direct ones. An empty host or a port below 1 switches
// SOCKS off. False, with the state as it was, when host, user or password are longer than 127 bytes, the port is above
// 65535 or the interfaces cannot be listed; false too when the list of networks is full.
bool setSocks(std::string_view host, int port, const std::optional<Credentials>& credentials);
// Four numbers with dots each; host names and prefix lengths are no addresses. False for others, and when the list
// holds 64 entries.
bool addSocksDirect(const std::string& address, const std::string& mask = "255.255.255.255");

}  // namespace keystrand
