// Options of a command line, in the classic form: letters behind a hyphen, several together or each alone, and an
// argument behind a letter, in the same word or in the next one. Thread: one at a time for a reader.
#pragma once

#include <string_view>

namespace keystrand {

class OptionReader {
 public:
  static constexpr int kEnd = -1;
  static constexpr int kUnknown = '?';

  // As main has them; both have to outlive the reader.
  OptionReader(int argc, char* const* argv) : argc_(argc), argv_(argv) {}

  // The next letter; a colon behind a letter in `options` says that it takes an argument. kUnknown for a letter that
  // is not there, or whose argument is missing, which is told on standard error. kEnd at the first word that is none,
  // and behind "--".
  int next(std::string_view options);
  // Of the letter that came last; nullptr when it takes none.
  [[nodiscard]] const char* argument() const noexcept { return argument_; }
  // Of the first word that has not been read.
  [[nodiscard]] int index() const noexcept { return index_; }

 private:
  bool takeArgument();

  int argc_;
  char* const* argv_;
  int index_ = 1;
  std::string_view word_;  // what is left of the present word
  const char* argument_ = nullptr;
};

}  // namespace keystrand
