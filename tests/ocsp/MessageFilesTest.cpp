// The OCSP messages of real responders and of other libraries' tests: read as OpenSSL reads them, written again byte
// for byte, and verified with the same outcome.
#include <openssl/ocsp.h>

#include <optional>

#include "keystrand/ocsp/BasicOCSPResponse.h"
#include "keystrand/ocsp/OCSPResponse.h"
#include "ocsp/OCSPFiles.h"
#include "ocsp/OCSPRequest.h"
#include "support/BuilderParts.h"
#include "support/Coding.h"
#include "support/TestDevice.h"

namespace keystrand::test {
namespace {

using builder::Releaser;
using ResponseHandle = std::unique_ptr<OCSP_RESPONSE, Releaser<&OCSP_RESPONSE_free>>;
using BasicHandle = std::unique_ptr<OCSP_BASICRESP, Releaser<&OCSP_BASICRESP_free>>;
using RequestHandle = std::unique_ptr<OCSP_REQUEST, Releaser<&OCSP_REQUEST_free>>;

struct SingleFacts {
  std::string serial;
  unsigned char status;
  int reason;
  std::string times;
  int extensions;
  bool operator==(const SingleFacts&) const = default;
};

void PrintTo(const SingleFacts& facts, std::ostream* out) {
  *out << facts.serial << ' ' << int{facts.status} << ' ' << facts.reason << ' ' << facts.times << ' '
       << facts.extensions;
}

std::string textOf(const ASN1_GENERALIZEDTIME* time) {
  if (time == nullptr) return "-";
  const auto* text = reinterpret_cast<const char*>(ASN1_STRING_get0_data(time));
  return {text, static_cast<std::size_t>(ASN1_STRING_length(time))};
}
std::string textOf(const X500Time* time) {
  return time != nullptr ? time->textView() : "-";
}

SingleFacts factsOf(OCSP_SINGLERESP* single) {
  constexpr unsigned char kTags[] = {OCSPCertStatus::kGood, OCSPCertStatus::kRevoked, OCSPCertStatus::kUnknown};
  int reason = RevokedInfo::kNoReason;
  ASN1_GENERALIZEDTIME* revoked = nullptr;
  ASN1_GENERALIZEDTIME* thisUpdate = nullptr;
  ASN1_GENERALIZEDTIME* nextUpdate = nullptr;
  const int status = OCSP_single_get0_status(single, &reason, &revoked, &thisUpdate, &nextUpdate);
  if (reason < 0) reason = RevokedInfo::kNoReason;
  ASN1_INTEGER* serial = nullptr;
  OCSP_id_get0_info(nullptr, nullptr, nullptr, &serial, const_cast<OCSP_CERTID*>(OCSP_SINGLERESP_get0_id(single)));
  const builder::BigNumber number(ASN1_INTEGER_to_BN(serial, nullptr));
  char* digits = BN_bn2hex(number.get());
  SingleFacts facts{digits, kTags[status], reason,
                    textOf(thisUpdate) + ' ' + textOf(nextUpdate) + ' ' + textOf(revoked),
                    OCSP_SINGLERESP_get_ext_count(single)};
  OPENSSL_free(digits);
  return facts;
}

SingleFacts factsOf(const SingleResponse& single) {
  const RevokedInfo* revoked = single.certStatusView()->revokedInfoView();
  return {single.certIDView()->serialNumberView().text(16), single.certStatusView()->tag(),
          revoked != nullptr ? revoked->revocationReason() : RevokedInfo::kNoReason,
          textOf(single.thisUpdateView()) + ' ' + textOf(single.nextUpdateView()) + ' ' +
              textOf(revoked != nullptr ? revoked->revocationTimeView() : nullptr),
          single.singleExtensionsView() != nullptr ? single.singleExtensionsView()->count() : 0};
}

void expectSameAnswers(const BasicOCSPResponse& ours, OCSP_BASICRESP* theirs) {
  const ResponseData& data = *ours.tbsResponseDataView();
  EXPECT_EQ(textOf(data.producedAtView()), textOf(OCSP_resp_get0_produced_at(theirs)));
  ASSERT_EQ(data.responsesView()->count(), OCSP_resp_count(theirs));
  for (int i = 0; i < data.responsesView()->count(); ++i) {
    EXPECT_EQ(factsOf(*data.responsesView()->view(i)), factsOf(OCSP_resp_get0(theirs, i)));
  }
}

// Whether one of the enclosed certificates made the signature.
bool verifies(BasicOCSPResponse& response, CryptoDevice& device) {
  const CertList* certs = response.certsView();
  for (int i = 0; certs != nullptr && i < certs->count(); ++i) {
    if (response.verify(device, *certs->view(i)->subjectPublicKeyInfoView())) return true;
  }
  return false;
}

struct Counts {
  int basic = 0;
  int verified = 0;
};

void compareBasic(const ByteString& der, OCSP_RESPONSE* theirResponse, TestDevice& device, Counts& counts) {
  const BasicHandle theirs(OCSP_response_get1_basic(theirResponse));
  BasicOCSPResponse ours;
  ASSERT_TRUE(device.read(ours, der));
  EXPECT_EQ(encode(ours), der);
  const std::unique_ptr<BasicOCSPResponse> copy(ours.clone());
  EXPECT_EQ(encode(*copy), der);
  ++counts.basic;
  if (!theirs) return;  // a type of response that it does not know
  expectSameAnswers(ours, theirs.get());
  const bool verified = OCSP_basic_verify(theirs.get(), nullptr, nullptr, OCSP_NOVERIFY) == 1;
  EXPECT_EQ(verifies(ours, device.get()), verified);
  counts.verified += verified ? 1 : 0;
}

TEST(OCSPFiles, ResponsesAreReadWrittenAndVerifiedAsByOpenSSL) {
  if (!testData("ocsp")) GTEST_SKIP() << kNoTestData;
  TestDevice device;
  Counts counts;
  for (const OCSPFile& file : responseFiles()) {
    SCOPED_TRACE(file.name);
    const unsigned char* at = file.der.data();
    const ResponseHandle theirs(d2i_OCSP_RESPONSE(nullptr, &at, static_cast<long>(file.der.size())));
    OCSPResponse ours;
    const bool read = decode(ours, file.der);
    EXPECT_EQ(read, theirs != nullptr);
    if (!read || !theirs) continue;
    EXPECT_EQ(encode(ours), file.der);
    EXPECT_EQ(ours.responseStatus(), OCSP_response_status(theirs.get()));
    if (ours.responseBytesView() == nullptr) continue;
    const auto response = ours.responseBytesView()->responseView();
    compareBasic({response.begin(), response.end()}, theirs.get(), device, counts);
  }
  EXPECT_GE(counts.basic, 80);
  EXPECT_GE(counts.verified, 35);
}

TEST(OCSPFiles, RequestsAreReadAndWrittenAsByOpenSSL) {
  if (!testData("ocsp")) GTEST_SKIP() << kNoTestData;
  int count = 0;
  for (const OCSPFile& file : requestFiles()) {
    SCOPED_TRACE(file.name);
    const unsigned char* at = file.der.data();
    const RequestHandle theirs(d2i_OCSP_REQUEST(nullptr, &at, static_cast<long>(file.der.size())));
    OCSPRequest ours;
    ASSERT_TRUE(decode(ours, file.der) && theirs);
    EXPECT_EQ(encode(ours), file.der);
    EXPECT_EQ(ours.tbsRequestView()->requestListView()->count(), OCSP_request_onereq_count(theirs.get()));
    ++count;
  }
  EXPECT_GE(count, 25);
}

}  // namespace
}  // namespace keystrand::test
