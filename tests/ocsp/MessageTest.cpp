// What the classes of the OCSP messages accept, keep and refuse, and how the signature of a response is checked.
#include "keystrand/ocsp/BasicOCSPResponse.h"
#include "keystrand/ocsp/OCSPResponse.h"
#include "ocsp/CrlID.h"
#include "ocsp/OCSPRequest.h"
#include "support/Coding.h"
#include "support/Der.h"
#include "support/OCSPBuilders.h"
#include "support/OwnKeys.h"
#include "support/TestDevice.h"

namespace keystrand::test {
namespace {

const ByteString kSHA1 = fromHex("3009 06052B0E03021A 0500");
const ByteString kHash = element(0x04, ByteString(20, 0xAB));
const ByteString kSerial = fromHex("02021001");
const ByteString kTime = fromHex("180F 32303235303130313030303030305A");
const ByteString kUTCTime = fromHex("170D 3235303130313030303030305A");
const ByteString kNull = fromHex("0500");
const ByteString kGood = fromHex("8000");
const ByteString kCertID = element(0x30, kSHA1 + kHash + kHash + kSerial);
const ByteString kByKey = element(0xA2, kHash);
const ByteString kSingle = element(0x30, kCertID + kGood + kTime);

struct Row {
  const char* name;
  ByteString encoding;
  bool isRead = true;
};

// What is read is written again byte for byte, as a clone of it is.
template <class T, class... Tag>
void expectRows(const std::vector<Row>& rows, Tag... tag) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    T object;
    EXPECT_EQ(decode(object, row.encoding, tag...), row.isRead);
    if (!row.isRead) continue;
    EXPECT_EQ(encode(object, tag...), row.encoding);
    const std::unique_ptr<T> copy(object.clone());
    EXPECT_EQ(encode(*copy, tag...), row.encoding);
  }
}

constexpr bool kRefused = false;

TEST(OCSPMessage, CertID) {
  expectRows<CertID>({
      {"usual", kCertID},
      {"algorithm without parameters", element(0x30, fromHex("3007 06052B0E03021A") + kHash + kHash + kSerial)},
      {"hashes of no octets", element(0x30, kSHA1 + fromHex("0400 0400") + kSerial)},
      {"NULL hashes", element(0x30, kSHA1 + kNull + kNull + kSerial)},
      {"hashes of two lengths", element(0x30, kSHA1 + kHash + fromHex("0401AB") + kSerial), kRefused},
      {"one NULL hash", element(0x30, kSHA1 + kHash + kNull + kSerial), kRefused},
      {"no serial number", element(0x30, kSHA1 + kHash + kHash), kRefused},
      {"serial number with a surplus octet", element(0x30, kSHA1 + kHash + kHash + fromHex("02020001")), kRefused},
      {"one element more", element(0x30, kSHA1 + kHash + kHash + kSerial + kSerial), kRefused},
      {"parameters of an unknown algorithm", element(0x30, fromHex("3008 06032A0304 020101") + kHash + kHash + kSerial),
       kRefused},
      {"empty", fromHex("3000"), kRefused},
      {"longer than the data", fromHex("3084FFFFFFFF") + kSHA1 + kHash + kHash + kSerial, kRefused},
  });
}

TEST(OCSPMessage, CertStatus) {
  expectRows<OCSPCertStatus>({
      {"good", kGood},
      {"unknown", fromHex("8200")},
      {"revoked", element(0xA1, kTime)},
      {"revoked with a reason", element(0xA1, kTime + fromHex("A0030A0101"))},
      {"a reason of 255, which is not the same as none", element(0xA1, kTime + fromHex("A0030A01FF"))},
      {"revoked, UTCTime", element(0xA1, kUTCTime)},
      {"revoked at no time", fromHex("A100"), kRefused},
      {"a reason alone", element(0xA1, fromHex("A0030A0101")), kRefused},
      {"an empty reason", element(0xA1, kTime + fromHex("A0020A00") + fromHex("01")), kRefused},
      {"a reason of two octets", element(0xA1, kTime + fromHex("A0040A020101")), kRefused},
      {"something behind the reason", element(0xA1, kTime + fromHex("A0030A0101") + kNull), kRefused},
      {"good with content", fromHex("800100"), kRefused},
      {"no choice of the standard", fromHex("8300"), kRefused},
      {"nothing", {}, kRefused},
  });
  expectRows<RevokedInfo>(
      {{"a SEQUENCE of its own", element(0x30, kTime)}, {"another tag", element(0xA1, kTime), kRefused}});
  RevokedInfo info;
  ASSERT_TRUE(decode(info, element(0x30, kTime)));
  EXPECT_EQ(info.revocationReason(), 0xFF);
}

TEST(OCSPMessage, SingleResponse) {
  const ByteString next = element(0xA0, kTime);
  const ByteString extensions = element(0xA1, element(0x30, fromHex("3009 0603551D18 0402 0500")));
  expectRows<SingleResponse>({
      {"the mandatory elements", kSingle},
      {"all elements", element(0x30, kCertID + kGood + kTime + next + extensions)},
      {"extensions without nextUpdate", element(0x30, kCertID + kGood + kTime + extensions)},
      {"nextUpdate in UTCTime", element(0x30, kCertID + kGood + kTime + element(0xA0, kUTCTime)), kRefused},
      {"thisUpdate in UTCTime", element(0x30, kCertID + kGood + kUTCTime), kRefused},
      {"no thisUpdate", element(0x30, kCertID + kGood), kRefused},
      {"the optional elements in the other order", element(0x30, kCertID + kGood + kTime + extensions + next),
       kRefused},
      {"two times in nextUpdate", element(0x30, kCertID + kGood + kTime + element(0xA0, kTime + kTime)), kRefused},
      {"an empty nextUpdate", element(0x30, kCertID + kGood + kTime + fromHex("A000")), kRefused},
      {"empty", fromHex("3000"), kRefused},
  });
}

TEST(OCSPMessage, ResponseData) {
  const ByteString name = fromHex("300D310B3009060355040613024954");
  const ByteString rest = kTime + element(0x30, kSingle + kSingle);
  expectRows<ResponseData>({
      {"by key", element(0x30, kByKey + rest)},
      {"by name", element(0x30, element(0xA1, name) + rest)},
      {"the default version spelled out", element(0x30, fromHex("A003020100") + kByKey + rest)},
      {"version 2", element(0x30, fromHex("A003020101") + kByKey + rest)},
      {"no responses", element(0x30, kByKey + kTime + fromHex("3000"))},
      {"a NULL key hash", element(0x30, element(0xA2, kNull) + rest)},
      {"a version without octets", element(0x30, fromHex("A0020200") + kByKey + rest), kRefused},
      {"a version of five octets", element(0x30, fromHex("A00702050102030405") + kByKey + rest), kRefused},
      {"producedAt in UTCTime", element(0x30, kByKey + kUTCTime + fromHex("3000")), kRefused},
      {"no responder", element(0x30, rest), kRefused},
      {"another choice of responder", element(0x30, element(0xA3, kHash) + rest), kRefused},
      {"extensions of another tag", element(0x30, kByKey + rest + element(0xA2, fromHex("3000"))), kRefused},
      {"empty", fromHex("3000"), kRefused},
  });
}

TEST(OCSPMessage, OCSPResponse) {
  const ByteString bytes = element(0x30, fromHex("06092B0601050507300101 0401AA"));
  expectRows<OCSPResponse>({
      {"a status alone", fromHex("3003 0A0106")},
      {"a status of no standard", fromHex("3003 0A0104")},
      {"with responseBytes", element(0x30, fromHex("0A0100") + element(0xA0, bytes))},
      {"another type of response", element(0x30, fromHex("0A0100") + element(0xA0, fromHex("3007 06032A0304 0400")))},
      {"a NULL response", element(0x30, fromHex("0A0100") + element(0xA0, fromHex("3007 06032A0304 0500")))},
      {"another element behind the status", element(0x30, fromHex("0A0100") + element(0xA1, bytes)), kRefused},
      {"two elements behind it", element(0x30, fromHex("0A0100") + element(0xA0, bytes) + element(0xA0, bytes)),
       kRefused},
      {"responseBytes without a response", element(0x30, fromHex("0A0100") + element(0xA0, fromHex("3005 06032A0304"))),
       kRefused},
      {"an INTEGER for the status", fromHex("3003 020100"), kRefused},
      {"a status without an octet", fromHex("3002 0A00 00"), kRefused},
      {"empty", fromHex("3000"), kRefused},
      {"cut off", fromHex("3003 0A01"), kRefused},
  });
  OCSPResponse response;
  ASSERT_TRUE(decode(response, element(0x30, fromHex("0A0100") + element(0xA0, bytes))));
  EXPECT_TRUE(response.responseBytesView()->isType("1.3.6.1.5.5.7.48.1.1"));
  EXPECT_FALSE(response.responseBytesView()->isType("1.3.6.1.5.5.7.48.1"));
}

TEST(OCSPMessage, CrlID) {
  expectRows<CrlID>({
      {"nothing", fromHex("3000")},
      {"a number", fromHex("3005 A103020105")},
      {"all", element(0x30, fromHex("A0030401 61 A103020105") + element(0xA2, kTime))},
      // Callers of the field count on octets, and a responder that follows the standard is the one that loses it.
      {"the address as IA5String", fromHex("3005 A0031601 61"), kRefused},
      {"UTCTime", element(0x30, element(0xA2, kUTCTime)), kRefused},
  });
}

TEST(OCSPMessage, Requests) {
  const ByteString requests = element(0x30, element(0x30, kCertID));
  const ByteString nonce = element(0x30, fromHex("300F 06092B0601050507300102 0402 0400"));
  const ByteString requestor = element(0xA1, element(0xA4, fromHex("300D310B3009060355040613024954")));
  expectRows<OCSPRequest>({
      {"one certificate", element(0x30, element(0x30, requests))},
      {"a version and a requestor", element(0x30, element(0x30, fromHex("A003020100") + requestor + requests))},
      {"extensions", element(0x30, element(0x30, requests + element(0xA2, nonce)))},
      {"extensions of the one request",
       element(0x30, element(0x30, element(0x30, element(0x30, kCertID + element(0xA0, nonce)))))},
      {"extensions of a response", element(0x30, element(0x30, requests + element(0xA1, nonce))), kRefused},
      {"no list", element(0x30, element(0x30, requestor)), kRefused},
      {"empty", fromHex("3000"), kRefused},
  });
  const Authority ca = makeAuthority();
  expectRows<OCSPRequest>({{"signed", makeRequest(ca, "1001", "SHA256", &ca)}});
}

template <class T>
std::unique_ptr<T> owned(T* made) {
  return std::unique_ptr<T>(made);
}

class OCSPVerification : public testing::Test {
 protected:
  bool verifies(const ByteString& der, const Authority& signer) {
    BasicOCSPResponse response;
    EXPECT_TRUE(device.read(response, der));
    return response.verify(device.get(), *keyOf(signer));
  }
  static std::unique_ptr<KeyInfo> keyOf(const Authority& authority) {
    Certificate certificate;
    EXPECT_TRUE(decode(certificate, authority.certificate));
    return owned(certificate.subjectPublicKeyInfo());
  }
  static Authority authorityWith(const PrivateKey& key) { return makeAuthority({.key = key}); }

  TestDevice device;
};

// The body changes, the signature stays good for what was signed.
TEST_F(OCSPVerification, CoversTheDataAsItIsWritten) {
  const Authority ca = makeAuthority();
  const ByteString data = children(makeBasicResponse(ca, ca)).at(0);
  const ByteString fields = firstElement(data).content;
  const ByteString explicitVersion = element(0x30, fromHex("A003020100") + fields);
  EXPECT_TRUE(verifies(makeSigned(explicitVersion, ca.key), ca)) << "the spelled out version goes into the digest";
  EXPECT_FALSE(verifies(makeSigned(element(0x30, fields, 3), ca.key), ca)) << "no DER: the rewrite differs";

  const ByteString usual = makeSigned(data, ca.key);
  const ByteString algorithm = children(usual).at(1);
  EXPECT_FALSE(verifies(element(0x30, data + algorithm + fromHex("030100")), ca)) << "a signature of no bits";
  EXPECT_FALSE(verifies(element(0x30, data + algorithm + kNull), ca));
  EXPECT_FALSE(verifies(element(0x30, data + fromHex("3005 06032A0304") + children(usual).at(2)), ca))
      << "an unknown algorithm";
}

// Further keys are tried against the same digest; a setter makes it anew.
TEST_F(OCSPVerification, KeepsTheDigestUntilItsDataChanges) {
  const Authority ca = makeAuthority();
  BasicOCSPResponse response;
  BasicOCSPResponse other;
  ASSERT_TRUE(device.read(response, makeBasicResponse(ca, ca)));
  ASSERT_TRUE(device.read(other, makeBasicResponse(ca, ca, {.singles = {{.serial = "02"}}})));
  const auto key = keyOf(ca);
  const auto data = owned(response.tbsResponseData());
  EXPECT_TRUE(response.verify(device.get(), *key));
  response.setTbsResponseData(other.tbsResponseDataView());
  EXPECT_FALSE(response.verify(device.get(), *key));
  response.setTbsResponseData(data.get());
  EXPECT_TRUE(response.verify(device.get(), *key));
  response.setTbsResponseData(nullptr);
  EXPECT_FALSE(response.verify(device.get(), *key));
}

// Both messages, with the algorithm as OpenSSL writes it; what another had signed is replaced.
TEST_F(OCSPVerification, SignsWhatOpenSSLVerifies) {
  const Authority other = authorityWith(privateKey("P-256", 7));
  struct Case {
    const char* key;
    SigningSpec signing;
  };
  for (const Case& row : {Case{"RSA-2048", {}}, Case{"RSA-2048", {.digest = "SHA384", .pss = true}},
                          Case{"P-384", {.digest = "SHA384"}}}) {
    SCOPED_TRACE(row.key + row.signing.digest);
    const Authority ca = authorityWith(privateKey(row.key, 3));
    BasicOCSPResponse model;
    ASSERT_TRUE(decode(model, makeBasicResponse(ca, ca, {.signing = row.signing})));
    const auto algorithm = owned(model.signatureAlgorithm());
    ASSERT_TRUE(device.get().importKey(*ownKey(ca.key)));

    BasicOCSPResponse response;
    ASSERT_TRUE(device.read(response, makeBasicResponse(ca, other, {.certs = {{ca.certificate}}})));
    ASSERT_TRUE(response.sign(device.get(), *algorithm) && response.signatureView() != nullptr);
    EXPECT_TRUE(response.verify(device.get(), *keyOf(ca)));
    const auto parts = children(encode(response));
    EXPECT_EQ(parts.at(1), encode(*algorithm));
    EXPECT_TRUE(verifiesInOpenSSL(ca.key, row.signing, parts.at(0), response.signatureView()->view()));

    OCSPRequest request;
    ASSERT_TRUE(decode(request, makeRequest(ca, "1001")));
    ASSERT_TRUE(request.sign(device.get(), *algorithm));
    const ByteString tbs = children(encode(request)).at(0);
    const OCSPSignature& made = *request.optionalSignatureView();
    ASSERT_NE(made.signatureView(), nullptr);
    EXPECT_EQ(encode(*made.signatureAlgorithmView()), encode(*algorithm));
    EXPECT_TRUE(verifiesInOpenSSL(ca.key, row.signing, tbs, made.signatureView()->view()));
  }
}

// The device holds no private key: nothing is signed, and what was there stays.
TEST_F(OCSPVerification, SigningWithoutAKeyChangesNothing) {
  const Authority ca = makeAuthority();
  const AlgorithmIdentifier algorithm("1.2.840.10045.4.3.2", false);
  const ByteString basic = makeBasicResponse(ca, ca);
  BasicOCSPResponse response;
  ASSERT_TRUE(decode(response, basic));
  EXPECT_FALSE(response.sign(device.get(), algorithm));
  EXPECT_EQ(encode(response), basic);
  const ByteString asked = makeRequest(ca, "1001");
  OCSPRequest request;
  ASSERT_TRUE(decode(request, asked));
  EXPECT_FALSE(request.sign(device.get(), algorithm));
  EXPECT_EQ(encode(request), asked);
}

// A response is cut at each place. The block still holds the rest of the whole behind the data.
TEST(OCSPMessage, DoesNotReadBeyondTheData) {
  const Authority ca = makeAuthority();
  const ByteString whole = makeBasicResponse(ca, ca, {.singles = {{.status = CertStatus::revoked, .reason = 1}}});
  Buffer buffer;
  buffer.assign(whole.data(), static_cast<std::uint32_t>(whole.size()));
  for (std::uint32_t n = 0; n < whole.size(); ++n) {
    buffer.setSize(n);
    buffer.setReadPosition(0);
    EXPECT_FALSE(BasicOCSPResponse().get(buffer)) << n;
  }
}

}  // namespace
}  // namespace keystrand::test
