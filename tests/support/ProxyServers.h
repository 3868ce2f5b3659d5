// Real proxies on free ports of 127.0.0.1: tinyproxy for HTTP, danted for SOCKS 4 and 5.
#pragma once

#include <cstdint>
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
  ProxyServer();
  // Starts the program and waits until the port is open.
  void start(const std::string& program, const std::string& configuration);
  [[nodiscard]] std::string logPath() const { return folder_ / "log"; }

 private:
  TempFolder folder_;
  std::uint16_t port_;
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
