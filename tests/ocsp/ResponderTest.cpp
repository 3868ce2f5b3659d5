// Checks against a real responder.
#include <gmock/gmock.h>

#include <thread>

#include "ocsp/OCSPClient.h"
#include "support/OCSPResponder.h"

namespace keystrand::test {
namespace {

using testing::ElementsAre;

// Usage and purpose of a responder that the issuer has certified.
const std::vector<ExtensionSpec> kResponderExtensions = {{"keyUsage", "critical,digitalSignature"},
                                                         {"extendedKeyUsage", "OCSPSigning"}};

Authority responderOf(const Authority& issuer, const PrivateKey& key,
                      const std::vector<ExtensionSpec>& extensions = kResponderExtensions) {
  return {key, makeCertificate(
                   issuer, {.serial = "77", .subject = {{"CN", "Responder"}}, .key = key, .extensions = extensions})};
}

class Responder : public testing::Test {
 protected:
  void SetUp() override {
    if (!OCSPResponder::installed()) GTEST_SKIP() << OCSPResponder::kNotInstalled;
  }
  RunningLibrary running_;
  OCSPClient client_;
};

TEST_F(Responder, IssuersOfEachKindAreAskedAndAnswer) {
  struct Kind {
    const char *name, *key;
    std::vector<std::string> options;
  };
  for (const Kind& kind : {
           Kind{"RSA, by name", "RSA-2048", {}},
           Kind{"RSA, by key, SHA-512", "RSA-2048", {"-resp_key_id", "-rmd", "sha512"}},
           Kind{"RSA, without certificate, with nextUpdate", "RSA-2048", {"-resp_no_certs", "-ndays", "7"}},
           Kind{"RSASSA-PSS", "RSA-2048", {"-rsigopt", "rsa_padding_mode:pss", "-rsigopt", "rsa_pss_saltlen:-1"}},
           Kind{"P-256, by key, without certificate", "P-256", {"-resp_key_id", "-resp_no_certs"}},
           Kind{"P-384", "P-384", {"-rmd", "sha384"}},
       }) {
    SCOPED_TRACE(kind.name);
    const Authority ca = makeAuthority({.key = privateKey(kind.key, 5)});
    const std::string large = "0123456789ABCDEF0123456789ABCDEF01234567";
    OCSPResponder responder(ca, ca, kind.options);
    responder.add("01");
    responder.revoke("8000");
    EXPECT_EQ(client_.check(responder.url(), ca, "01"), kGood);
    EXPECT_EQ(client_.check(responder.url(), ca, "8000"), kRevoked);
    EXPECT_EQ(client_.check(responder.url(), ca, large), kNoAnswer);
    // Byte for byte what OpenSSL asks: for SHA-1 both write NULL parameters.
    EXPECT_THAT(responder.requests(),
                ElementsAre(makeRequest(ca, "01"), makeRequest(ca, "8000"), makeRequest(ca, large)));
  }
}

TEST_F(Responder, DelegatedResponders) {
  const Authority ca = makeAuthority();
  const Authority other = makeAuthority({.subject = {{"CN", "Other CA"}}, .key = privateKey("P-256", 6)});
  const PrivateKey key = privateKey("RSA-2048", 1);
  struct Row {
    const char* name;
    Authority signer;
    std::vector<std::string> options;
    Answer answer;
  };
  for (const Row& row :
       {Row{"certified, enclosed", responderOf(ca, key), {}, kGood},
        Row{"certified by another", responderOf(other, key), {}, kNoAnswer},
        Row{"for another purpose",
            responderOf(ca, key, {{"keyUsage", "digitalSignature"}, {"extendedKeyUsage", "serverAuth"}}),
            {},
            kNoAnswer},
        Row{"for no purpose", responderOf(ca, key, {{"keyUsage", "digitalSignature"}}), {}, kNoAnswer},
        Row{"without key usage", responderOf(ca, key, {{"extendedKeyUsage", "OCSPSigning"}}), {}, kNoAnswer},
        Row{"without extensions", responderOf(ca, key, {}), {}, kNoAnswer},
        // What the key usage says plays no part.
        Row{"with a key usage for something else",
            responderOf(ca, key, {{"keyUsage", "keyAgreement"}, {"extendedKeyUsage", "OCSPSigning"}}),
            {},
            kGood},
        Row{"the issuer, damaged", ca, {"-badsig"}, kNoAnswer}}) {
    SCOPED_TRACE(row.name);
    OCSPResponder responder(ca, row.signer, row.options);
    responder.add("1001");
    EXPECT_EQ(client_.check(responder.url(), ca, "1001"), row.answer);
  }
}

TEST_F(Responder, ReportsEachReason) {
  const Authority ca = makeAuthority();
  OCSPResponder responder(ca, ca, {"-ndays", "7"});
  struct Row {
    const char *serial, *word;
    int reason;
    const char* invalidSince;
  };
  for (const Row& row :
       {Row{"01", "", 0, "none"}, Row{"02", "unspecified", 0, "none"}, Row{"03", "keyCompromise", 1, "none"},
        Row{"04", "CACompromise", 2, "none"}, Row{"05", "affiliationChanged", 3, "none"},
        Row{"06", "superseded", 4, "none"}, Row{"07", "cessationOfOperation", 5, "none"},
        Row{"08", "certificateHold", 6, "none"}, Row{"09", "removeFromCRL", 8, "none"},
        Row{"0A", "keyTime,20240101000000Z", 1, "20240101000000Z"}}) {
    SCOPED_TRACE(row.word);
    responder.revoke(row.serial, row.word);
    ocsp_resetReport(client_.context());
    EXPECT_EQ(client_.check(responder.url(), ca, row.serial), kRevoked);
    EXPECT_EQ(client_.reason(), row.reason);
    EXPECT_EQ(client_.time(ocsp_getRevocationDate), "20250102030405Z");
    EXPECT_EQ(client_.time(ocsp_getInvalidSince), row.invalidSince);
    EXPECT_NE(client_.time(ocsp_getThisUpdate), "none");
    EXPECT_NE(client_.time(ocsp_getNextUpdate), "none");
  }
  // The report keeps what a check did not replace, until it is reset.
  responder.add("0B");
  EXPECT_EQ(client_.check(responder.url(), ca, "0B"), kGood);
  EXPECT_EQ(client_.reason(), 1);
  EXPECT_EQ(client_.time(ocsp_getInvalidSince), "20240101000000Z");
  ocsp_resetReport(client_.context());
  EXPECT_EQ(client_.reason(), 0);
  EXPECT_EQ(client_.time(ocsp_getRevocationDate), "none");
  EXPECT_EQ(client_.time(ocsp_getThisUpdate), "none");
}

// A responder may answer by another digest than it was asked by.
TEST_F(Responder, MatchesByTheDigestOfTheAnswer) {
  const Authority ca = makeAuthority({.key = privateKey("RSA-2048", 5)});
  OCSPResponder responder(ca, ca);
  responder.revoke("1002", "superseded");
  for (const char* digest : {"SHA1", "SHA224", "SHA256", "SHA384", "SHA512", "MD5"}) {
    SCOPED_TRACE(digest);
    const ByteString response = responder.answerTo(makeRequest(ca, "1002", digest));
    EXPECT_EQ(client_.checkStored(response, ca, "1002"), kRevoked);
    EXPECT_EQ(client_.checkStored(response, ca, "1003"), kNoAnswer);
  }
  const ByteString unknownDigest = responder.answerTo(makeRequest(ca, "1002", "BLAKE2s256"));
  EXPECT_EQ(client_.checkStored(unknownDigest, ca, "1002"), kNoAnswer);
}

// Four contexts at once, each with an issuer and questions of its own, on the one device.
TEST_F(Responder, FourContextsAtOnce) {
  constexpr int kRounds = 10;
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    const Authority ca = makeAuthority({.key = privateKey(number % 2 == 0 ? "P-256" : "RSA-2048", number)});
    threads.emplace_back([ca] {
      OCSPResponder responder(ca, ca);
      responder.add("1001");
      responder.revoke("1002");
      const OCSPClient client;
      for (int i = 0; i < kRounds; ++i) {
        EXPECT_EQ(client.check(responder.url(), ca, "1001"), kGood);
        EXPECT_EQ(client.check(responder.url(), ca, "1002"), kRevoked);
        EXPECT_EQ(client.check(responder.url(), ca, "1003"), kNoAnswer);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace keystrand::test
