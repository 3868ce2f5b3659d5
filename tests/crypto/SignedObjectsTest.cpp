// Certificates, CRLs and OCSP messages signed with a key of the device, checked by OpenSSL.
#include <gtest/gtest.h>
#include <openssl/x509.h>

#include "OpenDevice.h"
#include "crypto/Coding.h"
#include "keystrand/der/SecureBuffer.h"
#include "keystrand/ocsp/BasicOCSPResponse.h"
#include "keystrand/pkix/Certificate.h"
#include "keystrand/pkix/CertificateList.h"
#include "ocsp/OCSPRequest.h"
#include "support/OCSPBuilders.h"
#include "support/OwnKeys.h"

namespace keystrand::test {
namespace {

struct SignerRow {
  const char* key;
  SigningSpec made;
};

const SignerRow kSigners[] = {{"RSA-2048", {"SHA256"}}, {"RSA-2048", {"SHA384", true}}, {"P-384", {"SHA384"}}};

// A device with the key of this authority in use.
struct Signer : OpenDevice {
  explicit Signer(const Authority& authority) { EXPECT_TRUE(device.importKey(*ownKey(authority.key))); }

  // The object, read from its encoding and signed anew.
  template <class Object>
  ByteString signedAgain(Object& object, const ByteString& der) {
    SecureBuffer in(&device);
    in.assign(der.data(), static_cast<std::uint32_t>(der.size()));
    EXPECT_TRUE(object.get(in));
    object.setSignature(nullptr);
    SecureBuffer out(&device);
    EXPECT_TRUE(object.sign(out));
    return held(out);
  }
};

bool crlVerifies(const ByteString& der, const PrivateKey& key) {
  const unsigned char* at = der.data();
  const std::unique_ptr<X509_CRL, decltype(&X509_CRL_free)> read(
      d2i_X509_CRL(nullptr, &at, static_cast<long>(der.size())), X509_CRL_free);
  return read != nullptr && X509_CRL_verify(read.get(), key.get()) == 1;
}

}  // namespace

TEST(SignedObjects, VerifyInOpenSSL) {
  for (const SignerRow& row : kSigners) {
    SCOPED_TRACE(std::string(row.key) + (row.made.pss ? " PSS" : ""));
    const Authority ca = makeAuthority({.key = privateKey(row.key), .signing = row.made});
    Signer signer(ca);
    Certificate certificate;
    const ByteString signedCertificate = signer.signedAgain(certificate, makeCertificate(ca, {.signing = row.made}));
    EXPECT_TRUE(openSSLVerifies(signedCertificate, ca.certificate));
    EXPECT_TRUE(certificate.verify(signer.device, *keyInfoOf(ca.key)));

    CertificateList shortList;
    EXPECT_TRUE(
        crlVerifies(signer.signedAgain(shortList, makeCRL(ca, {.entries = {{}}, .signing = row.made})), ca.key));
    // More than the device takes in one piece.
    CRLSpec longSpec{.entries = std::vector<CRLEntrySpec>(26000), .signing = row.made};
    CertificateList longList;
    const ByteString longCRL = signer.signedAgain(longList, makeCRL(ca, longSpec));
    EXPECT_GT(longCRL.size(), 0x80000U);
    EXPECT_TRUE(crlVerifies(longCRL, ca.key));
  }
}

}  // namespace keystrand::test
