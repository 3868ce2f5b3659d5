// The update of the whole CRL table: what it fetches into an empty one, and what it asks for a full one.
#include <gmock/gmock.h>

#include <algorithm>
#include <future>
#include <thread>

#include "support/Builders.h"
#include "support/Client.h"
#include "support/NginxServer.h"
#include "support/ScriptedServer.h"
#include "support/SlapdServer.h"

namespace keystrand::test {
namespace {

using testing::ElementsAre;
using Counts = std::pair<int, int>;  // of HEAD and GET requests

constexpr std::time_t kNewYear2026 = 1767225600;

struct Issuer {
  Authority ca;
  ByteString crl(const std::string& year = "2025", const std::optional<std::string>& next = "20380101000000Z") const {
    return makeCRL(ca, {.thisUpdate = year + "0101000000Z", .nextUpdate = next, .entries = {{.serial = "0A"}}});
  }
};

// A CA with a name of its own whose certificate says this of its distribution points.
Issuer issuer(int number, const std::string& points, const std::string& sections = "") {
  AuthoritySpec wanted;
  wanted.subject.back().value = "CA " + std::to_string(number);
  if (!points.empty()) wanted.extensions.push_back({"crlDistributionPoints", points, sections});
  return {makeAuthority(wanted)};
}

class CRLUpdate : public testing::Test {
 protected:
  void SetUp() override {
    if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
    server_.emplace();
    cache_setTimeout(20);
  }
  bool update() { return cache_updateCRLCache(client_.context()) == 1; }
  // The distribution point of a file that the server holds from then on.
  std::string published(const std::string& path, const ByteString& crl) {
    server_->put(path, crl, kNewYear2026);
    return "URI:" + server_->url(path);
  }
  Counts asked(const std::string& path) { return {server_->count("HEAD", path), server_->count("GET", path)}; }
  int requests() { return static_cast<int>(server_->requests().size()); }
  // The messages of an update that worked through so many rows.
  static auto saysOf(int rows) {
    return ElementsAre("Updating cache of CRLs in progress", "CRLs in the cache: " + std::to_string(rows),
                       "CRLs cache update completed");
  }

  RunningLibrary running_;
  Client client_;
  std::optional<NginxServer> server_;
};

// Of five CAs in a row two publish by HTTP, one by LDAP, one where nobody listens, one has a page where its CRL should
// be.
TEST_F(CRLUpdate, TwoHundredCAsByEveryRoad) {
  if (!SlapdServer::installed()) GTEST_SKIP() << SlapdServer::kNotInstalled;
  constexpr int kCAs = 200;
  const auto path = [](int n) { return "/" + std::to_string(n) + ".crl"; };
  const auto kind = [](int n) { return n % 5; };
  std::vector<SlapdServer::Entry> entries;
  for (int n = 0; n < kCAs; ++n) {
    if (kind(n) == 2) entries.push_back({.rdn = "cn=" + std::to_string(n), .crl = issuer(n, "").crl()});
  }
  const SlapdServer directory(entries);
  const auto urlOf = [&](int n) {
    const std::string name = std::to_string(n);
    return kind(n) == 2   ? directory.url("cn=" + name + ",c=IT?certificateRevocationList;binary")
           : kind(n) == 3 ? "http://127.0.0.1:1/" + name
                          : server_->url(path(n));
  };
  for (int n = 0; n < kCAs; ++n) {
    const Issuer made = issuer(n, "point", "[point]\nfullname=@names\n[names]\nURI=" + urlOf(n) + "\n");
    ASSERT_TRUE(client_.addCA(made.ca.certificate));
    if (kind(n) < 2) server_->put(path(n), made.crl(), kNewYear2026);
    if (kind(n) == 4) server_->put(path(n), std::string_view("<html>sorry</html>"), kNewYear2026);
  }
  running_.messages();

  cache_setDownloadCRL(4);
  EXPECT_TRUE(update());
  EXPECT_THAT(running_.messages(), testing::IsEmpty()) << "nothing is fetched";
  EXPECT_EQ(cache_isCRLCacheLoaded(), 0);

  cache_setDownloadCRL(1);
  EXPECT_TRUE(update());
  auto messages = running_.messages();
  EXPECT_EQ(messages.front(), "Updating cache of CRLs in progress");
  EXPECT_EQ(std::ranges::count(messages, "New CRL added to cache"), 120);
  EXPECT_EQ(std::ranges::count(messages, "End of CRL download via LDAP"), 40);
  EXPECT_THAT(std::vector<std::string>(messages.end() - 2, messages.end()),
              ElementsAre("CRLs in the cache: 200", "CRLs cache update completed"));
  EXPECT_EQ(requests(), 120) << "a GET for each row by HTTP that has a server";
  for (const int n : {0, 1, 4}) EXPECT_EQ(asked(path(n)), Counts(0, 1)) << n;
  EXPECT_EQ(cache_isCRLCacheModified(), 1);
  server_->forget();

  EXPECT_TRUE(update()) << "once per session";
  EXPECT_THAT(running_.messages(), saysOf(kCAs));
  EXPECT_EQ(requests(), 0);
  for (const int n : {0, 1, 2}) EXPECT_EQ(client_.search({urlOf(n)}, "0A"), 1) << n;
  running_.messages();

  for (const int mode : {2, 3}) {
    cache_setDownloadCRL(static_cast<unsigned char>(mode));
    server_->put(path(5), issuer(5, "").crl(std::to_string(2024 + mode)), kNewYear2026 + mode);
    EXPECT_TRUE(update());
    messages = running_.messages();
    EXPECT_EQ(std::ranges::count(messages, "End of CRL timestamp request via LDAP"), 40);
    EXPECT_EQ(std::ranges::count(messages, "Start CRL download via LDAP"), 0);
    EXPECT_EQ(std::ranges::count(messages, "CRL in the cache has been updated"), 1);
    EXPECT_EQ(asked(path(0)), Counts(1, 0)) << "the CRL is current, also where searches always fetch";
    EXPECT_EQ(asked(path(4)), Counts(1, 1)) << "a row without a CRL is asked about and fetched";
    EXPECT_EQ(asked(path(5)), Counts(1, 1)) << "newer at its server";
    EXPECT_EQ(requests(), 120 + 40 + 1);
    server_->forget();
  }
  cache_setTimeStampCheck(0);
  EXPECT_TRUE(update());
  EXPECT_EQ(requests(), 40) << "the rows without a CRL";
}

TEST_F(CRLUpdate, RowsThatAreDueAreFetchedWhateverTheirTime) {
  struct Row {
    const char* path;
    std::optional<std::string> nextUpdate;
    Counts expected;
  };
  const Row rows[] = {{"/current.crl", "20380101000000Z", {1, 0}},
                      {"/expired.crl", "20250201000000Z", {1, 1}},
                      {"/open.crl", std::nullopt, {1, 1}}};
  int number = 0;
  for (const Row& row : rows) {
    const Issuer plain = issuer(++number, "");
    const Issuer made = issuer(number, published(row.path, plain.crl("2025", row.nextUpdate)));
    ASSERT_TRUE(client_.addCA(made.ca.certificate));
  }
  ASSERT_TRUE(update());
  server_->forget();
  ASSERT_TRUE(update());
  for (const Row& row : rows) EXPECT_EQ(asked(row.path), row.expected) << row.path;
}

TEST_F(CRLUpdate, OneURIOfTwoCAsIsOneRowFetchedTwice) {
  EXPECT_TRUE(update());
  EXPECT_THAT(running_.messages(), saysOf(0)) << "an empty list";
  const std::string point = published("/shared.crl", issuer(1, "").crl());
  const Issuer none = issuer(3, "");
  ASSERT_TRUE(client_.addCA(issuer(1, point).ca.certificate) && client_.addCA(issuer(2, point).ca.certificate));
  ASSERT_TRUE(client_.addCA(none.ca.certificate));
  running_.messages();
  ASSERT_TRUE(update());
  EXPECT_EQ(asked("/shared.crl"), Counts(0, 2));
  const auto messages = running_.messages();
  EXPECT_EQ(std::ranges::count(messages, "New CRL added to cache"), 1) << "the second is no newer";
  EXPECT_THAT(messages, testing::Contains("CRLs in the cache: 1"));
}

TEST_F(CRLUpdate, DistributionPointWithoutNamesEndsIt) {
  for (const char* sections :
       {"[point]\nrelativename=name\n[name]\nCN=x\n", "[point]\nCRLissuer=dirName:name\n[name]\nCN=x\n"}) {
    cache_clean(client_.context());
    server_->forget();
    ASSERT_TRUE(client_.addCA(issuer(1, published("/1.crl", issuer(1, "").crl())).ca.certificate));
    ASSERT_TRUE(client_.addCA(issuer(2, "point", sections).ca.certificate));
    ASSERT_TRUE(client_.addCA(issuer(3, published("/3.crl", issuer(3, "").crl())).ca.certificate));
    running_.messages();
    EXPECT_FALSE(update()) << sections;
    EXPECT_EQ(running_.messages().back(), "Failed to update the CRLs cache");
    EXPECT_EQ(asked("/1.crl"), Counts(0, 1)) << "the rows so far stay";
    EXPECT_EQ(asked("/3.crl"), Counts(0, 0));
    EXPECT_EQ(client_.search({server_->url("/1.crl")}, "0A"), 1);
  }
}

TEST_F(CRLUpdate, FullTableEndsIt) {
  std::string names = "fullname=";
  for (int i = 0; i <= 2048; ++i) names += (i == 0 ? "URI:file:///" : ",URI:file:///") + std::to_string(i);
  ASSERT_TRUE(client_.addCA(issuer(1, "point", "[point]\n" + names + "\n").ca.certificate));
  running_.messages();
  EXPECT_FALSE(update());
  EXPECT_EQ(cache_getErrCode(client_.context()), 5120UL);
  const auto messages = running_.messages();
  EXPECT_THAT(std::vector<std::string>(messages.end() - 2, messages.end()),
              ElementsAre("Internal error", "Failed to update the CRLs cache"));
  EXPECT_TRUE(update()) << "a full table has rows to look after";
  EXPECT_THAT(running_.messages(), testing::Contains("CRLs in the cache: 2048"));
}

TEST_F(CRLUpdate, SearchesWaitForItAndThenSucceed) {
  const Issuer plain = issuer(1, "");
  const ByteString crl = plain.crl();
  std::promise<void> release;
  const std::shared_future<void> released = release.get_future().share();
  ScriptedServer slow([&](const std::string&) {
    released.wait();
    return ScriptedServer::Answer{ScriptedServer::ok(std::string(crl.begin(), crl.end()))};
  });
  ASSERT_TRUE(client_.addCA(issuer(1, "URI:" + slow.url("/slow.crl")).ca.certificate));
  auto updating = std::async(std::launch::async, [&] { return update(); });
  ASSERT_TRUE(eventually([&] { return !slow.requests().empty(); }));
  auto searching = std::async(std::launch::async, [&] {
    cache_setDownloadCRL(1);
    const Client other;
    return other.search({slow.url("/slow.crl")}, "0A");
  });
  EXPECT_EQ(searching.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
  release.set_value();
  EXPECT_TRUE(updating.get());
  EXPECT_EQ(searching.get(), 1);
  EXPECT_EQ(slow.requests().size(), 1U) << "the search has found the row";
}

}  // namespace
}  // namespace keystrand::test
