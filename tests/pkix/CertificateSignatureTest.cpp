#include <gtest/gtest.h>

#include <fstream>

#include "crypto/SHA256.h"
#include "keystrand/pkix/AttributeCertificate.h"
#include "keystrand/pkix/Certificate.h"
#include "keystrand/pkix/CertificateList.h"
#include "pkix/IssuerKey.h"
#include "support/Builders.h"
#include "support/Coding.h"
#include "support/Der.h"
#include "support/OwnKeys.h"
#include "support/TempFolder.h"
#include "support/TestDevice.h"

namespace keystrand::test {
namespace {

struct AlgorithmRow {
  const char* key;
  SigningSpec signing;
  bool known;  // to the device
};
const AlgorithmRow kAlgorithms[] = {
    {"RSA-2048", {"MD5"}, true},           {"RSA-2048", {"SHA1"}, true},
    {"RSA-2048", {"SHA256"}, true},        {"RSA-2048", {"SHA384"}, true},
    {"RSA-2048", {"SHA512"}, true},        {"RSA-2048", {"SHA1", true}, true},
    {"RSA-2048", {"SHA256", true}, true},  {"RSA-2048", {"SHA384", true}, true},
    {"RSA-2048", {"SHA512", true}, true},  {"P-256", {"SHA1"}, true},
    {"P-256", {"SHA224"}, true},           {"P-256", {"SHA256"}, true},
    {"P-384", {"SHA384"}, true},           {"P-521", {"SHA512"}, true},
    {"brainpoolP256r1", {"SHA256"}, true}, {"RSA-2048", {"SHA224"}, false},
    {"RSA-2048", {"SHA3-256"}, false},     {"P-256", {"SHA3-256"}, false},
};

TEST(CertificateSignature, HoldsForTheSignedBytesOnly) {
  TestDevice device;
  for (const AlgorithmRow& row : kAlgorithms) {
    SCOPED_TRACE(std::string(row.key) + " " + row.signing.digest + (row.signing.pss ? " PSS" : ""));
    const Authority ca = makeAuthority({.key = privateKey(row.key)});
    const IssuerKey issuerKey(ca);
    const IssuerKey otherKey(makeAuthority({.key = privateKey(row.key, 1)}));
    const ByteString der = makeCertificate(ca, {.signing = row.signing});
    Certificate certificate;
    ASSERT_TRUE(device.read(certificate, der));
    EXPECT_EQ(certificate.verify(device.get(), issuerKey), row.known);
    EXPECT_FALSE(certificate.verify(device.get(), otherKey));
    const std::unique_ptr<Certificate> copy(certificate.clone());
    EXPECT_EQ(copy->verify(device.get(), issuerKey), row.known);

    Certificate plain;  // read without a digest, which is then made of the body as it would be written
    ASSERT_TRUE(decode(plain, der));
    EXPECT_EQ(plain.verify(device.get(), issuerKey), row.known);

    Certificate spoilt;
    ASSERT_TRUE(device.read(spoilt, withBitFlipped(der)));
    EXPECT_FALSE(spoilt.verify(device.get(), issuerKey));
    const std::unique_ptr<Name> issuerName(certificate.issuer());
    certificate.setSubject(issuerName.get());
    EXPECT_FALSE(certificate.verify(device.get(), issuerKey)) << "changed after it was read";
  }
}

// Each bit of a body turned over in its turn: what can still be read is not signed any more.
TEST(CertificateSignature, BreaksWithEveryBitOfTheBody) {
  TestDevice device;
  const Authority ca = makeAuthority();
  const IssuerKey issuerKey(ca);
  const ByteString der = makeCertificate(ca, {.extensions = {{"keyUsage", "critical,digitalSignature"}}});
  const std::size_t end = 4 + children(der).at(0).size();
  for (std::size_t bit = 8 * (der.size() - end); bit < 8 * (der.size() - 4); ++bit) {
    Certificate certificate;
    if (device.read(certificate, withBitFlipped(der, bit))) {
      EXPECT_FALSE(certificate.verify(device.get(), issuerKey)) << bit;
    }
  }
}

// A body that is not DER: its digest is that of the bytes received, so the reading that takes it is the only one on
// which such a signature holds. RSASSA-PSS always goes over what would be written.
TEST(CertificateSignature, OfANonCanonicalBodyNeedsTheReceivedBytes) {
  TestDevice device;
  for (const bool pss : {false, true}) {
    const Authority ca = makeAuthority({.key = privateKey("RSA-2048")});
    const IssuerKey issuerKey(ca);
    const ByteString body = children(makeCertificate(ca)).at(0);
    const ByteString longForm = element(0x30, firstElement(body).content, 4);
    const ByteString der = makeSigned(longForm, ca.key, {.pss = pss});
    Certificate digested;
    ASSERT_TRUE(device.read(digested, der));
    EXPECT_EQ(digested.verify(device.get(), issuerKey), !pss);
    Certificate plain;
    ASSERT_TRUE(decode(plain, der));
    EXPECT_FALSE(plain.verify(device.get(), issuerKey));
    EXPECT_LT(encode(plain).size(), der.size());

    // A list reads its certificates the way its buffer says.
    const ByteString list = element(0x30, der + der);
    CertList digestedList;
    ASSERT_TRUE(device.read(digestedList, list));
    ASSERT_EQ(digestedList.count(), 2);
    const std::unique_ptr<Certificate> second(digestedList.get(1));
    EXPECT_EQ(second->verify(device.get(), issuerKey), !pss);
    CertList plainList;
    ASSERT_TRUE(decode(plainList, list));
    EXPECT_EQ(plainList.view(1)->digestView(), nullptr);
    EXPECT_EQ(encode(plainList), element(0x30, encode(plain) + encode(plain)));
  }
}

TEST(Certificate, SignsAndArmoursWhatItHas) {
  TestDevice device;
  const Authority ca = makeAuthority();
  const ByteString der = makeCertificate(ca);
  Certificate certificate;
  ASSERT_TRUE(decode(certificate, der));
  SecureBuffer buffer(&device.get());
  buffer.putByte(0x2A);
  ASSERT_TRUE(certificate.sign(buffer));
  EXPECT_EQ(held(buffer), ByteString{0x2A} + der) << "written behind what the buffer holds";

  const TempFolder folder;
  const std::filesystem::path path = folder.path() / "certificate.pem";
  std::FILE* file = std::fopen(path.c_str(), "w+");
  ASSERT_NE(file, nullptr);
  EXPECT_TRUE(certificate.savePEM(fileno(file), buffer));
  const ByteString text = readFile(path);
  EXPECT_EQ(fromPEM(std::string(text.begin(), text.end())), der);
  std::rewind(file);
  Certificate loaded;
  EXPECT_TRUE(loaded.loadPEM(fileno(file), buffer));
  EXPECT_EQ(encode(loaded), der);
  EXPECT_NE(loaded.digestView(), nullptr);
  std::fclose(file);

  certificate.setSignature(nullptr);
  const std::uint32_t before = buffer.size();
  EXPECT_FALSE(certificate.sign(buffer)) << "the device has no private key";
  EXPECT_EQ(buffer.size(), before);
  EXPECT_FALSE(certificate.verify(device.get(), IssuerKey(ca)));
  EXPECT_FALSE(certificate.savePEM(-1, buffer));
}

// PKCS #1 v1.5 gives OpenSSL's signature again; the others pass its check.
TEST(CertificateSignature, IsMadeWithAKeyAndADigester) {
  struct Row {
    const char* key;
    bool pss;
    bool same;
  };
  SHA256 digester;
  for (const Row& row : {Row{"RSA-2048", false, true}, Row{"RSA-2048", true, false}, Row{"P-256", false, false}}) {
    SCOPED_TRACE(std::string(row.key) + (row.pss ? " PSS" : ""));
    const Authority ca = makeAuthority({.key = privateKey(row.key)});
    const std::unique_ptr<Key> key = ownKey(ca.key);
    const auto signedAgain = [&](auto& object, const ByteString& der) {
      EXPECT_TRUE(decode(object, der));
      object.setSignature(nullptr);
      Buffer buffer;
      EXPECT_FALSE(object.sign(buffer, RSAPublicKey(), digester)) << "not a private key";
      EXPECT_EQ(buffer.size(), 0U);
      EXPECT_TRUE(object.sign(buffer, *key, digester));
      const auto held = buffer.range(0, buffer.size());
      return ByteString(held.begin(), held.end());
    };
    const SigningSpec signing = {.digest = "SHA256", .pss = row.pss};
    Certificate certificate;
    const ByteString der = makeCertificate(ca, {.signing = signing});
    const ByteString made = signedAgain(certificate, der);
    EXPECT_EQ(made == der, row.same);
    EXPECT_TRUE(openSSLVerifies(made, ca.certificate));
    CertificateList crl;
    const ByteString list = makeCRL(ca, {.signing = signing});
    EXPECT_EQ(signedAgain(crl, list) == list, row.same);
    AttributeCertificate role;
    const ByteString body = children(readFile(treeData() / "fuzz" / "attribute_certificate" / "role")).at(0);
    const ByteString held = makeSigned(body, ca.key, signing);
    EXPECT_EQ(signedAgain(role, held) == held, row.same);
    TestDevice device;
    EXPECT_TRUE(role.verify(device.get(), IssuerKey(ca)));
  }
}

}  // namespace
}  // namespace keystrand::test
