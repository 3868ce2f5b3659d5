#include "support/ProxyServers.h"

#include <pwd.h>
#include <unistd.h>

#include <fstream>

#include "support/Socket.h"
#include "support/Texts.h"

namespace keystrand::test {
namespace {

std::string thisUser() {
  const passwd* entry = getpwuid(geteuid());
  return entry != nullptr ? entry->pw_name : "nobody";
}

}  // namespace

std::string ProxyServer::configure(const std::string& configuration) const {
  std::string path = folder_ / "conf";
  std::ofstream(path) << configuration;
  return path;
}

bool ProxyServer::logged(const std::string& text) const {
  return eventually([&] { return readText(logPath()).find(text) != std::string::npos; });
}

HTTPProxyServer::HTTPProxyServer(const std::string& user, const std::string& password) {
  start([&](const std::string& port) -> std::vector<std::string> {
    const std::string path = configure("Port " + port + "\nListen 127.0.0.1\nTimeout 60\nLogFile \"" + logPath() +
                                       "\"\nLogLevel Connect\nAllow 127.0.0.1\n" +
                                       (user.empty() ? "" : "BasicAuth " + user + " " + password + "\n"));
    return {findProgram("tinyproxy"), "-d", "-c", path};
  });
}

SOCKSProxyServer::SOCKSProxyServer() {
  start([&](const std::string& port) -> std::vector<std::string> {
    const std::string path =
        configure("logoutput: " + logPath() + "\ninternal: 127.0.0.1 port = " + port +
                  "\nexternal: 127.0.0.1\nclientmethod: none\nsocksmethod: none\nuser.privileged: " + thisUser() +
                  "\nuser.unprivileged: " + thisUser() +
                  "\nclient pass { from: 127.0.0.0/8 to: 0.0.0.0/0 }\n"
                  "socks pass { from: 127.0.0.0/8 to: 0.0.0.0/0 log: connect }\n");
    return {findProgram("danted"), "-f", path, "-p", pidPath()};
  });
}

MicroSocksServer::MicroSocksServer(const std::string& user, const std::string& password) {
  start([&](const std::string& port) {
    std::vector<std::string> command{findProgram("microsocks"), "-i", "127.0.0.1", "-p", port, "-b", kAddress};
    if (!user.empty()) command.insert(command.end(), {"-u", user, "-P", password});
    return command;
  });
}

}  // namespace keystrand::test
