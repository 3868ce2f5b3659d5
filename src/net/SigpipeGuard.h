// Keeps SIGPIPE from this thread for the life of a block: a server that closes while we send must not end the process.
#pragma once

#include <csignal>
#include <ctime>

namespace keystrand {

class SigpipeGuard {
 public:
  SigpipeGuard() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    wasPending_ = isPending();
    pthread_sigmask(SIG_BLOCK, &pipe_, &former_);
  }
  // One that was raised meanwhile is taken away before the former mask comes back.
  ~SigpipeGuard() {
    constexpr std::timespec kAtOnce{};
    if (!wasPending_ && isPending()) sigtimedwait(&pipe_, nullptr, &kAtOnce);
    pthread_sigmask(SIG_SETMASK, &former_, nullptr);
  }
  SigpipeGuard(const SigpipeGuard&) = delete;
  SigpipeGuard& operator=(const SigpipeGuard&) = delete;

 private:
  static bool isPending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
  }

  sigset_t pipe_;
  sigset_t former_;
  bool wasPending_;
};

}  // namespace keystrand
