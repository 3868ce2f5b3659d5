// Several threads with a context each, and several processes on one folder, do everything at the same time.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <random>
#include <thread>

#include "support/Builders.h"
#include "support/Client.h"
#include "support/NginxServer.h"

namespace keystrand::test {
namespace {

constexpr unsigned kWatchdogSeconds = 240;
constexpr std::chrono::seconds kStress(4);
constexpr int kURLs = 3;

ByteString crlOf(const Authority& ca, int year) {
  return makeCRL(ca, {.thisUpdate = std::to_string(year) + "0101000000Z",
                      .entries = {{.serial = "0A"}, {.serial = "0B"}, {.serial = "0C"}}});
}

struct World {
  NginxServer server;
  Authority ca = makeAuthority();
  Authority other = makeAuthority({.subject = {{"C", "IT"}, {"CN", "Another CA"}}});
  std::vector<ByteString> crls = {crlOf(ca, 2020), crlOf(ca, 2021), crlOf(ca, 2022)};
  std::atomic<long> answers{0};
  std::mutex publishing;  // the server writes one file at a time

  [[nodiscard]] std::string path(unsigned n) const { return "/" + std::to_string(n % kURLs) + ".crl"; }
};

using Step = std::function<void(World&, Client&, unsigned)>;

void search(World& world, Client& client, unsigned n) {
  cache_setDownloadCRL(n % 2 == 0 ? 2 : 3);
  const long answer = client.search({world.server.url(world.path(n))}, n % 3 == 0 ? "0A" : "FF");
  if (answer >= 0) {
    ++world.answers;
    EXPECT_EQ(answer, n % 3 == 0 ? 1 : 0) << "every CRL of this server lists 0A";
  }
  cache_releaseX500Time(cache_getThisUpdate(client.context()));
  cache_releaseX500Time(cache_getRevocationDate(client.context()));
}

void getCRL(World& world, Client& client, unsigned n) {
  Certificate* issuer = nullptr;
  const auto point = Client::at({world.server.url(world.path(n))});
  const std::unique_ptr<CertificateList> crl(cache_getCRL(client.context(), point.get(), 0, n % 2 != 0, &issuer));
  cache_releaseCertificate(issuer);
  if (crl) {
    EXPECT_EQ(crl->revokedCertificates()->count(), 3);
  }
}

void update(World&, Client& client, unsigned) {
  cache_setDownloadCRL(2);
  EXPECT_EQ(cache_updateCRLCache(client.context()), 1);
}

void lookUp(World&, Client& client, unsigned n) {
  const std::unique_ptr<Certificate> certificate(cache_getCACert(client.context(), static_cast<int>(n % 3), 0));
  if (!certificate) return;
  const std::unique_ptr<Name> subject(certificate->subject());
  const int row = cache_getCACerts(client.context(), subject.get());
  cache_getCAIndex(client.context(), certificate.get(), row, nullptr);
  cache_releaseCharArray(cache_getCountryCode(client.context(), row, 0));
}

void changeList(World& world, Client& client, unsigned n) {
  ByteString der = world.other.certificate;
  const auto change = n % 2 == 0 ? cache_addCACertDER : cache_removeCACertDER;
  change(client.context(), der.data(), static_cast<unsigned int>(der.size()));
}

void files(World& world, Client& client, unsigned n) {
  using Operation = unsigned char (*)(void*);
  constexpr Operation kOperations[] = {cache_saveCRLCache, cache_loadCRLCache, cache_saveCACertList,
                                       cache_loadCACertList};
  kOperations[n % 4](client.context());
  client.addCA(world.ca.certificate);
}

void settings(World& world, Client& client, unsigned n) {
  cache_setLang(static_cast<int>(n % 2));
  cache_setTimeout(20);
  cache_setTimeStampCheck(n % 5 != 0);
  cache_setCURLlog(nullptr);
  cache_setHTTPProxy(nullptr, 0, nullptr, nullptr);
  cache_setCrlProxyUri(nullptr);
  cache_isCRLCacheModified();
  cache_clearCRLCacheModified();
  {
    const std::lock_guard lock(world.publishing);
    world.server.put(world.path(n), world.crls[n % world.crls.size()], 1767225600 + static_cast<std::time_t>(n % 9999));
  }
  if (n % 16 == 0) {
    cache_clean(client.context());
    client.addCA(world.ca.certificate);
  }
}

TEST(Stress, FourThreadsWithAContextEachDoEverything) {
  if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
  alarm(kWatchdogSeconds);
  const RunningLibrary running;
  World world;
  for (unsigned n = 0; n < kURLs; ++n) world.server.put(world.path(n), world.crls[0]);
  Client().addCA(world.ca.certificate);
  const std::vector<Step> steps = {search, search, getCRL, update, lookUp, lookUp, changeList, files, settings};
  const auto end = std::chrono::steady_clock::now() + kStress;
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      Client client;
      std::mt19937 random(t);
      while (std::chrono::steady_clock::now() < end) {
        const auto n = static_cast<unsigned>(random());
        steps[n % steps.size()](world, client, static_cast<unsigned>(random()));
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_GT(world.answers, 0);
}

// What one of two processes does: each file that it reads back is whole.
int loadAndSave(const Client& client, const std::string& url) {
  for (int i = 0; i < 60; ++i) {
    if (cache_loadCACertList(client.context()) != 1 || cache_getCACertsNum(client.context()) != 2) return 1;
    if (cache_loadCRLCache(client.context()) != 1 || client.search({url}, "0A") != 1) return 2;
    if (cache_saveCACertList(client.context()) != 1 || cache_saveCRLCache(client.context()) != 1) return 3;
  }
  return 0;
}

TEST(Stress, TwoProcessesShareTheDataFolder) {
  if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
  alarm(kWatchdogSeconds);
  const RunningLibrary running;
  const World world;
  world.server.put("/a.crl", world.crls[0]);
  const Client client;
  ASSERT_TRUE(client.addCA(world.ca.certificate) && client.addCA(world.other.certificate));
  const std::string url = world.server.url("/a.crl");
  ASSERT_EQ(client.search({url}, "0A"), 1);
  ASSERT_EQ(cache_saveCACertList(client.context()) + cache_saveCRLCache(client.context()), 2);
  cache_setDownloadCRL(4);
  std::vector<pid_t> children;
  for (int i = 0; i < 2; ++i) {
    const pid_t child = fork();
    if (child == 0) _exit(loadAndSave(client, url));
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  }
}

}  // namespace
}  // namespace keystrand::test
