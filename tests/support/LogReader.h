// The messages of a log file, as they come.
#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace keystrand::test {

class LogReader {
 public:
  explicit LogReader(std::string path) : path_(std::move(path)) {}

  // Those since the last call, without time, ident and numbers.
  std::vector<std::string> next() {
    std::ifstream in(path_);
    in.seekg(read_);
    std::vector<std::string> messages;
    for (std::string line; std::getline(in, line); read_ += static_cast<std::streamoff>(line.size()) + 1) {
      messages.push_back(line.substr(line.find("]: ") + 3));
    }
    return messages;
  }

 private:
  std::string path_;
  std::streamoff read_ = 0;
};

}  // namespace keystrand::test
