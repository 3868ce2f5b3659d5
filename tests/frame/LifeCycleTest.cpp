// Start, settings and end of the library, as a client sees them.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <mutex>
#include <new>
#include <thread>

#include "cache/Library.h"
#include "frame/Boundary.h"
#include "net/IPv4.h"
#include "net/NetState.h"
#include "support/Client.h"

namespace keystrand::test {
namespace {

const std::filesystem::path kGoodCA = pkits("certs/GoodCACert.crt");

TEST(LifeCycle, BeforeTheStartEverythingFailsSoftly) {
  EXPECT_EQ(cache_getCryptoDeviceSemaphore(), nullptr);
  const Client early;
  EXPECT_FALSE(early.addCA(kGoodCA));
  EXPECT_EQ(cache_getErrCode(early.context()), kNoCode);
  EXPECT_EQ(early.search({"http://127.0.0.1:9/x.crl"}, "01"), -5137);
  ByteString der = readFile(kGoodCA);
  EXPECT_EQ(cache_getCACertSource(early.context(), der.data(), static_cast<unsigned int>(der.size())), -1);
  EXPECT_EQ(cache_trustedCA(early.context(), der.data(), der.size()), 0);
  cache_finalize();

  const TempFolder folder;
  ASSERT_TRUE(initialise(folder.path()));
  EXPECT_NE(cache_getCryptoDeviceSemaphore(), nullptr);
  EXPECT_FALSE(early.addCA(kGoodCA)) << "a context keeps the device that it was made with";
  EXPECT_TRUE(Client().addCA(kGoodCA));
}

TEST(LifeCycle, TheFirstStartDecidesWhereTheFilesAre) {
  const TempFolder first;
  const TempFolder crls;
  const TempFolder second;
  ASSERT_TRUE(initialise(first.path(), "", crls.path()));
  ASSERT_TRUE(initialise(second.path(), "", second.path()));
  std::string ident = "late";
  EXPECT_EQ(cache_init(ident.data(), nullptr), 1);
  const Client client;
  ASSERT_TRUE(client.addCA(kGoodCA));
  EXPECT_EQ(cache_saveCACertList(client.context()), 1);
  EXPECT_EQ(cache_saveCRLCache(client.context()), 1);
  EXPECT_TRUE(exists(first / "caCertsList-3.5"));
  EXPECT_TRUE(exists(crls / "crlCache"));
  EXPECT_TRUE(is_empty(second.path()));
  struct stat status {};
  ASSERT_EQ(stat((crls / "crlCache").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST(LifeCycle, AfterTheEndANewContextFailsAndTheLibraryDoesNotStartAgain) {
  const TempFolder folder;
  ASSERT_TRUE(initialise(folder.path()));
  const auto early = std::make_unique<Client>();  // released when the device that it was made with is closed
  ASSERT_TRUE(early->addCA(pkits("certs/TrustAnchorRootCertificate.crt")));
  const std::unique_ptr<Certificate> root(cache_getCACert(early->context(), 0, 0));
  const auto issuer = [&] { return cache_getCAIndex(early->context(), root.get(), 0, nullptr); };
  EXPECT_EQ(issuer(), 0);
  cache_finalize();
  cache_finalize();
  EXPECT_EQ(issuer(), -1) << "a thread that is late finds a device that fails";
  EXPECT_TRUE(initialise(folder.path()));
  const Client late;
  EXPECT_FALSE(late.addCA(kGoodCA));
  EXPECT_EQ(cache_getCACertsNum(late.context()), 1);
}

TEST(LifeCycle, ManyThreadsStartItOnce) {
  const TempFolder folder;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      ASSERT_TRUE(initialise(folder.path()));
      const Client client;
      EXPECT_TRUE(client.addCA(kGoodCA)) << "whoever comes back from cache_init works on the finished state";
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(cache_getCACertsNum(Client().context()), 1);
}

TEST(Settings, LogLevelIsThatOfTheMomentOfTheContextAndLanguageOfTheCall) {
  const TempFolder folder;
  const std::string log = folder / "log";
  cache_disableLog();
  initialise(folder.path(), log);
  const Client silent;
  cache_enableLog(200);  // counts as the most detailed level
  const Client tracing;
  cache_enableLog(3);
  const Client failures;
  cache_loadCRLCache(silent.context());
  EXPECT_FALSE(std::filesystem::exists(log));
  cache_loadCRLCache(tracing.context());
  cache_setLang(1);
  cache_loadCRLCache(tracing.context());
  cache_setLang(256 + 0);  // the low byte counts
  cache_loadCRLCache(failures.context());
  std::ifstream in(log);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line.substr(line.find("]: ") + 3));
  EXPECT_THAT(lines, testing::ElementsAre("Caricamento cache delle CRL in corso",
                                          "Impossibile leggere la cache delle CRL", "Loading cache of CRLs in progress",
                                          "Failed to access the CRLs cache", "Impossibile leggere la cache delle CRL"));
}

TEST(Settings, SurviveTheStartButForTheDownloadMode) {
  cache_setDownloadCRL(4);
  cache_setLang(1);
  cache_setCrlProxyUri(nullptr);
  cache_setCURLlog(nullptr);
  cache_setCURLCaCert("");
  cache_setEUTSLLocation(nullptr);
  const RunningLibrary running;
  const Client client;
  ASSERT_TRUE(client.addCA(kGoodCA));
  // Mode 4 would add no row: that the failed download leaves one shows that the start set the mode again.
  EXPECT_EQ(client.search({"http://127.0.0.1:9/x.crl"}, "01"), -5137);
  EXPECT_EQ(cache_isCRLCacheLoaded(), 1);
}

// An update of all CRLs holds the table's mutex for as long as the network takes.
TEST(Settings, AskingForTheStateOfTheCRLCacheWaitsForNobody) {
  const std::lock_guard update(library().crlMutex);
  EXPECT_EQ(cache_isCRLCacheLoaded() + cache_isCRLCacheModified(), 0);
  cache_clearCRLCacheModified();
}

// Entries with a mask are for the socket clients only and cut in place; one without may be a literal.
TEST(Settings, NoSOCKSEntriesReachBothClients) {
  std::string masked = "  10.1.2.3 /  255.255.0.0 rest";
  std::string slashFirst = "  /x";
  char address[] = "192.168.1.7";
  char host[] = "ca.example.it";
  char* entries[] = {masked.data(), slashFirst.data(), address, host, nullptr};
  cache_setNoSOCKS(entries);
  EXPECT_STREQ(masked.c_str(), "  10.1.2.3");
  EXPECT_STREQ(slashFirst.c_str(), "");
  EXPECT_STREQ(address, "192.168.1.7");
  const NetSettings net = NetState::instance().snapshot();
  EXPECT_EQ(net.curl.noProxy, "192.168.1.7,ca.example.it");
  std::vector<std::string> networks;
  for (const auto& [network, mask] : net.socks.directNetworks)
    networks.push_back(dottedText({network}) + "/" + dottedText({mask}));
  EXPECT_THAT(networks, testing::ElementsAre("10.1.0.0/255.255.0.0", "192.168.1.7/255.255.255.255"));
  cache_setNoSOCKS(nullptr);
  cache_setNoHTTPProxy(nullptr);
}

TEST(Settings, ASOCKSServerReachesBothClientsAndNoHostEndsIt) {
  std::string host = "socks.example.it";
  std::string user = "user";
  cache_setSOCKSProxy(host.data(), 1080, user.data(), user.data());
  NetSettings net = NetState::instance().snapshot();
  EXPECT_EQ(net.socks.host + net.curl.proxyHost, host + host);
  EXPECT_TRUE(net.socks.credentials && net.curl.proxyCredentials);
  cache_setSOCKSProxy(host.data(), 1080, user.data(), nullptr);
  EXPECT_FALSE(socksState().credentials);
  cache_setSOCKSProxy(nullptr, 1080, nullptr, nullptr);
  net = NetState::instance().snapshot();
  EXPECT_EQ(net.socks.host + net.curl.proxyHost, "");
}

TEST(Boundary, NullAndOutOfRangeGiveTheFailureValue) {
  const RunningLibrary running;
  const Client client;
  ASSERT_TRUE(client.addCA(kGoodCA));
  const std::unique_ptr<Certificate> known(cache_getCACert(client.context(), 0, 0));
  const std::unique_ptr<Name> subject(known->subject());
  for (void* ctx : {static_cast<void*>(nullptr), client.context()}) {
    char* noText = nullptr;
    unsigned char* noBytes = nullptr;
    Certificate* noCertificate = nullptr;
    CertificateList* noCRL = nullptr;
    AttributeCertificate* noAttributes = nullptr;
    Name* noName = nullptr;
    Certificate* issuer = nullptr;
    EXPECT_FALSE(cache_initCACertListPEM(ctx, noText) || cache_addCACertListPEM(ctx, noText) ||
                 cache_addCACert(ctx, noText) || cache_addCACert(ctx, noCertificate) ||
                 cache_addCACert(ctx, noCertificate, 3) || cache_addCACert(ctx, noBytes, 5) ||
                 cache_addCACertDER(ctx, noBytes, 0) || cache_addCACertPEM(ctx, noText) ||
                 cache_addCACertPEM(ctx, noText, nullptr) || cache_removeCACertPEM(ctx, noText) ||
                 cache_removeCACertDER(ctx, noBytes, 7) || cache_removeCACert(ctx, noName, noName, BigInteger(1)) ||
                 cache_removeCountryCACerts(ctx, noText) || cache_trustedCA(ctx, noBytes, 1UL << 40U) ||
                 cache_searchCRL(ctx, nullptr, -7, noText));
    const std::vector<int> missing = {cache_getCACerts(ctx, noName),
                                      cache_getCertIndex(ctx, 0, noName, BigInteger(1)),
                                      cache_getCAIndex(ctx, noCertificate, 0, nullptr),
                                      cache_getCAIndex(ctx, noCRL, -1, nullptr),
                                      cache_getCAIndex(ctx, noAttributes, 5000, nullptr),
                                      cache_getCACertSource(ctx, noText),
                                      cache_getCACertSource(ctx, noBytes, 3),
                                      cache_getCACertSource(ctx, noName, noName, BigInteger(1))};
    EXPECT_THAT(missing, testing::Each(-1));
    for (int row : {-1, 1, 2048, 1 << 30}) {
      EXPECT_EQ(cache_getCertIndex(ctx, row, subject.get(), BigInteger(2)), -1);
      EXPECT_EQ(cache_getCAIndex(ctx, known.get(), row, nullptr), -1);
      EXPECT_EQ(cache_getCACert(ctx, row, 0), nullptr);
      EXPECT_EQ(cache_getCACert(ctx, 0, row), nullptr);
      EXPECT_EQ(cache_getCACertSource(ctx, row, 0), -1);
      EXPECT_EQ(cache_getCACertSource(ctx, 0, row), -1);
      EXPECT_EQ(cache_getCountryCode(ctx, row, 0), nullptr);
      EXPECT_EQ(cache_getServiceType(ctx, 0, row), nullptr);
      EXPECT_EQ(cache_getServiceStatus(ctx, row, row), nullptr);
      EXPECT_EQ(cache_getQualified(ctx, row, 0), 255);
    }
    EXPECT_FALSE(cache_getCRL(ctx, nullptr, 0, &issuer) || cache_getCertMetadatiTSL(ctx, noText) ||
                 cache_getCertMetadata(ctx, noText) || cache_getThisUpdate(ctx) || cache_getExpiredCertsOnCRL(ctx));
    cache_addLocalCRL(ctx, noCRL);
    cache_removeLocalCRLs(ctx);
    cache_resetReport(ctx);
  }
  EXPECT_EQ(cache_getErrCode(nullptr), kNoCode);
  EXPECT_EQ(ocsp_getErrCode(nullptr), kNoCode);
  cache_clean(nullptr);
  cache_releaseContext(nullptr);
  ocsp_releaseContext(nullptr);
  cache_releaseCharArray(nullptr);
  cache_releaseCertificate(nullptr);
  cache_releaseX500Time(nullptr);
}

// 0 with a code of -1 would read as "not revoked".
TEST(Boundary, AQuestionThatThrowsLeavesACode) {
  CACache cache;
  cache.report().errCode = -1;
  const auto outOfMemory = [](CACache&) -> bool { throw std::bad_alloc(); };
  EXPECT_EQ((asking<CACache, unsigned char>(&cache, 0, outOfMemory)), 0);
  EXPECT_EQ(cache.report().errCode, kInternalError);
}

}  // namespace
}  // namespace keystrand::test
