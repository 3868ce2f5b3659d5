#include "net/ProxyState.h"

#include <arpa/inet.h>
#include <netdb.h>

#include <algorithm>
#include <memory>

#include "net/NetState.h"
#include "support/Base64.h"

namespace keystrand {

namespace {

// Entries; the address of the last host may come on top.
constexpr std::size_t kNoProxyLimit = 64;

bool isPatternOrAddress(std::string_view entry) {
  return entry.starts_with('*') || entry.find_first_not_of("0123456789.") == std::string_view::npos;
}

struct AddressesRelease {
  void operator()(addrinfo* first) const noexcept { freeaddrinfo(first); }
};
using Addresses = std::unique_ptr<addrinfo, AddressesRelease>;

// The first IPv4 address of a host as dotted text, nothing when the name does not resolve.
std::optional<std::string> resolve(const std::string& host) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0) return std::nullopt;
  const Addresses addresses(found);
  char text[NI_MAXHOST];
  if (getnameinfo(found->ai_addr, found->ai_addrlen, text, sizeof text, nullptr, 0, NI_NUMERICHOST) != 0)
    return std::nullopt;
  return text;
}

bool goesDirect(std::string_view host, std::string_view entry) {
  if (entry == host) return true;
  const std::size_t dot = host.find('.');
  return entry.starts_with('*') && dot != std::string_view::npos && entry.substr(1) == host.substr(dot);
}

}  // namespace

std::string httpBasicHeader(bool forProxy, const std::optional<Credentials>& credentials) {
  if (!credentials) return {};
  const std::string pair = credentials->user + ":" + credentials->password;
  return (forProxy ? "Proxy-Authorization: Basic " : "Authorization: Basic ") +
         encodeBase64({reinterpret_cast<const unsigned char*>(pair.data()), pair.size()});
}

bool httpSetProxy(std::string_view host, int port, const std::optional<Credentials>& credentials) {
  const bool active = !host.empty() && port >= 1;
  return NetState::instance().change([&](NetSettings& net) {
    net.http.dynamicProxy = false;
    net.http.proxyHost = active ? host : "";
    net.http.proxyPort = active ? port : 0;
    net.http.proxyAuthLine = active ? httpBasicHeader(true, credentials) : "";
    return net.http.proxyActive = active;
  });
}

bool httpSetAuthorization(const std::optional<Credentials>& credentials) {
  return NetState::instance().change([&](NetSettings& net) {
    net.http.serverAuthLine = httpBasicHeader(false, credentials);
    return net.http.serverAuthActive = credentials.has_value();
  });
}

bool httpAddNoProxy(std::string_view entry) {
  NetState& state = NetState::instance();
  const bool added = state.change([&](NetSettings& net) {
    if (net.http.noProxyList.size() >= kNoProxyLimit) return false;
    net.http.noProxyList.emplace_back(entry);
    return true;
  });
  if (!added || isPatternOrAddress(entry)) return added;
  if (const auto address = resolve(std::string(entry)))
    state.change([&](NetSettings& net) {
      if (net.http.noProxyList.size() <= kNoProxyLimit) net.http.noProxyList.push_back(*address);
    });
  return true;
}

bool httpUsesProxy(std::string_view host) {
  return NetState::instance().change([&](const NetSettings& net) {
    const auto& list = net.http.noProxyList;
    return net.http.dynamicProxy ||
           std::none_of(list.begin(), list.end(), [&](const std::string& entry) { return goesDirect(host, entry); });
  });
}

void httpSetTimeout(int seconds) {
  NetState::instance().change([&](NetSettings& net) { net.http.timeoutSeconds = seconds; });
}

void httpSetVersion(unsigned char version) {
  NetState::instance().change([&](NetSettings& net) { net.http.httpVersion = version; });
}

}  // namespace keystrand
