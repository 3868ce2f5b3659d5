// Ends an evaluation that a stranger's expression or stylesheet does not let end. libxml2 asks nobody while it
// evaluates, but counts its steps against a limit: that is what `stop`, called on another thread, may change.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>

namespace keystrand {

class Watchdog {
 public:
  // Processor time of the thread that made it, so that what else runs on the machine does not count.
  static constexpr int kMaxSeconds = 10;
  // By which the process grows meanwhile: nobody counts for one evaluation alone.
  static constexpr std::size_t kMaxBytes = std::size_t{512} * 1024 * 1024;

  explicit Watchdog(std::function<void()> stop);

 private:
  void watch(const std::stop_token& over, clockid_t clock);

  std::function<void()> stop_;
  std::mutex mutex_;
  std::condition_variable_any wake_;
  std::jthread thread_;  // last: ends before what it uses
};

}  // namespace keystrand
