// A moment on the steady clock by which something has to be done.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>

namespace keystrand {

class Deadline {
 public:
  static Deadline never() { return Deadline(Clock::time_point::max()); }
  static Deadline in(std::chrono::seconds time) { return Deadline(Clock::now() + time); }
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
