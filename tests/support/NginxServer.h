// A real web server: nginx with a folder of its own, HTTP and HTTPS on free ports of 127.0.0.1, for the life of the
// object. The certificate is self-signed, made for the name "somebody.else" and expired.
//
//   if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
//   NginxServer server;
//   server.put("/ca.crl", bytes, modified);
//   ... httpsGetTime(server.url("/ca.crl"), buffer) ...
//   EXPECT_EQ(server.count("HEAD", "/ca.crl"), 1);
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "support/Process.h"
#include "support/Socket.h"
#include "support/TempFolder.h"

namespace keystrand::test {

class NginxServer {
 public:
  struct Request {
    std::string method;
    std::string uri;  // as it was sent
    int status;
    bool operator==(const Request&) const = default;
  };

  static constexpr const char* kNotInstalled = "nginx is not installed";
  static bool installed() { return !findProgram("nginx").empty(); }

  // `directives` stand in the server block: "location /old { return 302 /new.crl; }". PUT is allowed below /dav/.
  explicit NginxServer(const std::string& directives = "");

  [[nodiscard]] std::string url(const std::string& path) const;
  [[nodiscard]] std::string httpsURL(const std::string& path) const;
  [[nodiscard]] std::uint16_t port() const { return port_; }

  // Writes a file of the document root; its time is what Last-Modified tells.
  void put(const std::string& path, std::span<const unsigned char> bytes,
           std::optional<std::time_t> modified = std::nullopt) const;
  void put(const std::string& path, std::string_view text, std::optional<std::time_t> modified = std::nullopt) const;
  void remove(const std::string& path) const;
  // The bytes of a file of the document root, as one PUT may have left it.
  [[nodiscard]] std::string content(const std::string& path) const;

  // All requests answered so far, in order; forget() empties the list.
  std::vector<Request> requests();
  int count(std::string_view method, std::string_view uri);
  void forget();

 private:
  bool start(const std::string& directives);
  void writeConfiguration(const std::string& directives) const;
  [[nodiscard]] std::filesystem::path fileOf(const std::string& path) const;
  std::vector<Request> readLog() const;

  TempFolder folder_;
  std::uint16_t port_ = 0;
  std::uint16_t httpsPort_ = 0;
  std::optional<Process> process_;
  int marks_ = 0;
  std::size_t forgotten_ = 0;
};

}  // namespace keystrand::test
