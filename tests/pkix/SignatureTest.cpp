// The signatures of certificates, CRLs and attribute certificates: what they hold for, and how they are made.
#include <gtest/gtest.h>

#include <map>

#include "crypto/SHA256.h"
#include "keystrand/pkix/AttributeCertificate.h"
#include "keystrand/pkix/Certificate.h"
#include "keystrand/pkix/CertificateList.h"
#include "pkix/OpenSSLOracle.h"
#include "support/Builders.h"
#include "support/Coding.h"
#include "support/Der.h"
#include "support/OwnKeys.h"
#include "support/TestDevice.h"

namespace keystrand::test {
namespace {

// An object of each kind, signed by the CA.
template <class Object>
ByteString made(const Authority& ca, const SigningSpec& signing = {});

template <>
ByteString made<Certificate>(const Authority& ca, const SigningSpec& signing) {
  return makeCertificate(ca, {.signing = signing});
}
template <>
ByteString made<CertificateList>(const Authority& ca, const SigningSpec& signing) {
  return makeCRL(ca, {.nextUpdate = {}, .entries = {{.serial = "0A11"}, {.serial = "0A12"}}, .signing = signing});
}
template <>
ByteString made<AttributeCertificate>(const Authority& ca, const SigningSpec& signing) {
  const ByteString role = readFile(treeData() / "fuzz" / "attribute_certificate" / "role");
  return makeSigned(children(role).at(0), ca.key, signing);
}

// The public key of a CA, as the library reads it.
class IssuerKey {
 public:
  explicit IssuerKey(const Authority& ca) { EXPECT_TRUE(decode(certificate_, ca.certificate)); }
  operator const KeyInfo&() const { return *certificate_.subjectPublicKeyInfoView(); }  // NOLINT(google-explicit-*)

 private:
  Certificate certificate_;
};

bool openSSLVerifiesCRL(const ByteString& crl, const ByteString& issuer) {
  const CRLHandle read = readCRL(crl);
  const auto signer = builder::readCertificate(issuer);
  EVP_PKEY* key = signer ? X509_get0_pubkey(signer.get()) : nullptr;
  return read && key != nullptr && X509_CRL_verify(read.get(), key) == 1;
}

// A CA whose key is of this kind.
Authority authority(const char* key, int number = 0) {
  return makeAuthority({.key = privateKey(key, number)});
}

template <class Object>
class SignedObject : public testing::Test {
 protected:
  bool verifies(const ByteString& der, const KeyInfo& key) {
    Object object;
    return device_.read(object, der) && object.verify(device_.get(), key);
  }
  TestDevice device_;
};
using Kinds = testing::Types<Certificate, CertificateList, AttributeCertificate>;
TYPED_TEST_SUITE(SignedObject, Kinds);

struct AlgorithmRow {
  const char* key;
  SigningSpec signing;
  bool known = true;  // to the device
};
const AlgorithmRow kAlgorithms[] = {
    {"RSA-2048", {"MD5"}},
    {"RSA-2048", {"SHA1"}},
    {"RSA-2048", {"SHA256"}},
    {"RSA-2048", {"SHA384"}},
    {"RSA-2048", {"SHA512"}},
    {"RSA-2048", {"SHA1", true}},
    {"RSA-2048", {"SHA256", true}},
    {"RSA-2048", {"SHA384", true}},
    {"RSA-2048", {"SHA512", true}},
    {"P-256", {"SHA1"}},
    {"P-256", {"SHA224"}},
    {"P-256", {"SHA256"}},
    {"P-384", {"SHA384"}},
    {"P-521", {"SHA512"}},
    {"brainpoolP256r1", {"SHA256"}},
    {"RSA-2048", {"SHA224"}, false},
    {"RSA-2048", {"SHA3-256"}, false},
    {"P-256", {"SHA3-256"}, false},
};

// Read without a digest, a certificate is checked by one of its body as it would be written; of a CRL, which may be
// long, that is done for RSASSA-PSS alone, which has no other way.
TYPED_TEST(SignedObject, HoldsForTheSignedBytesOnly) {
  CryptoDevice& device = this->device_.get();
  for (const AlgorithmRow& row : kAlgorithms) {
    SCOPED_TRACE(std::string(row.key) + " " + row.signing.digest + (row.signing.pss ? " PSS" : ""));
    const Authority ca = authority(row.key);
    const IssuerKey issuer(ca);
    const ByteString der = made<TypeParam>(ca, row.signing);
    TypeParam object;
    ASSERT_TRUE(this->device_.read(object, der));
    EXPECT_EQ(object.digestView() != nullptr, row.known);
    EXPECT_EQ(object.verify(device, issuer), row.known);
    EXPECT_FALSE(object.verify(device, IssuerKey(authority(row.key, 1))));
    EXPECT_FALSE(this->verifies(withBitFlipped(der), issuer));
    const std::unique_ptr<TypeParam> copy(object.clone());
    EXPECT_EQ(copy->digestView() != nullptr, row.known);
    EXPECT_EQ(copy->verify(device, issuer), row.known);
    TypeParam plain;
    ASSERT_TRUE(decode(plain, der));
    EXPECT_EQ(plain.digestView(), nullptr);
    const bool checked = !std::is_same_v<TypeParam, CertificateList> || row.signing.pss;
    EXPECT_EQ(plain.verify(device, issuer), row.known && checked);
  }
}

// Each bit of a body turned over in its turn: what can still be read is not signed any more.
TYPED_TEST(SignedObject, BreaksWithEveryBitOfTheBody) {
  const Authority ca = makeAuthority();
  const IssuerKey issuer(ca);
  const ByteString der = made<TypeParam>(ca);
  const std::size_t head = der.size() - firstElement(der).content.size();
  const std::size_t end = head + children(der).at(0).size();
  for (std::size_t bit = 8 * (der.size() - end); bit < 8 * (der.size() - head); ++bit)
    EXPECT_FALSE(this->verifies(withBitFlipped(der, bit), issuer)) << bit;
}

// A body that is not DER: its digest is that of the bytes received, so the reading that takes it is the only one on
// which such a signature holds. RSASSA-PSS always goes over what would be written.
TYPED_TEST(SignedObject, OfANonCanonicalBodyNeedsTheReceivedBytes) {
  const Authority ca = authority("RSA-2048");
  const IssuerKey issuer(ca);
  for (const SigningSpec& signing : {SigningSpec{"SHA256"}, SigningSpec{"SHA256", true}}) {
    const ByteString body = children(made<TypeParam>(ca, signing)).at(0);
    const ByteString der = makeSigned(element(0x30, firstElement(body).content, 4), ca.key, signing);
    EXPECT_EQ(this->verifies(der, issuer), !signing.pss);
    TypeParam plain;
    ASSERT_TRUE(decode(plain, der));
    EXPECT_FALSE(plain.verify(this->device_.get(), issuer));
    EXPECT_LT(encode(plain).size(), der.size());
    if (std::is_same_v<TypeParam, CertificateList>) continue;  // its digest is that of the bytes it was read from
    TypeParam changed;
    ASSERT_TRUE(this->device_.read(changed, der));
    changed.setInfo(plain.infoView());
    EXPECT_FALSE(changed.verify(this->device_.get(), issuer)) << "a new body has no received bytes";
  }
}

// Cut anywhere it is none, though the block still holds the rest of it from before.
TYPED_TEST(SignedObject, IsNotReadBeyondTheData) {
  const ByteString whole = made<TypeParam>(makeAuthority());
  Buffer buffer;
  for (std::uint32_t n = 0; n < whole.size(); ++n) {
    buffer.assign(whole.data(), static_cast<std::uint32_t>(whole.size()));
    buffer.setSize(n);
    buffer.setReadPosition(0);
    TypeParam object;
    EXPECT_FALSE(object.get(buffer)) << n;
  }
}

// A signature that is there is kept. One that cannot be made leaves the buffer as it was.
TYPED_TEST(SignedObject, IsWrittenWithTheSignatureThatItHas) {
  const Authority ca = makeAuthority();
  const ByteString der = made<TypeParam>(ca);
  TypeParam object;
  ASSERT_TRUE(this->device_.read(object, der));
  SecureBuffer out(&this->device_.get());
  out.putByte(0x2A);
  EXPECT_TRUE(object.sign(out));
  EXPECT_EQ(held(out), ByteString{0x2A} + der);
  object.setSignature(nullptr);
  EXPECT_FALSE(object.sign(out)) << "the device has no private key";
  EXPECT_FALSE(TypeParam().sign(out));
  EXPECT_EQ(out.size(), der.size() + 1);
  EXPECT_FALSE(object.verify(this->device_.get(), IssuerKey(ca)));
}

// PKCS #1 v1.5 gives OpenSSL's signature again; the others pass its check.
TYPED_TEST(SignedObject, IsSignedByAKeyAndByADevice) {
  const AlgorithmRow rows[] = {
      {"RSA-2048", {"SHA256"}}, {"RSA-2048", {"SHA256", true}}, {"RSA-2048", {"SHA384", true}}, {"P-256", {"SHA256"}}};
  for (const AlgorithmRow& row : rows) {
    SCOPED_TRACE(std::string(row.key) + " " + row.signing.digest + (row.signing.pss ? " PSS" : ""));
    const Authority ca = authority(row.key);
    const std::unique_ptr<Key> key = ownKey(ca.key);
    const ByteString der = made<TypeParam>(ca, row.signing);
    const auto check = [&](const ByteString& again) {
      const auto parts = children(again);
      ASSERT_EQ(parts.size(), 3U);
      EXPECT_EQ(parts[0], children(der)[0]);
      EXPECT_TRUE(verifiesInOpenSSL(ca.key, row.signing, parts[0], slice(firstElement(parts[2]).content, 1)));
      EXPECT_EQ(again == der, row.key == std::string("RSA-2048") && !row.signing.pss);
      EXPECT_TRUE(this->verifies(again, IssuerKey(ca)));
    };
    TypeParam object;
    ASSERT_TRUE(this->device_.read(object, der));
    object.setSignature(nullptr);
    ASSERT_TRUE(this->device_.get().importKey(*key));
    SecureBuffer byDevice(&this->device_.get());
    EXPECT_TRUE(object.sign(byDevice));
    check(held(byDevice));
    if (row.signing.digest != "SHA256") continue;
    SHA256 digester;
    Buffer byKey;
    object.setSignature(nullptr);
    EXPECT_FALSE(object.sign(byKey, RSAPublicKey(), digester)) << "not a private key";
    EXPECT_EQ(byKey.size(), 0U);
    EXPECT_TRUE(object.sign(byKey, *key, digester));
    check(held(byKey));
  }
}

// More than the device takes in one piece.
TEST(SignedObjects, OfAnyLengthAreSigned) {
  TestDevice device;
  const Authority ca = makeAuthority();
  ASSERT_TRUE(device.get().importKey(*ownKey(ca.key)));
  CertificateList crl;
  ASSERT_TRUE(device.read(crl, makeCRL(ca, {.entries = std::vector<CRLEntrySpec>(26000)})));
  crl.setSignature(nullptr);
  SecureBuffer out(&device.get());
  EXPECT_TRUE(crl.sign(out));
  EXPECT_GT(out.size(), 0x80000U);
  EXPECT_TRUE(openSSLVerifiesCRL(held(out), ca.certificate));
}

// A list reads its certificates the way its buffer says.
TEST(CertList, DigestsItsCertificatesWhereItsBufferDoes) {
  TestDevice device;
  const ByteString der = makeCertificate(makeAuthority());
  const ByteString list = element(0x30, der + der);
  CertList digested, plain;
  ASSERT_TRUE(device.read(digested, list) && decode(plain, list));
  ASSERT_EQ(digested.count(), 2);
  EXPECT_NE(digested.view(1)->digestView(), nullptr);
  EXPECT_EQ(plain.view(1)->digestView(), nullptr);
  EXPECT_EQ(encode(plain), list);
}

// Over every pair of a CRL and a certificate of its issuer's name in PKITS.
TEST(PublishedCRLs, VerifyAsInOpenSSL) {
  TestDevice device;
  const auto folder = publishedVectors() / "x509" / "PKITS_data";
  std::multimap<ByteString, ByteString> certificates;  // by subject
  for (const auto& file : std::filesystem::directory_iterator(folder / "certs")) {
    ByteString der = readFile(file.path());
    Certificate certificate;
    if (decode(certificate, der)) certificates.emplace(encode(*certificate.subjectView()), std::move(der));
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
