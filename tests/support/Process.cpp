#include "support/Process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "support/Socket.h"

namespace keystrand::test {
namespace {

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

Process::Process(const std::vector<std::string>& command) {
  const std::vector<char*> arguments = pointersTo(command);
  char* const noVariables[] = {nullptr};
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("cannot start " + command[0]);
  if (pid_ > 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int nowhere = open("/dev/null", O_RDWR);
  for (int standard = 0; standard <= 2; ++standard) dup2(nowhere, standard);
  execve(arguments[0], arguments.data(), noVariables);
  _exit(127);
}

// Asked first, so that a server takes its own children along.
Process::~Process() {
  if (!running()) return;
  kill(pid_, SIGTERM);
  if (eventually([this] { return !running(); })) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

bool Process::running() const {
  if (!reaped_) reaped_ = waitpid(pid_, nullptr, WNOHANG) == pid_;
  return !reaped_;
}

std::uint16_t startOnFreePort(std::optional<Process>& server, const CommandOnPort& command) {
  constexpr int kAttempts = 5;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const std::uint16_t port = freePort();
    server.emplace(command(std::to_string(port)));
    if (eventually([&] { return accepts(port) || !server->running(); }) && server->running()) return port;
  }
  throw std::runtime_error(command("")[0] + " did not start");
}

Outcome runCommand(const std::string& command) {
  Outcome outcome;
  std::FILE* told = popen(command.c_str(), "r");
  if (told == nullptr) throw std::runtime_error("cannot start " + command);
  char piece[4096];
  for (std::size_t n = 0; (n = std::fread(piece, 1, sizeof piece, told)) > 0;) outcome.text.append(piece, n);
  const int ended = pclose(told);
  if (WIFEXITED(ended)) outcome.status = WEXITSTATUS(ended);
  return outcome;
}

std::string findProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream folders(std::string(path != nullptr ? path : "") + ":/usr/bin:/usr/sbin");
  for (std::string folder; std::getline(folders, folder, ':');)
    if (const std::string program = folder + "/" + name; access(program.c_str(), X_OK) == 0) return program;
  return {};
}

}  // namespace keystrand::test
