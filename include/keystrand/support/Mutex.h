// A mutual exclusion lock. Not recursive. Usable with std::lock_guard.
#pragma once

#include <mutex>

#include "keystrand/support/Api.h"

namespace keystrand {

class KEYSTRAND_API Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() { mutex_.lock(); }
  void unlock() { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

}  // namespace keystrand
