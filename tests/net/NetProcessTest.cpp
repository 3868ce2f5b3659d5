// What requests share with the rest of the process: threads, signals, and the roots of TLS.
#include <gtest/gtest.h>
#include <openssl/ssl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

#include "net/EmbeddedRoots.h"
#include "net/FreshNetState.h"
#include "net/HTTPS.h"
#include "net/RootStore.h"
#include "net/SigpipeGuard.h"
#include "net/Transport.h"
#include "support/ScriptedServer.h"
#include "support/TempFolder.h"

namespace keystrand {
namespace {

using test::ScriptedServer;

class NetThreads : public FreshNetState {};

// Worth most under ThreadSanitizer.
TEST_F(NetThreads, EachRequestWorksOnOneSetOfSettings) {
  ScriptedServer server([](const std::string&) {
    return ScriptedServer::Answer{ScriptedServer::ok("body", "Last-Modified: x y z x y z x\r\n")};
  });
  const test::TempFolder folder;
  std::atomic<bool> done{false};
  std::thread changes([&] {
    for (int round = 0; !done; ++round) {
      // either proxy leads to the server, so that a mixture of both is what would fail
      setCurlProxy("127.0.0.1", server.port(), Credentials{"user", "secret"});
      setCurlLog((folder / "log").string());
      setCurlProxy("", 0, std::nullopt);
      setCurlSocks("localhost", server.port(), std::nullopt);
      setCurlLog("");
      if (round < 100) addCurlNoProxy("a.long.name.that.makes.the.list.grow.example.it");
      httpAddNoProxy("*.example.it");
      httpSetProxy("127.0.0.1", 3128, Credentials{"user", "secret"});
      httpUsesProxy("crl.example.it");
      setSocks(round % 2 == 0 ? "no-such-host.invalid" : "", 1080, Credentials{"user", "secret"});
      addSocksDirect("127.0.0.0", "255.0.0.0");
    }
  });
  std::vector<std::thread> clients;
  for (int i = 0; i < 3; ++i)
    clients.emplace_back([&] {
      Buffer buffer;
      std::string time;
      for (int request = 0; request < 40; ++request) {
        setCurlTimeout(20);
        EXPECT_TRUE(httpsGetObjectAndTime(server.url("/a/long/path"), buffer, time));
        EXPECT_EQ(time, " x y z x y z x\r\n");
        EXPECT_EQ(buffer.size(), 4U);
        EXPECT_EQ(Transport().connect("127.0.0.1", server.port()), 0) << "loopback goes direct";
      }
    });
  for (std::thread& client : clients) client.join();
  done = true;
  changes.join();
}

int rootsOfANewContext() {
  const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
  addEmbeddedRoots(context.get());
  addEmbeddedRoots(context.get());  // a second time changes nothing
  return sk_X509_OBJECT_num(X509_STORE_get0_objects(SSL_CTX_get_cert_store(context.get())));
}

TEST(RootStore, EveryContextGetsEveryRoot) {
  EXPECT_EQ(embeddedRoots().size(), 138U);
  testing::internal::CaptureStdout();
  std::vector<int> counts(4);
  std::vector<std::thread> threads;
  for (int& count : counts) threads.emplace_back([&count] { count = rootsOfANewContext(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counts, std::vector<int>(4, 138));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

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
