// Settings of the process. Each takes effect at once for every context; plain values that any thread may read.
#pragma once

#include <atomic>
#include <cstdint>

namespace keystrand {

constexpr unsigned char kNoLog = 255;

struct Settings {
  std::atomic<unsigned char> downloadMode{2};
  std::atomic<unsigned char> timeStampCheck{1};
  std::atomic<std::int32_t> crlTimeout{60};   // seconds
  std::atomic<std::int32_t> ocspTimeout{15};  // seconds
  std::atomic<unsigned char> language{0};     // 0 Italian, 1 English
  std::atomic<unsigned char> ocspLanguage{0};
  std::atomic<unsigned char> logLevel{kNoLog};  // given to the loggers of new contexts
};

inline Settings& settings() {
  static Settings instance;
  return instance;
}

}  // namespace keystrand
