#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <memory>
#include <thread>
#include <vector>

#include "net/EmbeddedRoots.h"
#include "net/RootStore.h"

namespace keystrand {
namespace {

struct ContextRelease {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};

int rootsOfANewContext() {
  const std::unique_ptr<SSL_CTX, ContextRelease> context(SSL_CTX_new(TLS_client_method()));
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

}  // namespace
}  // namespace keystrand
