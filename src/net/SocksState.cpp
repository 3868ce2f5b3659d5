#include "net/SocksState.h"

#include <ifaddrs.h>

#include <algorithm>
#include <memory>

#include "net/IPv4.h"
#include "net/NetState.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

constexpr std::size_t kTextLimit = 127;
constexpr std::size_t kNetworkLimit = 64;
constexpr std::size_t kInterfaceLimit = 6;
constexpr int kHighestPort = 65535;

bool fits(std::string_view host, int port, const std::optional<Credentials>& credentials) {
  return host.size() <= kTextLimit && port <= kHighestPort &&
         (!credentials || (credentials->user.size() <= kTextLimit && credentials->password.size() <= kTextLimit));
}

in_addr_t addressOf(const sockaddr* address) {
  if (address == nullptr || address->sa_family != AF_INET) return INADDR_ANY;
  return reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr;
}

// Those of the first interfaces with an address; nothing when they cannot be listed.
std::optional<std::vector<IPv4Network>> localNetworks() {
  ifaddrs* first = nullptr;
  if (getifaddrs(&first) != 0) return std::nullopt;
  const std::unique_ptr<ifaddrs, Releaser<&freeifaddrs>> owner(first);
  std::vector<IPv4Network> networks;
  for (const ifaddrs* entry = first; entry != nullptr && networks.size() < kInterfaceLimit; entry = entry->ifa_next) {
    const in_addr_t address = addressOf(entry->ifa_addr);
    if (address == INADDR_ANY || entry->ifa_netmask == nullptr) continue;
    const in_addr_t mask = reinterpret_cast<const sockaddr_in*>(entry->ifa_netmask)->sin_addr.s_addr;
    networks.push_back({address & mask, mask});
  }
  return networks;
}

bool add(std::vector<IPv4Network>& list, const IPv4Network& network) {
  if (list.size() >= kNetworkLimit) return false;
  list.push_back(network);
  return true;
}

// A server set again does not fill the list with the same networks.
bool addNew(std::vector<IPv4Network>& list, const IPv4Network& network) {
  return std::find(list.begin(), list.end(), network) != list.end() || add(list, network);
}

}  // namespace

bool SocksState::carries(const std::string& destination) const {
  if (host.empty()) return false;
  const in_addr_t address = keystrand::addressOf(destination).value_or(in_addr{INADDR_ANY}).s_addr;
  return std::none_of(directNetworks.begin(), directNetworks.end(),
                      [&](const IPv4Network& network) { return (address & network.mask) == network.address; });
}

SocksState socksState() {
  return NetState::instance().change([](const NetSettings& net) { return net.socks; });
}

bool setSocks(std::string_view host, int port, const std::optional<Credentials>& credentials) {
  if (!fits(host, port, credentials)) return false;
  const bool active = !host.empty() && port >= 1;
  const auto networks = active ? localNetworks() : std::vector<IPv4Network>();
  if (!networks) return false;
  return NetState::instance().change([&](NetSettings& net) {
    net.socks.host = active ? host : "";
    net.socks.port = static_cast<std::uint16_t>(active ? port : 0);
    net.socks.credentials = active && credentials && !credentials->user.empty() ? credentials : std::nullopt;
    return std::all_of(networks->begin(), networks->end(),
                       [&](const IPv4Network& network) { return addNew(net.socks.directNetworks, network); });
  });
}

bool addSocksDirect(const std::string& address, const std::string& mask) {
  const auto network = parseAddress(address);
  const auto bits = parseAddress(mask);
  if (!network || !bits) return false;
  return NetState::instance().change([&](NetSettings& net) {
    return add(net.socks.directNetworks, {network->s_addr & bits->s_addr, bits->s_addr});
  });
}

}  // namespace keystrand
