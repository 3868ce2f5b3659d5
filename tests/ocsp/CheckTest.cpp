// What a check makes of answers that no good responder gives, and of stored responses.
#include <gmock/gmock.h>

#include "ocsp/OCSPChecker.h"
#include "ocsp/OCSPClient.h"
#include "support/Der.h"
#include "support/ScriptedServer.h"
#include "support/Socket.h"

namespace keystrand::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Then = ScriptedServer::Then;

const Authority kCA = makeAuthority();
constexpr const char* kFailed = "Failed to get OCSP status";

ByteString goodResponse() {
  return makeResponse(makeBasicResponse(kCA, kCA));
}

std::string served(const ByteString& bytes) {
  return ScriptedServer::ok({bytes.begin(), bytes.end()});
}

// The messages behind the address of the responder.
std::vector<std::string> details(RunningLibrary& running) {
  std::vector<std::string> messages = running.messages();
  if (messages.size() >= 2) messages.erase(messages.begin(), messages.begin() + 2);
  return messages;
}

class OCSPCheck : public testing::Test {
 protected:
  RunningLibrary running_;
  OCSPClient client_;
};

TEST_F(OCSPCheck, FailuresOfTheExchange) {
  const std::string gone = "http://127.0.0.1:" + std::to_string(freePort()) + "/";
  const ByteString good = goodResponse();
  const ByteString half(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(good.size() / 2));
  const auto httpError = [](int number) { return "OCSP service: HTTP error [" + std::to_string(number) + "]"; };
  const std::string incorrect = "OCSP service: response with incorrect format";
  struct Row {
    const char* name;
    ScriptedServer::Answer answer;
    std::string detail;
    std::string uri = {};  // instead of the server's
  };
  for (const Row& row : {
           Row{"not found", {"HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"}, httpError(404)},
           Row{"a redirect is not followed",
               {"HTTP/1.1 302 Found\r\nLocation: /\r\nContent-Length: 0\r\n\r\n"},
               httpError(302)},
           Row{"a failure with a good response",
               {"HTTP/1.1 500 Internal Server Error\r\nContent-Length: " + std::to_string(good.size()) + "\r\n\r\n" +
                std::string(good.begin(), good.end())},
               httpError(500)},
           Row{"silence", {"", Then::silence}, httpError(11)},
           Row{"more than any response has", {ScriptedServer::ok(std::string(5'000'000, '0'))}, httpError(11)},
           Row{"nobody listens", {}, httpError(11), gone},
           Row{"an LDAP address", {}, httpError(0), "ldap://127.0.0.1/cn=x"},
           Row{"a file", {}, httpError(0), "file:///etc/passwd"},
           Row{"an empty address", {}, httpError(0), " "},
           Row{"an empty body", {ScriptedServer::ok("")}, incorrect},
           Row{"half a response", {served(half)}, incorrect},
       }) {
    SCOPED_TRACE(row.name);
    ocsp_setTCPTimeout(row.answer.then == Then::silence ? 1 : 20);  // another name of ocsp_setTimeout
    const ScriptedServer server({row.answer});
    EXPECT_EQ(client_.check(row.uri.empty() ? server.url() : row.uri, kCA, "1001"), kNoAnswer);
    EXPECT_THAT(details(running_), ElementsAre(row.detail, kFailed));
  }
}

TEST_F(OCSPCheck, FailuresOfTheResponse) {
  const ByteString basic = makeBasicResponse(kCA, kCA);
  const std::string incorrect = "OCSP service: response with incorrect format";
  const auto status = [](int number) { return "OCSP service: OCSP error [" + std::to_string(number) + "]"; };
  const auto typed = [](const ByteString& type, const ByteString& content) {
    return element(0x30, fromHex("0A0100") + element(0xA0, element(0x30, type + content)));
  };
  const ByteString basicType = fromHex("06092B0601050507300101");
  struct Row {
    const char* name;
    ByteString response;
    Answer answer;
    std::vector<std::string> details;
  };
  const std::vector<std::string> good = {"Start verification of OCSP response", "End verification of OCSP response",
                                         "OCSP response date: Jan 01 00:00:00 2025 GMT",
                                         "OCSP alignment date: Jan 01 00:00:00 2038 GMT",
                                         "End of OCSP access: certificate not revoked"};
  const std::vector<std::string> noData = {good[0], good[1], "OCSP Service: no data", kFailed};
  const auto about = [](const BasicResponseSpec& wanted) { return makeResponse(makeBasicResponse(kCA, kCA, wanted)); };
  for (const Row& row : {
           Row{"malformedRequest", makeResponse({}, 1), kNoAnswer, {status(1), kFailed}},
           Row{"tryLater, though a response comes along", makeResponse(basic, 3), kNoAnswer, {status(3), kFailed}},
           Row{"unauthorized", makeResponse({}, 6), kNoAnswer, {status(6), kFailed}},
           // Statuses that the standard does not have are looked into.
           Row{"status 4", makeResponse(basic, 4), kGood, good},
           Row{"status 200", makeResponse(basic, 200), kGood, good},
           Row{"status 0 without a response", makeResponse({}, 0), kNoAnswer, {incorrect, kFailed}},
           Row{"status 4 without a response", makeResponse({}, 4), kNoAnswer, {incorrect, kFailed}},
           // Clients know this as good; whoever asks over plain http has to reckon with it.
           Row{"another type of response", typed(fromHex("06032A0304"), element(0x04, basic)), kGood, {}},
           Row{"an empty response", typed(basicType, fromHex("0400")), kNoAnswer, {incorrect, kFailed}},
           Row{"a NULL response", typed(basicType, fromHex("0500")), kNoAnswer, {incorrect, kFailed}},
           Row{"an empty SEQUENCE", typed(basicType, element(0x04, fromHex("3000"))), kNoAnswer, {incorrect, kFailed}},
           Row{"the response of another certificate", about({.singles = {{.serial = "1002"}}}), kNoAnswer, noData},
           Row{"a response about nothing", about({.singles = {}}), kNoAnswer, noData},
           Row{"an unknown certificate",
               about({.singles = {{.status = CertStatus::unknown}}}),
               kNoAnswer,
               {good[0], good[1], good[2], good[3], "OCSP service: unknown certificate", kFailed}},
           Row{"a damaged signature, without certificates",
               makeResponse(withBitFlipped(makeBasicResponse(kCA, kCA, {.certs = {{}}}))),
               kNoAnswer,
               {good[0], good[1], "OCSP service: response signature not verified", kFailed}},
       }) {
    SCOPED_TRACE(row.name);
    const ScriptedServer server({{served(row.response)}});
    EXPECT_EQ(client_.check(server.url(), kCA, "1001"), row.answer);
    EXPECT_THAT(details(running_), testing::ElementsAreArray(row.details));
    std::string url = server.url();
    BigInteger serial;
    ASSERT_TRUE(BigInteger::parse("1001", 16, serial));
    const auto issuer = certificateOf(kCA.certificate);
    const std::unique_ptr<OCSPResponse, decltype(&ocsp_releaseOCSPResponse)> response(
        ocsp_getResponse(client_.context(), url.data(), issuer.get(), serial), &ocsp_releaseOCSPResponse);
    const bool isAnswer = row.details.size() > 2;  // a verified response is handed out whatever it says
    const bool isVerified = isAnswer && row.details[2] != "OCSP service: response signature not verified";
    EXPECT_EQ(response != nullptr, isVerified);
    EXPECT_EQ(client_.code(), isVerified || row.details.empty() ? -1 : 5214);
    EXPECT_EQ(response ? encode(*response) : row.response, row.response);
    running_.messages();
  }
}

TEST_F(OCSPCheck, SomethingMissingFromTheQuestion) {
  const ScriptedServer server({{served(goodResponse())}});
  std::string url = server.url();
  std::string serial = "1001";
  const auto issuer = certificateOf(kCA.certificate);
  Certificate empty;
  EXPECT_EQ(client_.check(url, kCA, ""), kNoAnswer);
  EXPECT_EQ(client_.check(url, kCA, "10x1"), kNoAnswer);
  for (Certificate* wrong : {static_cast<Certificate*>(nullptr), &empty}) {
    EXPECT_EQ(ocsp_check(client_.context(), url.data(), wrong, serial.data()), 0);
    EXPECT_EQ(client_.code(), 5214);
    EXPECT_EQ(ocsp_getResponse(client_.context(), url.data(), wrong, BigInteger(1)), nullptr);
    EXPECT_EQ(client_.code(), 5214);
  }
  EXPECT_EQ(ocsp_check(client_.context(), nullptr, issuer.get(), serial.data()), 0);
  EXPECT_EQ(client_.code(), 5214);
  EXPECT_EQ(ocsp_check(client_.context(), url.data(), issuer.get(), nullptr), 0);
  EXPECT_EQ(client_.code(), 5214);
  EXPECT_EQ(ocsp_check(nullptr, url.data(), issuer.get(), serial.data()), 0);
  EXPECT_EQ(client_.check(url, kCA, "1001"), kGood) << "the failures have harmed nothing";
}

TEST_F(OCSPCheck, OldResponses) {
  const std::string day = "20250201000000Z";
  const auto old = [&](CertStatus status) {
    return makeResponse(makeBasicResponse(kCA, kCA, {.singles = {{.status = status, .nextUpdate = day}}}));
  };
  const ScriptedServer good({{served(old(CertStatus::good))}});
  const ScriptedServer revoked({{served(old(CertStatus::revoked))}});
  EXPECT_EQ(client_.check(good.url(), kCA, "1001"), (Answer{0, 5219}));
  EXPECT_THAT(running_.messages(), testing::Contains("OCSP service: data expired [Feb 01 00:00:00 2025 GMT]"));
  EXPECT_EQ(client_.check(revoked.url(), kCA, "1001"), (Answer{1, 5219}));
  // Stored responses are never old, nor is any from the moment that there are stored ones.
  client_.add(old(CertStatus::good));
  EXPECT_EQ(client_.check(good.url(), kCA, "1001"), kGood);
  EXPECT_EQ(client_.checkStored(old(CertStatus::good), kCA), kGood);
  EXPECT_EQ(client_.checkStored(old(CertStatus::revoked), kCA), kRevoked);
  ocsp_setUseLocalResponses(client_.context(), 0);
  ocsp_removeLocalResponses(client_.context());
  EXPECT_EQ(client_.check(good.url(), kCA, "1001"), (Answer{0, 5219}));
  const ScriptedServer open({{served(makeResponse(makeBasicResponse(kCA, kCA, {.singles = {{.nextUpdate = {}}}})))}});
  EXPECT_EQ(client_.check(open.url(), kCA, "1001"), kGood) << "without nextUpdate nothing is old";
  EXPECT_EQ(client_.time(ocsp_getNextUpdate), "none");
}

TEST_F(OCSPCheck, TheFirstMatchDecides) {
  const Authority namesake = makeAuthority({.key = privateKey("P-256", 6)});
  const Authority other = makeAuthority({.subject = {{"CN", "Other"}}});
  const SingleSpec good{};
  const SingleSpec revoked{.status = CertStatus::revoked};
  const SingleSpec revokedBySHA256{.status = CertStatus::revoked, .digest = "SHA256"};
  const SingleSpec another{.serial = "02", .status = CertStatus::revoked};
  struct Row {
    const char* name;
    std::vector<SingleSpec> singles;
    Answer answer;
  };
  for (const Row& row :
       {Row{"good first", {another, good, revoked}, kGood}, Row{"revoked first", {another, revoked, good}, kRevoked},
        Row{"of another digest", {another, revokedBySHA256, good}, kRevoked}}) {
    EXPECT_EQ(client_.checkStored(makeResponse(makeBasicResponse(kCA, kCA, {.singles = row.singles})), kCA), row.answer)
        << row.name;
  }
  // The same serial number of an issuer with another key, or another name, is another certificate.
  EXPECT_EQ(client_.checkStored(makeResponse(makeBasicResponse(namesake, kCA)), kCA), kNoAnswer);
  EXPECT_EQ(client_.checkStored(makeResponse(makeBasicResponse(other, kCA)), kCA), kNoAnswer);
  EXPECT_EQ(client_.checkStored(goodResponse(), kCA, "001001"), kGood) << "numbers are compared, not texts";
}

TEST_F(OCSPCheck, ExtensionsOfTheEntry) {
  const std::vector<ExtensionSpec> extensions = {
      {"2.5.29.24", "DER:180F32303234303130313030303030305A"},
      {"1.3.6.1.5.5.7.48.1.3", "DER:3007A10502030A0B0C"},
  };
  const ByteString response = makeResponse(makeBasicResponse(
      kCA, kCA, {.singles = {{.status = CertStatus::revoked, .reason = 1, .extensions = extensions}}}));
  EXPECT_EQ(client_.checkStored(response, kCA), kRevoked);
  EXPECT_EQ(client_.time(ocsp_getInvalidSince), "20240101000000Z");
  auto& report = static_cast<OCSPChecker*>(client_.context())->report();
  ASSERT_TRUE(report.crlID && report.producedAt);
  EXPECT_EQ(report.crlID->crlNum()->text(16), "0A0B0C");
  // What cannot be read leaves the field as it was.
  const ByteString unreadable = makeResponse(makeBasicResponse(
      kCA, kCA, {.singles = {{.status = CertStatus::revoked, .extensions = {{"2.5.29.24", "DER:0500"}}}}}));
  EXPECT_EQ(client_.checkStored(unreadable, kCA), kRevoked);
  EXPECT_EQ(client_.time(ocsp_getInvalidSince), "20240101000000Z");
  EXPECT_EQ(client_.reason(), 0) << "no reason given";
  ocsp_resetReport(client_.context());
  EXPECT_FALSE(report.crlID || report.producedAt);
}

TEST_F(OCSPCheck, StoredResponsesAreWalkedInOrder) {
  void* context = client_.context();
  ocsp_setUseLocalResponses(context, 1);
  EXPECT_EQ(client_.check("", kCA, "1001"), kNoAnswer);
  EXPECT_THAT(running_.messages(), IsEmpty()) << "nothing was tried";

  client_.add(makeResponse({}, 3));
  client_.add(makeResponse(makeBasicResponse(kCA, kCA, {.singles = {{.serial = "02"}}})));
  EXPECT_EQ(client_.check("", kCA, "1001"), kNoAnswer) << "the code is that of the last";
  BasicOCSPResponse basic;
  ASSERT_TRUE(decode(basic, makeBasicResponse(kCA, kCA, {.singles = {{.status = CertStatus::revoked, .reason = 5}}})));
  ocsp_addOCSPResponse(context, &basic);
  EXPECT_EQ(client_.check("", kCA, "1001"), kRevoked);
  EXPECT_EQ(client_.reason(), 5);
  client_.add(goodResponse());
  EXPECT_EQ(client_.check("", kCA, "1001"), kRevoked) << "the first answer ends the walk";
  EXPECT_EQ(client_.check("", kCA, "02"), kGood);
  ocsp_resetReport(context);
  EXPECT_EQ(client_.check("", kCA, "1001"), kRevoked) << "a reset leaves the stored responses";

  EXPECT_EQ(OCSPClient().check("", kCA, "1001"), kNoAnswer) << "other contexts do not have them";
  ocsp_removeLocalResponses(context);
  EXPECT_EQ(client_.check("", kCA, "1001"), kNoAnswer);
  ocsp_addOCSPResponse(context, static_cast<OCSPResponse*>(nullptr));
  ocsp_addOCSPResponse(context, static_cast<BasicOCSPResponse*>(nullptr));
  EXPECT_EQ(client_.check("", kCA, "1001"), kNoAnswer);
}

// Certificates enclosed: the first whose key made the signature is the responder, whatever stands around it.
TEST_F(OCSPCheck, EnclosedCertificates) {
  const Authority stranger = makeAuthority({.subject = {{"CN", "Stranger"}}, .key = privateKey("P-256", 6)});
  const Authority bare = makeAuthority({.extensions = {}});
  const PrivateKey key = privateKey("P-256", 8);
  const Authority responder{
      key,
      makeCertificate(
          kCA, {.key = key, .extensions = {{"keyUsage", "digitalSignature"}, {"extendedKeyUsage", "OCSPSigning"}}})};
  std::vector<ByteString> crowd(64, stranger.certificate);
  crowd.push_back(responder.certificate);
  // The body in a longer form than DER has: its digest is taken from the bytes that arrived.
  const auto parts = children(responder.certificate);
  const ByteString loose = makeSigned(element(0x30, firstElement(parts.at(0)).content, 3), kCA.key);
  struct Row {
    const char* name;
    Authority issuer, signer;
    std::vector<ByteString> certs;
    Answer answer;
    bool endIsLogged = true;
  };
  for (const Row& row : {
           Row{"none, the issuer signed", kCA, kCA, {}, kGood},
           Row{"none, the responder signed", kCA, responder, {}, kNoAnswer},
           Row{"the responder behind a stranger", kCA, responder, {stranger.certificate, responder.certificate}, kGood},
           Row{"the responder behind more than any chain has", kCA, responder, crowd, kNoAnswer},
           Row{"the responder in another form than DER", kCA, responder, {loose}, kGood},
           Row{"the issuer itself", kCA, kCA, {kCA.certificate}, kGood},
           Row{"another certificate of the issuer's key",
               kCA,
               kCA,
               {makeAuthority({.serial = "02"}).certificate},
               kNoAnswer,
               false},
           Row{"an issuer without extensions, enclosed", bare, bare, {bare.certificate}, kNoAnswer, false},
           Row{"an issuer without extensions", bare, bare, {}, kGood},
       }) {
    SCOPED_TRACE(row.name);
    const ByteString own = children(makeBasicResponse(row.issuer, row.signer, {.certs = {{}}})).at(0);
    ByteString certs;
    for (const ByteString& certificate : row.certs) certs = certs + certificate;
    const ByteString plain = makeSigned(own, row.signer.key);
    const ByteString basic =
        row.certs.empty() ? plain : element(0x30, firstElement(plain).content + element(0xA0, element(0x30, certs)));
    EXPECT_EQ(client_.checkStored(makeResponse(basic), row.issuer), row.answer);
    const auto ends = testing::Contains("End verification of OCSP response");
    EXPECT_THAT(running_.messages(), testing::Conditional(row.endIsLogged, ends, testing::Not(ends)));
  }
}

// Callers choose by the level how much they are told.
TEST_F(OCSPCheck, EachMessageHasItsLevel) {
  const ScriptedServer server({{served(makeResponse(
      makeBasicResponse(kCA, kCA,
                        {.singles = {{.nextUpdate = "20250201000000Z"},
                                     {.serial = "1002", .status = CertStatus::revoked, .reason = 6}}})))}});
  const std::string asked = "OCSP uri " + server.url();
  const std::vector<std::string> dates = {"OCSP response date: Jan 01 00:00:00 2025 GMT",
                                          "OCSP alignment date: Feb 01 00:00:00 2025 GMT"};
  struct Row {
    const char* serial;
    unsigned char level;
    std::vector<std::string> messages;
  };
  for (const Row& row : {
           Row{"1001", 2, {}},
           Row{"1001", 4, {}},
           Row{"1001", 5, {asked}},
           Row{"1001", 6, {asked, dates[0], dates[1], "OCSP service: data expired [Feb 01 00:00:00 2025 GMT]"}},
           Row{"1002", 6, {asked, dates[0], "OCSP alignment date: Jan 01 00:00:00 2038 GMT", "Suspension date:"}},
           Row{"1003", 2, {}},
           Row{"1003", 3, {kFailed}},
           Row{"1003", 6, {asked, kFailed}},
       }) {
    SCOPED_TRACE(std::string(row.serial) + " at " + std::to_string(row.level));
    cache_enableLog(row.level);
    OCSPClient().check(server.url(), kCA, row.serial);
    EXPECT_THAT(running_.messages(), testing::ElementsAreArray(row.messages));
  }
}

// Nothing can be digested yet, so there is no question to send and no signature to verify.
TEST(OCSPContext, MadeBeforeTheLibraryStartsHasNoAnswer) {
  const ScriptedServer server({{served(goodResponse())}});
  const OCSPClient client;
  EXPECT_EQ(client.check(server.url(), kCA, "1001"), kNoAnswer);
  EXPECT_EQ(client.checkStored(goodResponse(), kCA), kNoAnswer);
}

}  // namespace
}  // namespace keystrand::test
