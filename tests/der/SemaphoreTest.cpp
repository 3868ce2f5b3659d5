#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

#include "keystrand/support/Semaphore.h"

namespace keystrand::test {
namespace {

using std::chrono::milliseconds;

// A thread that takes one permit.
std::future<void> taker(Semaphore& semaphore) {
  return std::async(std::launch::async, [&semaphore] { semaphore.wait(); });
}

bool waits(std::future<void>& thread) {
  return thread.wait_for(milliseconds(50)) == std::future_status::timeout;
}

TEST(Semaphore, IsBornFreeButForThePermitsHeld) {
  Semaphore plain;
  plain.wait();  // would not return
  Semaphore binary(0, 1);
  binary.wait();
  Semaphore held(1, 1);
  auto other = taker(held);
  EXPECT_TRUE(waits(other));
  held.post();
  other.get();
}

TEST(Semaphore, PostBeyondTheMaximumGivesNothing) {
  Semaphore semaphore(0, 1);
  for (int i = 0; i < 5; ++i) semaphore.post();
  semaphore.wait();
  auto second = taker(semaphore);
  EXPECT_TRUE(waits(second)) << "stray posts must not let two in";
  semaphore.post();
  second.get();
}

TEST(Semaphore, AnotherThreadMayPost) {
  Semaphore semaphore(2, 2);
  auto first = taker(semaphore);
  auto second = taker(semaphore);
  std::thread([&] { semaphore.post(); }).join();
  std::thread([&] { semaphore.post(); }).join();
  first.get();
  second.get();
}

TEST(Semaphore, ExcludesThreadsFromEachOther) {
  Semaphore semaphore;
  int count = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 5000; ++i) {
        const SemaphoreLock lock(&semaphore);
        ++count;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, 20000);
}

}  // namespace
}  // namespace keystrand::test
