// CRLs of European providers, asked through a real web server about serial numbers that stand on them and one that does
// not.
#include <gtest/gtest.h>

#include "support/Client.h"
#include "support/NginxServer.h"
#include "support/TestData.h"

namespace keystrand::test {
namespace {

TEST(RealRevocation, OfEuropeanProviders) {
  if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
  const auto crls = testData("crl/real");
  if (!crls) GTEST_SKIP() << kNoTestData;
  struct Row {
    const char *ca, *crl, *revoked;
    int reason;
  };
  RunningLibrary running;
  NginxServer server;
  for (const Row& row :
       {Row{"ti-trust-technologies-ca-1-737fbaf1.pem", "crl_with_expiredCertsOnCRL_extension.crl", "39", 6},
        Row{"ca-of-the-justice-of-ukraine-486e2dc1.pem", "CA-5358AA45-Full.crl",
            "5358AA454903301404000000010D0500CBD30B00", 0},
        Row{"d-trust-root-ca-1-2017-4d24807b.pem", "d-trust_root_ca_1_2017.crl", nullptr, 0},
        Row{"ee-govca2018-f164abe5.pem", "EE-GovCA2018.crl", "2496AD10D10CD58B5B8FA14982BE15C8", 4},
        Row{"belgium-root-ca2-9f974446.pem", "belgium2.crl", nullptr, 0},
        Row{"chambersign-france-ac-2-toiles-b82d97ee.pem", "crl-expiredCertsOnCRL-UTCTime.crl",
            "112756C263122451E95112539D7D34B6DE81", 0}}) {
    const Client client;
    ASSERT_TRUE(client.addCA(*crls / "issuers" / row.ca)) << row.ca;
    const std::string path = std::string("/") + row.ca;
    server.put(path, readFile(*crls / row.crl));
    EXPECT_EQ(client.search({server.url(path)}, "0102030405"), 0) << row.ca;
    if (row.revoked == nullptr) continue;
    EXPECT_EQ(client.search({server.url(path)}, row.revoked), 1) << row.ca;
    EXPECT_EQ(cache_getReason(client.context()), row.reason) << row.ca;
  }
}

}  // namespace
}  // namespace keystrand::test
