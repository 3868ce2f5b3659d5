#include "net/ReadProgress.h"

#include <unistd.h>

#include <atomic>
#include <mutex>

namespace keystrand {

namespace {

struct Listener {
  ReadProgress::Callback callback = nullptr;
  void* user = nullptr;
  std::uint32_t threshold = 0;
};

std::mutex listenerMutex;  // a leaf
Listener listener;         // guarded by listenerMutex
std::atomic<bool> isCancelled{false};

}  // namespace

void ReadProgress::set(Callback callback, void* user, std::uint32_t threshold) {
  const std::lock_guard lock(listenerMutex);
  listener = {callback, user, threshold};
}

bool ReadProgress::cancelled() noexcept {
  return isCancelled;
}

void ReadProgress::resume() noexcept {
  isCancelled = false;
}

ReadProgress::ReadProgress(std::uint32_t length) : length_(length) {
  {
    const std::lock_guard lock(listenerMutex);
    if (length <= listener.threshold) return;
    callback_ = listener.callback;
    user_ = listener.user;
  }
  report(kBegin);
}

bool ReadProgress::advance(std::uint32_t bytes) {
  done_ += bytes;
  if (report(kAdvance) != 0) return true;
  isCancelled = true;
  return false;
}

void ReadProgress::end() const {
  report(kEnd);
}

unsigned char ReadProgress::report(Stage stage) const {
  if (callback_ == nullptr) return 1;
  return callback_(static_cast<std::uint32_t>(gettid()), stage, length_, done_, user_);
}

}  // namespace keystrand
