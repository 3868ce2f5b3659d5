#include "keystrand/support/Semaphore.h"

namespace keystrand {

Semaphore::Semaphore(int held, int maximum) : available_(maximum - held), maximum_(maximum) {}

void Semaphore::wait() {
  std::unique_lock lock(mutex_);
  free_.wait(lock, [this] { return available_ > 0; });
  --available_;
}

void Semaphore::post() {
  const std::lock_guard lock(mutex_);
  if (available_ >= maximum_) return;
  ++available_;
  free_.notify_one();  // under the lock: whoever waits may destroy the semaphore once it has the permit
}

}  // namespace keystrand
