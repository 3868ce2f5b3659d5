// A server program that runs as long as its object.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace keystrand::test {

class Process {
 public:
  // Descriptors in `keep` stay open in the program; its output is dropped. It dies with the thread that started it.
  Process(const std::vector<std::string>& command, const std::vector<std::string>& environment,
          const std::vector<int>& keep = {});
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  ~Process();

  [[nodiscard]] bool running() const;

 private:
  pid_t pid_;
  mutable bool reaped_ = false;
};

// The full path of a program in /usr/bin, /usr/sbin or the PATH; empty when it is not installed.
std::string findProgram(const std::string& name);

}  // namespace keystrand::test
