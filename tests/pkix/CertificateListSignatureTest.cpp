#include <gtest/gtest.h>

#include <map>
#include <string>

#include "keystrand/pkix/Certificate.h"
#include "keystrand/pkix/CertificateList.h"
#include "pkix/IssuerKey.h"
#include "pkix/OpenSSLOracle.h"
#include "support/Builders.h"
#include "support/Coding.h"
#include "support/Der.h"
#include "support/Signing.h"
#include "support/TestDevice.h"

namespace keystrand::test {
namespace {

const std::vector<CRLEntrySpec> kEntries = {{.serial = "0A11", .extensions = {{"CRLReason", "ASN1:ENUM:1"}}},
                                            {.serial = "0A12"}};

// Without a digest only RSASSA-PSS can be checked, which goes over the body as it would be written.
TEST(CertificateListSignature, HoldsForTheSignedBytesOnly) {
  struct Row {
    const char* key;
    SigningSpec signing;
    bool known;  // to the device
  };
  const Row rows[] = {{"RSA-2048", {"SHA1"}, true},         {"RSA-2048", {"SHA256"}, true},
                      {"RSA-2048", {"SHA512"}, true},       {"RSA-2048", {"SHA256", true}, true},
                      {"RSA-2048", {"SHA384", true}, true}, {"P-256", {"SHA256"}, true},
                      {"P-384", {"SHA384"}, true},          {"RSA-2048", {"SHA3-256"}, false}};
  TestDevice device;
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.key) + " " + row.signing.digest + (row.signing.pss ? " PSS" : ""));
    const Authority ca = makeAuthority({.key = privateKey(row.key)});
    const IssuerKey issuer(ca);
    const IssuerKey other(makeAuthority({.key = privateKey(row.key, 1)}));
    for (const auto& nextUpdate : {std::optional<std::string>("20380101000000Z"), std::optional<std::string>()}) {
      const ByteString der = makeCRL(ca, {.nextUpdate = nextUpdate, .entries = kEntries, .signing = row.signing});
      CertificateList crl;
      ASSERT_TRUE(device.read(crl, der));
      EXPECT_EQ(crl.digestView() != nullptr, row.known);
      EXPECT_EQ(crl.verify(device.get(), issuer), row.known);
      EXPECT_FALSE(crl.verify(device.get(), other));
      const std::unique_ptr<const CertificateList> copy(crl.clone());
      EXPECT_EQ(copy->verify(device.get(), issuer), row.known);

      CertificateList plain;
      ASSERT_TRUE(decode(plain, der));
      EXPECT_EQ(plain.digestView(), nullptr);
      EXPECT_EQ(plain.verify(device.get(), issuer), row.signing.pss);

      CertificateList spoilt;
      ASSERT_TRUE(device.read(spoilt, withBitFlipped(der)));
      EXPECT_FALSE(spoilt.verify(device.get(), issuer));
    }
  }
}

// The digest is that of the bytes received; RSASSA-PSS goes over what would be written.
TEST(CertificateListSignature, OfANonCanonicalBodyNeedsTheReceivedBytes) {
  TestDevice device;
  const Authority ca = makeAuthority({.key = privateKey("RSA-2048")});
  const IssuerKey issuer(ca);
  for (const bool pss : {false, true}) {
    const std::vector<ByteString> parts = children(makeCRL(ca, {.entries = kEntries, .signing = {"SHA256", pss}}));
    const ByteString body = element(0x30, firstElement(parts.at(0)).content, 4);
    const ByteString signature = signatureOf(ca.key, {"SHA256", pss}, body);
    const ByteString bits = element(0x03, ByteString{0} + signature);
    CertificateList crl;
    ASSERT_TRUE(device.read(crl, withChildren(0x30, {body, parts.at(1), bits})));
    EXPECT_EQ(crl.verify(device.get(), issuer), !pss);
  }
}

// A signature that is there is kept. One that the device cannot make leaves the buffer as it was.
TEST(CertificateListSignature, IsWrittenOrRefused) {
  TestDevice device;
  const ByteString der = makeCRL(makeAuthority(), {.entries = kEntries});
  CertificateList crl;
  ASSERT_TRUE(device.read(crl, der));
  SecureBuffer out(&device.get());
  ASSERT_TRUE(crl.sign(out));
  EXPECT_EQ(held(out), der);
  crl.setSignature(nullptr);
  EXPECT_FALSE(crl.sign(out));
  EXPECT_EQ(out.size(), der.size());
  EXPECT_FALSE(CertificateList().sign(out));
}

// Over every pair of a CRL and a certificate of its issuer's name in PKITS.
TEST(CertificateListSignature, AgreesWithOpenSSLOnPKITS) {
  TestDevice device;
  const auto folder = publishedVectors() / "x509" / "PKITS_data";
  std::multimap<ByteString, ByteString> certificates;  // by subject
  for (const auto& file : std::filesystem::directory_iterator(folder / "certs")) {
    ByteString der = readFile(file.path());
    Certificate certificate;
    if (!decode(certificate, der)) continue;
    certificates.emplace(encode(*certificate.subjectView()), std::move(der));
  }
  int verified = 0;
  for (const auto& file : std::filesystem::directory_iterator(folder / "crls")) {
    const ByteString der = readFile(file.path());
    CertificateList crl;
    ASSERT_TRUE(device.read(crl, der)) << file.path();
    const auto [from, to] = certificates.equal_range(encode(*crl.issuerView()));
    for (auto issuer = from; issuer != to; ++issuer) {
      Certificate certificate;
      ASSERT_TRUE(decode(certificate, issuer->second));
      const KeyInfo& key = *certificate.subjectPublicKeyInfoView();
      const bool ours = crl.verify(device.get(), key);
      const bool isDSA = key.isAlgorithm("1.2.840.10040.4.1");  // the device does not verify it
      EXPECT_EQ(ours, !isDSA && openSSLVerifiesCRL(der, issuer->second)) << file.path();
      if (ours) ++verified;
    }
  }
  EXPECT_GT(verified, 150);
}

}  // namespace
}  // namespace keystrand::test
