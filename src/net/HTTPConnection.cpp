#include "net/HTTPConnection.h"

#include <limits>

#include "net/HTTPResult.h"
#include "net/NetState.h"
#include "net/ProxyDiscovery.h"

namespace keystrand {

namespace {

// Percent coding lets a line feed or a NUL into a path, and a location or a page may hold them as they are.
bool leavesItsLine(std::string_view text) {
  using namespace std::string_view_literals;
  return text.find_first_of("\r\n\0"sv) != std::string_view::npos;
}

}  // namespace

HTTPConnection::HTTPConnection() : settings_(NetState::instance().snapshot().http) {
  if (settings_.timeoutSeconds != -1) transport_.setTimeout(settings_.timeoutSeconds);
}

int HTTPConnection::open(const std::string& url) {
  transport_.close();
  const auto parsed = httpParseURL(url, false);
  if (!parsed || url.size() > kURLLimit) return kURLRefused;
  if (leavesItsLine(url) || leavesItsLine(parsed->path.value_or(""))) return kURLRefused;
  text_ = url;
  url_ = *parsed;

  if (settings_.dynamicProxy) resolveProxy(url, url_.host, settings_);
  throughProxy_ = settings_.proxyActive && httpUsesProxy(settings_, url_.host);
  if (throughProxy_) return connect(settings_.proxyHost, settings_.proxyPort);
  if (settings_.proxyActive) wholeURLs_ = false;
  return connect(url_.host, url_.port);
}

int HTTPConnection::connect(const std::string& host, int port) {
  if (port < 1 || port > std::numeric_limits<std::uint16_t>::max()) return kTransferFailed;
  transport_.connect(host, static_cast<std::uint16_t>(port));
  return transport_.isConnected() ? 0 : kTransferFailed;
}

std::string_view HTTPConnection::query() const {
  return url_.path ? std::string_view(text_).substr(url_.queryOffset) : std::string_view();
}

std::string HTTPConnection::credentialLines() const {
  std::string lines;
  if (wantsWholeURL() && !settings_.proxyAuthLine.empty()) lines += settings_.proxyAuthLine + "\r\n";
  if (settings_.serverAuthActive && !settings_.serverAuthLine.empty()) lines += settings_.serverAuthLine + "\r\n";
  return lines;
}

void HTTPConnection::send(std::string_view text) {
  send({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

// A peer that stops listening may have answered already: what went wrong shows when its answer is read.
void HTTPConnection::send(std::span<const unsigned char> bytes) {
  transport_.write(bytes);
}

}  // namespace keystrand
