#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "net/SigpipeGuard.h"

namespace keystrand {
namespace {

volatile std::sig_atomic_t received = 0;

// Writes to a pipe that nobody reads.
void breakAPipe() {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  EXPECT_EQ(write(ends[1], "x", 1), -1);
  EXPECT_EQ(errno, EPIPE);
  close(ends[1]);
}

TEST(SigpipeGuard, SwallowsOnlyWhatIsRaisedInside) {
  std::signal(SIGPIPE, [](int) { received = received + 1; });
  {
    const SigpipeGuard guard;
    breakAPipe();
  }
  EXPECT_EQ(received, 0);
  breakAPipe();
  EXPECT_EQ(received, 1) << "the mask of before is back";
  {
    const SigpipeGuard outer;
    breakAPipe();
    { const SigpipeGuard inner; }
    EXPECT_EQ(received, 1);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 1) << "one of before the guard is left to its owner";
  }
  std::signal(SIGPIPE, SIG_DFL);
}

}  // namespace
}  // namespace keystrand
