// A counting semaphore with a ceiling. Any thread may post what another has waited for.
#pragma once

#include <condition_variable>
#include <mutex>

#include "keystrand/support/Api.h"

namespace keystrand {

class KEYSTRAND_API Semaphore {
 public:
  // A binary semaphore, free.
  Semaphore() : Semaphore(0, 1) {}
  // `held` permits of `maximum` are taken at the start, so (0, 1) is born free. This is not the argument of sem_init.
  Semaphore(int held, int maximum);
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  // Blocks until a permit is free and takes it.
  void wait();
  // Gives a permit back. Beyond the maximum it does nothing, so a stray post cannot switch exclusion off.
  void post();

 private:
  std::mutex mutex_;
  std::condition_variable free_;
  int available_;
  int maximum_;
};

// Holds one permit for the life of a block; a null semaphore is no lock.
class SemaphoreLock {
 public:
  explicit SemaphoreLock(Semaphore* semaphore) : semaphore_(semaphore) {
    if (semaphore_ != nullptr) semaphore_->wait();
  }
  ~SemaphoreLock() {
    if (semaphore_ != nullptr) semaphore_->post();
  }
  SemaphoreLock(const SemaphoreLock&) = delete;
  SemaphoreLock& operator=(const SemaphoreLock&) = delete;

 private:
  Semaphore* semaphore_;
};

}  // namespace keystrand
