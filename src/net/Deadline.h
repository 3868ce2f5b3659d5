// A moment on the steady clock by which something has to be done, and the timeouts from which it follows.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>

namespace keystrand {

// A timeout is a number of seconds. This one waits without limit.
constexpr std::int64_t kNoTimeout = -1;

// Of any other timeout the low 32 bits count, a negative number being 0; the longest is what poll can count in
// milliseconds.
inline std::chrono::seconds secondsOf(std::int64_t timeout) {
  constexpr std::int32_t kLongest = std::numeric_limits<int>::max() / 1000;
  return std::chrono::seconds(std::clamp(static_cast<std::int32_t>(timeout), 0, kLongest));
}

// What is given to connecting and to waiting once more: without any time nobody could be reached.
inline std::chrono::seconds patienceOf(std::int64_t timeout) {
  constexpr std::chrono::seconds kLeast{1};
  return std::max(secondsOf(timeout), kLeast);
}

class Deadline {
 public:
  static Deadline never() { return Deadline(Clock::time_point::max()); }
  static Deadline in(std::chrono::seconds time) { return Deadline(Clock::now() + time); }
  static Deadline of(std::int64_t timeout) { return timeout == kNoTimeout ? never() : in(secondsOf(timeout)); }
  static Deadline patient(std::int64_t timeout) { return timeout == kNoTimeout ? never() : in(patienceOf(timeout)); }
  static Deadline earlier(Deadline a, Deadline b) { return a.at_ < b.at_ ? a : b; }

  // What is left, as poll takes it: -1 for no end. Rounded up, so that a poll never ends before the moment has come.
  [[nodiscard]] int milliseconds() const {
    if (at_ == Clock::time_point::max()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(at_ - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
  }

 private:
  using Clock = std::chrono::steady_clock;

  explicit Deadline(Clock::time_point at) : at_(at) {}

  Clock::time_point at_;
};

}  // namespace keystrand
