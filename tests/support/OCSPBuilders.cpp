#include "support/OCSPBuilders.h"

#include <openssl/ocsp.h>

#include "support/BuilderParts.h"
#include "support/Der.h"

namespace keystrand::test {

using namespace builder;

namespace {

using BasicHandle = std::unique_ptr<OCSP_BASICRESP, Releaser<&OCSP_BASICRESP_free>>;
using CertIDHandle = std::unique_ptr<OCSP_CERTID, Releaser<&OCSP_CERTID_free>>;
using RequestHandle = std::unique_ptr<OCSP_REQUEST, Releaser<&OCSP_REQUEST_free>>;

CertIDHandle certIDOf(const Authority& issuer, const std::string& serial, const std::string& digest) {
  const X509Handle certificate = decodedCertificate(issuer.certificate);
  return CertIDHandle(
      made(OCSP_cert_id_new(EVP_get_digestbyname(digest.c_str()), X509_get_subject_name(certificate.get()),
                            X509_get0_pubkey_bitstr(certificate.get()), integerOf(serial).get()),
           digest));
}

int statusOf(CertStatus status) {
  return status == CertStatus::good      ? V_OCSP_CERTSTATUS_GOOD
         : status == CertStatus::revoked ? V_OCSP_CERTSTATUS_REVOKED
                                         : V_OCSP_CERTSTATUS_UNKNOWN;
}

void addSingle(OCSP_BASICRESP* response, const Authority& issuer, const SingleSpec& wanted) {
  const TimeHandle revoked = timeOf(wanted.revocationTime);
  const TimeHandle thisUpdate = timeOf(wanted.thisUpdate);
  const TimeHandle nextUpdate = wanted.nextUpdate ? timeOf(*wanted.nextUpdate) : nullptr;
  OCSP_SINGLERESP* single =
      made(OCSP_basic_add1_status(response, certIDOf(issuer, wanted.serial, wanted.digest).get(),
                                  statusOf(wanted.status), wanted.reason.value_or(OCSP_REVOKED_STATUS_NOSTATUS),
                                  revoked.get(), thisUpdate.get(), nextUpdate.get()),
           wanted.serial);
  addExtensions(single, wanted.extensions, nullptr, nullptr, nullptr, OCSP_SINGLERESP_add_ext);
}

}  // namespace

ByteString makeBasicResponse(const Authority& issuer, const Authority& responder, const BasicResponseSpec& wanted) {
  const BasicHandle response(OCSP_BASICRESP_new());
  for (const SingleSpec& single : wanted.singles) addSingle(response.get(), issuer, single);
  addExtensions(response.get(), wanted.extensions, nullptr, nullptr, nullptr, OCSP_BASICRESP_add_ext);
  require(OCSP_basic_sign_ctx(response.get(), decodedCertificate(responder.certificate).get(),
                              signer(responder.key, wanted.signing).get(), nullptr, OCSP_NOCERTS) == 1,
          "signature of a response");
  for (const ByteString& certificate : wanted.certs.value_or(std::vector<ByteString>{responder.certificate})) {
    require(OCSP_basic_add1_cert(response.get(), decodedCertificate(certificate).get()) == 1, "certificate");
  }
  return encoded(response.get(), i2d_OCSP_BASICRESP);
}

ByteString makeResponse(const ByteString& basic, unsigned char status) {
  const ByteString basicType = fromHex("06092B0601050507300101");
  const ByteString bytes = element(0xA0, element(0x30, basicType + element(0x04, basic)));
  return element(0x30, element(0x0A, {status}) + (basic.empty() ? ByteString() : bytes));
}

ByteString makeRequest(const Authority& issuer, const std::string& serial, const std::string& digest,
                       const Authority* signer) {
  const RequestHandle request(OCSP_REQUEST_new());
  require(OCSP_request_add0_id(request.get(), certIDOf(issuer, serial, digest).release()) != nullptr, "request");
  if (signer != nullptr) {
    require(OCSP_request_sign(request.get(), decodedCertificate(signer->certificate).get(), signer->key.get(),
                              EVP_sha256(), nullptr, 0) == 1,
            "signature of a request");
  }
  return encoded(request.get(), i2d_OCSP_REQUEST);
}

}  // namespace keystrand::test
