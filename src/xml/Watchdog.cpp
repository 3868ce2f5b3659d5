#include "xml/Watchdog.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <fstream>
#include <utility>

namespace keystrand {
namespace {

constexpr std::chrono::milliseconds kRound(10);

std::chrono::nanoseconds timeOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

clockid_t clockOfThisThread() {
  clockid_t clock = CLOCK_PROCESS_CPUTIME_ID;
  pthread_getcpuclockid(pthread_self(), &clock);
  return clock;
}

// Of the process; 0 where the system does not tell.
std::size_t residentBytes() {
  std::ifstream statistics("/proc/self/statm");
  std::size_t size = 0;
  std::size_t resident = 0;
  statistics >> size >> resident;
  return statistics ? resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) : 0;
}

// Of the thread that makes one; a thread that it starts meanwhile has them blocked for good. Handlers of the client run
// on its own threads.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t former_{};
};

}  // namespace

Watchdog::Watchdog(std::function<void()> stop)
    : stop_(std::move(stop)), thread_([&] {
        const SignalsBlocked blocked;
        return std::jthread([this, clock = clockOfThisThread()](const std::stop_token& over) { watch(over, clock); });
      }()) {}

void Watchdog::watch(const std::stop_token& over, clockid_t clock) {
  const auto end = timeOf(clock) + std::chrono::seconds(kMaxSeconds);
  const std::size_t most = residentBytes() + kMaxBytes;
  std::unique_lock lock(mutex_);
  while (timeOf(clock) < end && residentBytes() <= most) {
    wake_.wait_for(lock, over, kRound, [] { return false; });
    if (over.stop_requested()) return;
  }
  stop_();
}

}  // namespace keystrand
