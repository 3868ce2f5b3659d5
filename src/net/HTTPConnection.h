// The connection of one request of the socket client, over all its hops: where each hop goes, directly or through the
// proxy, and what stands in its request line because of that.
//
// Thread: one at a time.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "net/HeaderRows.h"
#include "net/ProxyState.h"
#include "net/Transport.h"
#include "net/URL.h"

namespace keystrand {

class HTTPConnection {
 public:
  static constexpr int kMostHops = 256;
  static constexpr std::size_t kURLLimit = 511;

  // With the settings in force now.
  HTTPConnection();

  // Leaves the last hop and connects for this URL. 0, kURLRefused or kTransferFailed. Refused is also what is too long
  // or would break out of its line of the header.
  int open(const std::string& url);

  // What the rest is about: the present hop.
  // Whether the request line names the whole URL. Once a hop has gone past the proxy, no later one does.
  [[nodiscard]] bool wantsWholeURL() const noexcept { return throughProxy_ && wholeURLs_; }
  [[nodiscard]] const ParsedURL& url() const noexcept { return url_; }
  [[nodiscard]] std::string_view query() const;
  [[nodiscard]] bool isHTTP10() const noexcept { return settings_.httpVersion == 1; }
  // The end of the request line.
  [[nodiscard]] std::string_view version() const noexcept { return isHTTP10() ? " HTTP/1.0\r\n" : " HTTP/1.1\r\n"; }
  [[nodiscard]] std::string credentialLines() const;

  void send(std::string_view text);
  void send(std::span<const unsigned char> bytes);
  // The header of the answer, false when none comes.
  bool readHeader() { return rows_.read(transport_); }
  [[nodiscard]] const HeaderRows& rows() const noexcept { return rows_; }
  [[nodiscard]] Transport& transport() noexcept { return transport_; }

 private:
  int connect(const std::string& host, int port);

  ProxyState settings_;
  bool wholeURLs_ = true;
  bool throughProxy_ = false;
  std::string text_;  // of the URL
  ParsedURL url_;
  Transport transport_;
  HeaderRows rows_;
};

}  // namespace keystrand
