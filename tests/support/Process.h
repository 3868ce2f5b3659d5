// A server program that runs as long as its object.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace keystrand::test {

class Process {
 public:
  // Its environment is empty and its output is dropped. It dies with the thread that started it.
  explicit Process(const std::vector<std::string>& command);
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  ~Process();

  [[nodiscard]] bool running() const;

 private:
  pid_t pid_;
  mutable bool reaped_ = false;
};

// Starts a server whose command names a port, on one that is free, and waits until that is open. Another program may
// take it first; then it is tried again with another port.
using CommandOnPort = std::function<std::vector<std::string>(const std::string& port)>;
std::uint16_t startOnFreePort(std::optional<Process>& server, const CommandOnPort& command);

// What a command of the shell tells on its standard output, and its exit status, or -1 when a signal ended it.
struct Outcome {
  int status = -1;
  std::string text;
};
Outcome runCommand(const std::string& command);

// The full path of a program in /usr/bin, /usr/sbin or the PATH; empty when it is not installed.
std::string findProgram(const std::string& name);

}  // namespace keystrand::test
