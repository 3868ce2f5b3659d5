#include "net/CurlSettings.h"

#include <curl/curl.h>

#include <atomic>

#include "net/NetState.h"

namespace keystrand {

namespace {

constexpr std::size_t kPathLimit = 259;
constexpr std::size_t kNoProxyEntryLimit = 128;

constexpr int kNoTimeout = -1;
std::atomic<int> lastTimeout{kNoTimeout};
// What this thread has set since its last request: another thread's call in between must not take its place.
thread_local std::optional<int> ownTimeout;

void setProxy(std::string_view host, int port, const std::optional<Credentials>& credentials, long type) {
  const bool active = !host.empty() && port >= 1;
  NetState::instance().change([&](NetSettings& net) {
    net.curl.proxyHost = active ? host : "";
    net.curl.proxyPort = active ? port : 0;
    net.curl.proxyActive = active;
    net.curl.proxyCredentials = active ? credentials : std::nullopt;
    // Without credentials the type of an earlier call stays, so a SOCKS proxy without credentials is spoken to in HTTP.
    if (net.curl.proxyCredentials) net.curl.proxyType = type;
  });
}

}  // namespace

void setCurlTimeout(int seconds) {
  lastTimeout = seconds;
  ownTimeout = seconds;
}

int takeCurlTimeout() noexcept {
  const int seconds = ownTimeout.value_or(lastTimeout);
  ownTimeout.reset();
  return seconds;
}

void setCurlProxy(std::string_view host, int port, const std::optional<Credentials>& credentials) {
  setProxy(host, port, credentials, CURLPROXY_HTTP);
}

void setCurlSocks(std::string_view host, int port, const std::optional<Credentials>& credentials) {
  setProxy(host, port, credentials, CURLPROXY_SOCKS4);
}

void setCurlProxyCredentials(const std::optional<Credentials>& credentials) {
  NetState::instance().change([&](NetSettings& net) {
    net.curl.proxyCredentials = credentials;
    if (credentials) net.curl.proxyType = CURLPROXY_HTTP;
  });
}

void setCurlAuthorization(const std::optional<Credentials>& credentials) {
  NetState::instance().change([&](NetSettings& net) { net.curl.serverCredentials = credentials; });
}

bool addCurlNoProxy(std::string_view entry) {
  if (entry.size() > kNoProxyEntryLimit) return false;
  NetState::instance().change([&](NetSettings& net) {
    if (net.curl.noProxy)
      net.curl.noProxy->append(",").append(entry);
    else
      net.curl.noProxy = entry;
  });
  return true;
}

void setCurlLog(std::string_view path) {
  NetState::instance().change([&](NetSettings& net) { net.curl.logPath = path.substr(0, kPathLimit); });
}

void setCurlCaFile(std::string_view path) {
  NetState::instance().change([&](NetSettings& net) { net.curl.caFile = path.substr(0, kPathLimit); });
}

}  // namespace keystrand
