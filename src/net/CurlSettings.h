// What the requests of the libcurl client go by: timeout, proxy, log and CA bundle, set for the whole process.
//
// Thread: any. A request works on a copy taken at its start, so a change reaches the next request, never a running one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "net/Credentials.h"

namespace keystrand {

struct CurlSettings {
  std::string proxyHost;
  int proxyPort = 0;
  long proxyType = 0;  // a value for CURLOPT_PROXYTYPE
  bool proxyActive = false;
  std::optional<Credentials> proxyCredentials;
  std::optional<Credentials> serverCredentials;
  std::optional<std::string> noProxy;  // separated by commas, as CURLOPT_NOPROXY takes it
  std::string logPath;                 // empty: no log
  std::string caFile;                  // empty: the embedded roots
};

// Seconds, for the connection and for the whole transfer; 0 sets no limit, -1 leaves libcurl's defaults. The value
// applies to the next request of this thread, and to every later one of the process until the next call.
void setCurlTimeout(int seconds);
// The timeout of the request that this thread is about to make.
int takeCurlTimeout() noexcept;

// An empty host or a port below 1 switches the proxy off and forgets its credentials. The type becomes HTTP here, SOCKS
// 4 in setCurlSocks, but only when credentials come along; otherwise that of the last call stays in force.
void setCurlProxy(std::string_view host, int port, const std::optional<Credentials>& credentials);
void setCurlSocks(std::string_view host, int port, const std::optional<Credentials>& credentials);
// Present: stored, and the type becomes HTTP; libcurl decodes %XX in both. Absent: forgotten. All else then stays.
void setCurlProxyCredentials(const std::optional<Credentials>& credentials);
// Credentials for the servers themselves (HTTP Basic).
void setCurlAuthorization(const std::optional<Credentials>& credentials);
// False for an entry of more than 128 characters. Patterns are libcurl's: ".example.org", not "*.example.org".
bool addCurlNoProxy(std::string_view entry);

// UTF-8 paths of which the first 259 bytes count; empty for none.
void setCurlLog(std::string_view path);
void setCurlCaFile(std::string_view path);

}  // namespace keystrand
