#include "support/ProxyServers.h"

#include <pwd.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

#include "support/Socket.h"
#include "support/TestData.h"

namespace keystrand::test {

namespace {

std::string thisUser() {
  const passwd* entry = getpwuid(geteuid());
  return entry != nullptr ? entry->pw_name : "nobody";
}

}  // namespace

void ProxyServer::start(const std::string& program, const Configuration& configuration) {
  constexpr int kAttempts = 5;  // another program may take the port before this one does
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    port_ = freePort();
    const std::string path = folder_ / "conf";
    std::ofstream(path) << configuration(std::to_string(port_));
    std::vector<std::string> command = {findProgram(program)};
    if (program == "danted")
      command.insert(command.end(), {"-f", path, "-p", folder_ / "pid"});
    else
      command.insert(command.end(), {"-d", "-c", path});
    process_.emplace(command);
    if (eventually([&] { return accepts(port_) || !process_->running(); }) && process_->running()) return;
  }
  throw std::runtime_error(program + " did not start");
}

bool ProxyServer::logged(const std::string& text) const {
  return eventually([&] {
    const ByteString log = readFile(logPath());
    return std::string(log.begin(), log.end()).find(text) != std::string::npos;
  });
}

HTTPProxyServer::HTTPProxyServer(const std::string& user, const std::string& password) {
  start("tinyproxy", [&](const std::string& port) {
    return "Port " + port + "\nListen 127.0.0.1\nTimeout 60\nLogFile \"" + logPath() +
           "\"\nLogLevel Connect\nAllow 127.0.0.1\n" +
           (user.empty() ? "" : "BasicAuth " + user + " " + password + "\n");
  });
}

SOCKSProxyServer::SOCKSProxyServer() {
  start("danted", [&](const std::string& port) {
    return "logoutput: " + logPath() + "\ninternal: 127.0.0.1 port = " + port +
           "\nexternal: 127.0.0.1\nclientmethod: none\nsocksmethod: none\nuser.privileged: " + thisUser() +
           "\nuser.unprivileged: " + thisUser() +
           "\nclient pass { from: 127.0.0.0/8 to: 0.0.0.0/0 }\n"
           "socks pass { from: 127.0.0.0/8 to: 0.0.0.0/0 log: connect }\n";
  });
}

}  // namespace keystrand::test
