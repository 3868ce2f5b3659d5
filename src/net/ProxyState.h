// What the socket clients go by: the HTTP proxy, the hosts that go direct, credentials, timeout and version, set for
// the whole process.
//
// Thread: any. A request works on a copy of the state taken at its start.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "net/Credentials.h"

namespace keystrand {

class DiscoveryScript;

struct ProxyState {
  std::string proxyHost;
  int proxyPort = 0;
  std::string proxyAuthLine;   // "Proxy-Authorization: Basic ...", without line end
  std::string serverAuthLine;  // "Authorization: Basic ...", without line end
  bool proxyActive = false;
  bool serverAuthActive = false;                  // serverAuthLine goes with every request
  bool dynamicProxy = false;                      // the proxy is asked for again with each URL
  std::shared_ptr<const DiscoveryScript> script;  // whom to ask then; kept when dynamicProxy is cleared
  std::vector<std::string> noProxyList;
  int timeoutSeconds = -1;        // -1 leaves each connection its own default
  unsigned char httpVersion = 1;  // 1 sends HTTP/1.0, 2 sends HTTP/1.1
};

// The header line (RFC 7617) without line end, empty without credentials.
std::string httpBasicHeader(bool forProxy, const std::optional<Credentials>& credentials);

// An empty host or a port below 1 switches the proxy off. Returns whether it is on.
bool httpSetProxy(std::string_view host, int port, const std::optional<Credentials>& credentials);
// Credentials for the servers themselves. Returns whether they are sent.
bool httpSetAuthorization(const std::optional<Credentials>& credentials);

// A host, or a pattern of "*" and the text from a host's first dot on. A host also enters with its first IPv4 address,
// and so the resolver may block here. False when 64 entries are held.
bool httpAddNoProxy(std::string_view entry);
// Whether requests to this host go through the proxy, if one is set: false for a host on the list.
bool httpUsesProxy(std::string_view host);
bool httpUsesProxy(const ProxyState& state, std::string_view host);

void httpSetTimeout(int seconds);
void httpSetVersion(unsigned char version);

}  // namespace keystrand
