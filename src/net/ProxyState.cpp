#include "net/ProxyState.h"

#include <algorithm>

#include "net/IPv4.h"
#include "net/NetState.h"
#include "support/Base64.h"

namespace keystrand {

namespace {

// Entries; the address of the last host may come on top.
constexpr std::size_t kNoProxyLimit = 64;

bool isPatternOrAddress(std::string_view entry) {
  return entry.starts_with('*') || isDottedNumber(entry);
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
  if (const auto address = addressOf(std::string(entry)))
    state.change([&](NetSettings& net) {
      if (net.http.noProxyList.size() <= kNoProxyLimit) net.http.noProxyList.push_back(dottedText(*address));
    });
  return true;
}

bool httpUsesProxy(std::string_view host) {
  return NetState::instance().change([&](const NetSettings& net) { return httpUsesProxy(net.http, host); });
}

bool httpUsesProxy(const ProxyState& state, std::string_view host) {
  return state.dynamicProxy || std::none_of(state.noProxyList.begin(), state.noProxyList.end(),
                                            [&](const std::string& entry) { return goesDirect(host, entry); });
}

void httpSetTimeout(int seconds) {
  NetState::instance().change([&](NetSettings& net) { net.http.timeoutSeconds = seconds; });
}

void httpSetVersion(unsigned char version) {
  NetState::instance().change([&](NetSettings& net) { net.http.httpVersion = version; });
}

}  // namespace keystrand
