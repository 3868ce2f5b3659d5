// Real proxies on free ports of 127.0.0.1: tinyproxy for HTTP, danted for SOCKS 4 and 5.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "support/Process.h"
#include "support/TempFolder.h"

namespace keystrand::test {

class ProxyServer {
 public:
  [[nodiscard]] std::uint16_t port() const { return port_; }
  // Whether its log holds the text by now, or soon will.
  [[nodiscard]] bool logged(const std::string& text) const;

 protected:
  using Configuration = std::function<std::string(const std::string& port)>;

  ProxyServer() = default;
  // Starts the program on a free port and waits until that is open.
  void start(const std::string& program, const Configuration& configuration);
  [[nodiscard]] std::string logPath() const { return folder_ / "log"; }

 private:
  TempFolder folder_;
  std::uint16_t port_ = 0;
  std::optional<Process> process_;
};

class HTTPProxyServer : public ProxyServer {
 public:
  static constexpr const char* kNotInstalled = "tinyproxy is not installed";
  static bool installed() { return !findProgram("tinyproxy").empty(); }

  // With a user it asks for these credentials. Answers carry "Via: 1.1 tinyproxy ..." to the server.
  explicit HTTPProxyServer(const std::string& user = "", const std::string& password = "");
};

class SOCKSProxyServer : public ProxyServer {
 public:
  static constexpr const char* kNotInstalled = "danted is not installed";
  static bool installed() { return !findProgram("danted").empty(); }

  SOCKSProxyServer();
};

}  // namespace keystrand::test
