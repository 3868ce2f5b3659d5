// What is fetched of CRLs that are stale, endless or without a time, and what a row keeps when the next one is refused.
#include <gmock/gmock.h>

#include "support/Builders.h"
#include "support/Client.h"
#include "support/NginxServer.h"

namespace keystrand::test {
namespace {

using testing::Contains;
using testing::IsSupersetOf;
using testing::Not;

class Retrieval : public testing::Test {
 protected:
  void SetUp() override {
    if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
    server_.emplace(R"(location /timeless/ { add_header Last-Modified ""; })");
    ASSERT_TRUE(client_.addCA(ca_.certificate));
  }
  // A CRL that lists one serial number and says where it is issued.
  void publish(const std::string& path, const char* serial, CRLSpec wanted, const std::string& places = "") {
    wanted.entries = {{.serial = serial}};
    if (!places.empty())
      wanted.extensions.push_back({"issuingDistributionPoint", "@idp", "[idp]\nfullname=" + places + "\n"});
    server_->put(path, makeCRL(ca_, wanted));
  }
  long search(const std::string& path, const char* serial) { return client_.search({server_->url(path)}, serial); }
  // HEAD and GET requests for a path since the last call for any.
  std::pair<int, int> asked(const std::string& path) {
    const std::pair<int, int> counts(server_->count("HEAD", path), server_->count("GET", path));
    server_->forget();
    return counts;
  }

  RunningLibrary running_;
  Client client_;
  std::optional<NginxServer> server_;
  const Authority ca_ = makeAuthority();
};

const CRLSpec kStale = {.thisUpdate = "20240101000000Z", .nextUpdate = "20240201000000Z"};
const CRLSpec kOlder = {.thisUpdate = "20230101000000Z", .nextUpdate = "20380101000000Z"};

TEST_F(Retrieval, AStaleCRLTellsABetterPlace) {
  publish("/older.crl", "01", kOlder);
  publish("/fresh.crl", "02", {});
  publish("/stale.crl", "03", kStale,
          "dirName:dir,URI:" + server_->url("/older.crl") + ",URI:" + server_->url("/fresh.crl") + "\n[dir]\nCN=x");
  EXPECT_EQ(search("/stale.crl", "02"), 1) << "the newest of all answers";
  EXPECT_EQ(server_->count("GET", "/older.crl"), 1);
  EXPECT_EQ(server_->count("GET", "/fresh.crl"), 1);
  EXPECT_EQ(asked("/stale.crl"), std::pair(0, 1));
  EXPECT_EQ(search("/stale.crl", "03"), 0);
  EXPECT_EQ(server_->count("GET", "/fresh.crl"), 0) << "followed by a first fetch only";
  EXPECT_EQ(asked("/stale.crl"), std::pair(1, 0)) << "the row keeps its key";

  publish("/current.crl", "04", {}, "URI:" + server_->url("/fresh.crl"));
  EXPECT_EQ(search("/current.crl", "04"), 1);
  EXPECT_EQ(asked("/fresh.crl"), std::pair(0, 0)) << "a current CRL is taken as it is";
}

TEST_F(Retrieval, ACRLWithoutNextUpdateIsAlwaysDue) {
  publish("/fresh.crl", "02", {});
  publish("/endless.crl", "01", {.nextUpdate = std::nullopt});
  EXPECT_EQ(search("/endless.crl", "01"), 1);
  EXPECT_EQ(asked("/endless.crl"), std::pair(0, 1));
  EXPECT_THAT(running_.messages(), Not(Contains(testing::HasSubstr("expired"))));
  ASSERT_EQ(cache_saveCRLCache(client_.context()), 1);
  ASSERT_EQ(cache_loadCRLCache(client_.context()), 1);
  EXPECT_EQ(search("/endless.crl", "01"), 1);
  EXPECT_EQ(asked("/endless.crl"), std::pair(1, 1));
  EXPECT_EQ(cache_getNextUpdate(client_.context()), nullptr);
  publish("/placed.crl", "03", {.thisUpdate = "20240101000000Z", .nextUpdate = std::nullopt},
          "URI:" + server_->url("/fresh.crl"));
  EXPECT_EQ(search("/placed.crl", "02"), 1) << "due at once, so its place was followed";
}

TEST_F(Retrieval, AServerWithoutATimeHasNothingNewer) {
  publish("/timeless/a.crl", "01", {});
  EXPECT_EQ(search("/timeless/a.crl", "01"), 1);
  asked("");
  EXPECT_EQ(search("/timeless/a.crl", "01"), 1);
  EXPECT_EQ(asked("/timeless/a.crl"), std::pair(1, 0));
}

TEST_F(Retrieval, ARowKeepsItsCRLWhenTheNextOneIsRefused) {
  publish("/a.crl", "01", kOlder);
  ASSERT_EQ(search("/a.crl", "01"), 1);
  cache_removeSourceCACerts(client_.context(), 3);
  ASSERT_TRUE(client_.addCA(makeAuthority({.extensions = {{"subjectKeyIdentifier", "hash"}}}).certificate));
  publish("/a.crl", "02", {});
  cache_setDownloadCRL(3);
  running_.messages();
  EXPECT_EQ(search("/a.crl", "01"), 1);
  EXPECT_THAT(running_.messages(),
              IsSupersetOf({"C=IT,O=Keystrand,CN=Test CA", "CA key not enabled for CRL signature"}));
  EXPECT_EQ(search("/a.crl", "02"), -5136) << "not revoked, with the code of the refusal";
  EXPECT_EQ(client_.search({server_->url("/none.crl"), server_->url("/a.crl")}, "01"), 1) << "one place is enough";
}

TEST_F(Retrieval, ACRLThatIsNotNewerStillTellsWhereItsIssuerStands) {
  publish("/a.crl", "01", {});
  ASSERT_EQ(search("/a.crl", "01"), 1);
  cache_removeSourceCACerts(client_.context(), 3);
  const Authority another = makeAuthority({.subject = {{"CN", "Another"}}});
  ASSERT_TRUE(client_.addCA(another.certificate) && client_.addCA(ca_.certificate));
  cache_setDownloadCRL(3);
  ASSERT_EQ(search("/a.crl", "01"), 1);
  ASSERT_EQ(cache_saveCRLCache(client_.context()), 1);
  const ByteString file = readFile(running_.folder() / "crlCache");
  EXPECT_THAT(std::string(file.begin(), file.end()),
              testing::HasSubstr(std::string("Test CA\x02\x01\x01\x02\x01\x00", 13)))
      << "caIndex 1, certIndex 0";
}

TEST_F(Retrieval, OnlyACRLProxyOfHTTPSPassesTheHTTPProxyBy) {
  publish("/a.crl", "01", {});
  std::string nobody = "127.0.0.1";
  cache_setHTTPProxy(nobody.data(), 1, nullptr, nullptr);
  std::string proxy = server_->url("/a.crl?");
  cache_setCrlProxyUri(proxy.data());
  EXPECT_EQ(client_.search({"http://nowhere/x"}, "01"), -5137);
  running_.messages();
  proxy = server_->httpsURL("/a.crl?");
  cache_setCrlProxyUri(proxy.data());
  EXPECT_EQ(client_.search({"http://nowhere/x"}, "01"), 1);
  EXPECT_THAT(running_.messages(),
              IsSupersetOf({"CRL: " + proxy + "http://nowhere/x", std::string("Start CRL download via HTTPS")}));
}

TEST_F(Retrieval, AskingForWhatIsHeldFetchesWhatIsNot) {
  publish("/a.crl", "01", kStale);
  const auto point = Client::at({server_->url("/a.crl")});
  cache_setDownloadCRL(3);
  for (const int fetches : {1, 0}) {
    const std::unique_ptr<CertificateList> crl(cache_getCRL(client_.context(), point.get(), 0, 1, nullptr));
    EXPECT_TRUE(crl);
    EXPECT_EQ(asked("/a.crl"), std::pair(0, fetches));
  }
}

}  // namespace
}  // namespace keystrand::test
