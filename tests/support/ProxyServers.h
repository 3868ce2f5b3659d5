// Real proxies on free ports of 127.0.0.1: tinyproxy for HTTP, danted for SOCKS 4 and 5, microsocks for SOCKS 5.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/Process.h"
#include "support/TempFolder.h"

namespace keystrand::test {

class ProxyServer {
 public:
  [[nodiscard]] std::uint16_t port() const { return port_; }
  // Whether its log holds the text by now, or soon will.
  [[nodiscard]] bool logged(const std::string& text) const;

 protected:
  ProxyServer() = default;
  void start(const CommandOnPort& command) { port_ = startOnFreePort(process_, command); }
  // Writes a configuration file and returns its path.
  [[nodiscard]] std::string configure(const std::string& configuration) const;
  [[nodiscard]] std::string pidPath() const { return folder_ / "pid"; }
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

// Speaks SOCKS 5 only, for connections only. The servers behind it see them come from kAddress.
class MicroSocksServer : public ProxyServer {
 public:
  static constexpr const char* kNotInstalled = "microsocks is not installed";
  static constexpr const char* kAddress = "127.0.0.2";
  static bool installed() { return !findProgram("microsocks").empty(); }

  // With a user it asks for these credentials.
  explicit MicroSocksServer(const std::string& user = "", const std::string& password = "");
};

}  // namespace keystrand::test
