#include "support/Options.h"

#include <cstdio>

namespace keystrand {

int OptionReader::next(std::string_view options) {
  argument_ = nullptr;
  if (word_.empty()) {
    if (index_ >= argc_ || argv_[index_][0] != '-' || argv_[index_][1] == '\0') return kEnd;
    word_ = std::string_view(argv_[index_++]).substr(1);
    if (word_ == "-") {
      word_ = {};
      return kEnd;
    }
  }
  const char letter = word_.front();
  word_.remove_prefix(1);
  const std::size_t at = letter == ':' ? std::string_view::npos : options.find(letter);
  const bool takes = at != std::string_view::npos && options.substr(at + 1).starts_with(':');
  if (at != std::string_view::npos && (!takes || takeArgument())) return static_cast<unsigned char>(letter);
  static_cast<void>(std::fprintf(stderr, "option %c not found\n", letter));
  return kUnknown;
}

// The rest of the word, or else the next one.
bool OptionReader::takeArgument() {
  if (!word_.empty()) {
    argument_ = word_.data();
  } else if (index_ < argc_) {
    argument_ = argv_[index_++];
  }
  word_ = {};
  return argument_ != nullptr;
}

}  // namespace keystrand
