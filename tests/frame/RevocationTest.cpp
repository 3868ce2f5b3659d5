// The revocation question over a real web server: what is asked of the server, what is answered, reported and logged.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/Builders.h"
#include "support/Client.h"
#include "support/Coding.h"
#include "support/NginxServer.h"

namespace keystrand::test {
namespace {

using testing::ElementsAre;

const std::filesystem::path kGoodCA = pkits("certs/GoodCACert.crt");
const ByteString kGoodCRL = readFile(pkits("crls/GoodCACRL.crl"));
constexpr std::time_t kNewYear2026 = 1767225600;

// A library that knows Good CA, and a server with its CRL: serial numbers 0E and 0F are revoked, key compromise.
class Revocation : public testing::Test {
 protected:
  void SetUp() override {
    if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
    ASSERT_TRUE(client_.addCA(kGoodCA));
    server_.put("/good.crl", kGoodCRL, kNewYear2026);
    running_.messages();
  }
  // HEAD and GET requests for a path since the last call.
  std::pair<int, int> asked(const std::string& path = "/good.crl") {
    const std::pair<int, int> counts(server_.count("HEAD", path), server_.count("GET", path));
    server_.forget();
    return counts;
  }
  std::string dateText(X500Time* (*getter)(void*)) const {
    const std::unique_ptr<X500Time, decltype(&cache_releaseX500Time)> time(getter(client_.context()),
                                                                           &cache_releaseX500Time);
    return time ? time->textView() : "none";
  }

  RunningLibrary running_;
  Client client_;
  NginxServer server_;
  const std::string url_ = server_.url("/good.crl");
};

TEST_F(Revocation, AnswersReportAndLogOfTheFirstAndTheNextSearch) {
  EXPECT_EQ(client_.search({url_}, "0E"), 1);
  EXPECT_EQ(cache_getReason(client_.context()), 1);
  EXPECT_EQ(dateText(cache_getRevocationDate), "100101083000Z");
  EXPECT_EQ(dateText(cache_getThisUpdate), "100101083000Z");
  EXPECT_EQ(dateText(cache_getNextUpdate), "301231083000Z");
  EXPECT_EQ(dateText(cache_getExpiredCertsOnCRL), "none");
  EXPECT_EQ(dateText(cache_getInvalidSince), "none");
  EXPECT_EQ(asked(), std::pair(0, 1)) << "a first search asks for no time";
  EXPECT_THAT(
      running_.messages(),
      ElementsAre("Start search for CRL", "End of search for CRL: CRL not found", "CRL: " + url_,
                  "Start CRL download via HTTP", "End of CRL download via HTTP", "Start CRL check", "End of CRL check",
                  "New CRL added to cache", "CRL date: Jan 01 08:30:00 2010 GMT", "Start search within CRL",
                  "Revocation date: Jan 01 08:30:00 2010 GMT", "End of search within CRL: certificate revoked"));

  EXPECT_EQ(client_.search({url_}, "01"), 0);
  EXPECT_EQ(asked(), std::pair(1, 0));
  EXPECT_THAT(running_.messages(),
              ElementsAre("Start search for CRL", "Start CRL timestamp request via HTTPS",
                          "End of CRL timestamp request via HTTPS", "End of search for CRL: CRL found",
                          "CRL date: Jan 01 08:30:00 2010 GMT", "Start search within CRL",
                          "End of search within CRL: certificate not revoked"));
  // The report keeps what the search did not replace, until it is reset.
  EXPECT_EQ(cache_getReason(client_.context()), 1);
  cache_resetReport(client_.context());
  EXPECT_EQ(cache_getReason(client_.context()), 0);
  EXPECT_EQ(dateText(cache_getRevocationDate), "none");
}

TEST_F(Revocation, DownloadModesMakeExactlyTheirRequests) {
  struct Row {
    const char* name;
    int mode, timeStampCheck;
    std::pair<int, int> first, second, afterTouch;  // HEAD and GET
    long firstAnswer;
  };
  int number = 0;
  for (const Row& row :
       {Row{"once per session", 1, 1, {0, 1}, {0, 0}, {0, 0}, 1},
        Row{"when due or newer", 2, 1, {0, 1}, {1, 0}, {1, 1}, 1},
        Row{"without asking the time", 2, 0, {0, 1}, {0, 0}, {0, 0}, 1}, Row{"always", 3, 1, {0, 1}, {0, 1}, {0, 1}, 1},
        Row{"any other value is the second", 77, 1, {0, 1}, {1, 0}, {1, 1}, 1},
        Row{"never", 4, 1, {0, 0}, {0, 0}, {0, 0}, -5137}}) {
    const std::string path = "/mode" + std::to_string(number++) + ".crl";
    server_.put(path, kGoodCRL, kNewYear2026);
    cache_setDownloadCRL(static_cast<unsigned char>(row.mode));
    cache_setTimeStampCheck(static_cast<unsigned char>(row.timeStampCheck));
    EXPECT_EQ(client_.search({server_.url(path)}, "0E"), row.firstAnswer) << row.name;
    EXPECT_EQ(asked(path), row.first) << row.name;
    client_.search({server_.url(path)}, "0E");
    EXPECT_EQ(asked(path), row.second) << row.name;
    server_.put(path, kGoodCRL, kNewYear2026 + 60);
    client_.search({server_.url(path)}, "0E");
    EXPECT_EQ(asked(path), row.afterTouch) << row.name;
    // The same CRL under a newer time is fetched again each time: the row keeps CRL and time together.
    client_.search({server_.url(path)}, "0E");
    EXPECT_EQ(asked(path), row.afterTouch) << row.name;
  }
}

TEST_F(Revocation, WhatIsNoCRLHarmsNothing) {
  server_.put("/page.html", std::string_view("<html>sorry</html>"));
  server_.put("/truncated.crl", std::span(kGoodCRL).first(kGoodCRL.size() - 40));
  for (const std::string& url : {server_.url("/page.html"), server_.url("/truncated.crl"), std::string("nonsense"),
                                 std::string("http://127.0.0.1:1/x.crl"), std::string("file:///etc/passwd")})
    EXPECT_EQ(client_.search({url}, "0E"), -5137) << url;
  EXPECT_EQ(client_.search({url_}, "0E"), 1);
  server_.put("/good.crl", withBitFlipped(kGoodCRL), kNewYear2026 + 60);
  EXPECT_EQ(client_.search({url_}, "0E"), 1) << "a row goes on with the CRL it holds";
  server_.remove("/good.crl");
  EXPECT_EQ(client_.search({url_}, "0E"), 1);
}

TEST_F(Revocation, DistributionPointsWithoutAnAddress) {
  Certificate certificate;
  ASSERT_TRUE(decode(certificate, readFile(kGoodCA)));
  GeneralName name;
  name.setDirectoryName(certificate.subjectView());
  GeneralName address;
  address.setURI(url_.c_str());
  GeneralNameList names;
  names.add(name);
  DistributionPointName onlyName;
  onlyName.setFullName(&names);
  EXPECT_EQ(client_.search(onlyName, "0E"), -5234);
  names.add(address);
  DistributionPointName both;
  both.setFullName(&names);
  EXPECT_EQ(client_.search(both, "01"), -5234) << "the row answers, the code stays";
  EXPECT_EQ(client_.search(both, "0E"), 1);
  EXPECT_EQ(cache_getErrCode(client_.context()), 5234UL);
  DistributionPointName empty;
  EXPECT_EQ(client_.search(empty, "0E"), -5199);

  Certificate* caCert = &certificate;
  EXPECT_EQ(cache_getCRL(client_.context(), &empty, 0, &caCert), nullptr);
  EXPECT_EQ(caCert, &certificate) << "left alone";
  EXPECT_EQ(cache_getErrCode(client_.context()), 5199UL);
  EXPECT_EQ(cache_getCRL(client_.context(), &onlyName, 0, &caCert), nullptr);
  EXPECT_EQ(caCert, nullptr);
  EXPECT_EQ(cache_getErrCode(client_.context()), 5137UL);
}

TEST_F(Revocation, GetCRLGivesACopyAndItsIssuer) {
  Certificate* issuer = nullptr;
  const auto point = Client::at({url_});
  std::unique_ptr<CertificateList> crl(cache_getCRL(client_.context(), point.get(), 0, &issuer));
  const std::unique_ptr<Certificate> signer(issuer);
  ASSERT_TRUE(crl && signer);
  EXPECT_EQ(crl->revokedCertificates()->count(), 2);
  EXPECT_EQ(signer->subjectView()->text(), "C=US,O=Test Certificates 2011,CN=Good CA");
  asked();
  crl.reset(cache_getCRL(client_.context(), point.get(), 0, 1, nullptr));
  EXPECT_TRUE(crl);
  EXPECT_EQ(asked(), std::pair(0, 0)) << "a held CRL is enough";
  // The CA list changes beneath: the issuer is found where it stands now, or not at all.
  cache_removeSourceCACerts(client_.context(), 3);
  crl.reset(cache_getCRL(client_.context(), point.get(), 0, 1, &issuer));
  EXPECT_TRUE(crl);
  EXPECT_EQ(issuer, nullptr);
  ASSERT_TRUE(client_.addCA(pkits("certs/TrustAnchorRootCertificate.crt")) && client_.addCA(kGoodCA));
  crl.reset(cache_getCRL(client_.context(), point.get(), 0, 1, &issuer));
  const std::unique_ptr<Certificate> found(issuer);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->subjectView()->text(), "C=US,O=Test Certificates 2011,CN=Good CA");
}

TEST_F(Revocation, LocalCRLsReplaceTheTableAndTheNetwork) {
  cache_setUseLocalCRLs(client_.context(), 1);
  EXPECT_EQ(client_.search({url_}, "0E"), -5137);
  EXPECT_THAT(running_.messages(), testing::IsEmpty()) << "nothing was tried";
  CertificateList crl;
  ASSERT_TRUE(decode(crl, kGoodCRL));
  cache_addLocalCRL(client_.context(), &crl);
  EXPECT_EQ(client_.search({url_}, "0E"), -5137) << "read without a digest it does not verify";

  cache_setUseLocalCRLs(client_.context(), 0);
  const auto point = Client::at({url_});
  const std::unique_ptr<CertificateList> verified(cache_getCRL(client_.context(), point.get(), 0, nullptr));
  ASSERT_TRUE(verified);
  asked();
  cache_removeLocalCRLs(client_.context());
  cache_addLocalCRL(client_.context(), verified.get());
  cache_setUseLocalCRLs(client_.context(), 1);
  EXPECT_EQ(client_.search({"http://anywhere/"}, "0E"), 1);
  EXPECT_EQ(dateText(cache_getThisUpdate), "100101083000Z");
  EXPECT_EQ(client_.search({"http://anywhere/"}, "0E", 7), -5137) << "no such CA row";
  EXPECT_EQ(asked(), std::pair(0, 0));
  EXPECT_EQ(Client().search({url_}, "0E"), 1) << "other contexts use the table";
}

TEST_F(Revocation, CRLProxyIsTriedUntilItFails) {
  std::string proxy = server_.url("/proxy?u=") + "&k=v";
  cache_setCrlProxyUri(proxy.data());
  server_.put("/proxy", kGoodCRL);
  const std::string throughProxy = "CRL: " + server_.url("/proxy?u=");
  EXPECT_EQ(client_.search({url_}, "0E"), 1);
  EXPECT_THAT(running_.messages(), testing::IsSupersetOf({"CRL: " + url_, throughProxy + url_ + "&k=v"}));
  EXPECT_EQ(asked(), std::pair(0, 0));
  server_.remove("/proxy");
  cache_setDownloadCRL(3);
  EXPECT_EQ(client_.search({url_}, "0E"), 1);
  EXPECT_EQ(asked(), std::pair(0, 1)) << "directly once the proxy has failed";
  server_.put("/proxy", kGoodCRL);
  running_.messages();
  EXPECT_EQ(client_.search({url_}, "0E"), 1);
  EXPECT_THAT(running_.messages(), testing::Not(testing::Contains(testing::HasSubstr("/proxy"))))
      << "and off from then on";
}

TEST_F(Revocation, SavedFilesAnswerInAnotherProcessWithoutTheNetwork) {
  const pid_t child = fork();
  if (child == 0) {
    const bool isSaved = client_.search({url_}, "0E") == 1 && cache_saveCACertList(client_.context()) == 1 &&
                         cache_saveCRLCache(client_.context()) == 1;
    _exit(isSaved && cache_isCRLCacheModified() == 1 ? 0 : 1);  // a save does not clear the mark
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_EQ(status, 0);
  cache_clean(client_.context());
  EXPECT_EQ(cache_isCRLCacheLoaded(), 0);
  EXPECT_EQ(cache_getCACertsNum(client_.context()), 0);
  cache_setDownloadCRL(4);
  EXPECT_EQ(client_.search({url_}, "0E"), -5137);
  asked();
  ASSERT_EQ(cache_loadCACertList(client_.context()), 1);
  ASSERT_EQ(cache_loadCRLCache(client_.context()), 1);
  EXPECT_EQ(cache_isCRLCacheLoaded(), 1);
  EXPECT_EQ(cache_isCRLCacheModified(), 0);
  EXPECT_EQ(client_.search({url_}, "0E"), 1);
  EXPECT_EQ(client_.search({url_}, "01"), 0);
  EXPECT_EQ(asked(), std::pair(0, 0));
  cache_setDownloadCRL(2);
  EXPECT_EQ(client_.search({url_}, "01"), 0);
  EXPECT_EQ(asked(), std::pair(1, 0)) << "the server's time was kept too";
}

}  // namespace
}  // namespace keystrand::test
