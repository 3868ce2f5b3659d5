// The OCSP messages of real responders and of other libraries' tests: read as OpenSSL reads them, written again byte
// for byte, and verified with the same outcome.
#include <openssl/ocsp.h>

#include "keystrand/ocsp/BasicOCSPResponse.h"
#include "keystrand/ocsp/OCSPResponse.h"
#include "ocsp/OCSPRequest.h"
#include "support/BuilderParts.h"
#include "support/Coding.h"
#include "support/Der.h"
#include "support/TestDevice.h"
#include "support/Texts.h"

namespace keystrand::test {
namespace {

using builder::Releaser;
using ResponseHandle = std::unique_ptr<OCSP_RESPONSE, Releaser<&OCSP_RESPONSE_free>>;
using BasicHandle = std::unique_ptr<OCSP_BASICRESP, Releaser<&OCSP_BASICRESP_free>>;
using RequestHandle = std::unique_ptr<OCSP_REQUEST, Releaser<&OCSP_REQUEST_free>>;

// Whether one of the enclosed certificates made the signature.
bool verifies(BasicOCSPResponse& response, CryptoDevice& device) {
  const CertList* certs = response.certsView();
  for (int i = 0; certs != nullptr && i < certs->count(); ++i) {
    if (response.verify(device, *certs->view(i)->subjectPublicKeyInfoView())) return true;
  }
  return false;
}

TEST(OCSPFiles, AreReadWrittenAndVerifiedAsByOpenSSL) {
  const auto folder = testData("ocsp");
  if (!folder) GTEST_SKIP() << kNoTestData;
  TestDevice device;
  int requests = 0;
  int verified = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(*folder)) {
    SCOPED_TRACE(entry.path());
    ByteString bytes = entry.is_regular_file() ? readFile(entry.path()) : ByteString();
    if (asText(bytes).find("-----BEGIN") != std::string::npos) bytes = fromPEM(asText(bytes));
    if (bytes.empty() || bytes.front() != 0x30) continue;
    const ByteString der = firstElement(bytes).whole;
    const unsigned char* at = der.data();
    const RequestHandle theirRequest(d2i_OCSP_REQUEST(nullptr, &at, static_cast<long>(der.size())));
    OCSPRequest request;
    ASSERT_EQ(decode(request, der), theirRequest != nullptr);
    if (theirRequest) {
      EXPECT_EQ(encode(request), der);
      EXPECT_EQ(request.tbsRequestView()->requestListView()->count(), OCSP_request_onereq_count(theirRequest.get()));
      ++requests;
    }
    at = der.data();
    const ResponseHandle theirResponse(d2i_OCSP_RESPONSE(nullptr, &at, static_cast<long>(der.size())));
    OCSPResponse response;
    ASSERT_EQ(decode(response, der), theirResponse != nullptr);
    const BasicHandle theirs(theirResponse ? OCSP_response_get1_basic(theirResponse.get()) : nullptr);
    if (!theirs) continue;  // not successful, or of a type that it does not know
    EXPECT_EQ(encode(response), der);
    const auto octets = response.responseBytesView()->responseView();
    BasicOCSPResponse basic;
    ASSERT_TRUE(device.read(basic, {octets.begin(), octets.end()}));
    EXPECT_EQ(encode(basic), ByteString(octets.begin(), octets.end()));
    EXPECT_EQ(basic.tbsResponseDataView()->responsesView()->count(), OCSP_resp_count(theirs.get()));
    const bool isVerified = OCSP_basic_verify(theirs.get(), nullptr, nullptr, OCSP_NOVERIFY) == 1;
    EXPECT_EQ(verifies(basic, device.get()), isVerified);
    verified += isVerified ? 1 : 0;
  }
  EXPECT_GE(requests, 5);
  EXPECT_GE(verified, 30);
}

}  // namespace
}  // namespace keystrand::test
