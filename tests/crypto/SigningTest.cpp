// Signatures that the device makes, checked by OpenSSL.
#include <gtest/gtest.h>
#include <p11-kit/pkcs11.h>

#include "OpenDevice.h"
#include "keystrand/crypto/ECDSAPrivateKey.h"
#include "keystrand/crypto/RSAPrivateKey.h"
#include "support/Coding.h"
#include "support/OwnKeys.h"

namespace keystrand::test {
namespace {

// The algorithms of signatures that the device knows, each with a kind of key.
struct AlgorithmRow {
  const char *oid, *key;
  SigningSpec signing;
  const char* digest = nullptr;  // to be selected first
};

const AlgorithmRow kAlgorithms[] = {
    {"1.2.840.113549.1.1.5", "RSA-2048", {"SHA1"}},
    {"1.3.14.3.2.29", "RSA-2048", {"SHA1"}},
    {"1.2.840.113549.1.1.11", "RSA-2048", {"SHA256"}},
    {"1.2.840.113549.1.1.11", "RSA-1024", {"SHA256"}},
    {"1.2.840.113549.1.1.11", "RSA-2049", {"SHA256"}},
    {"1.2.840.113549.1.1.11", "RSA-3072", {"SHA256"}},
    {"1.2.840.113549.1.1.12", "RSA-2048", {"SHA384"}},
    {"1.2.840.113549.1.1.13", "RSA-2048", {"SHA512"}},
    {"1.2.840.113549.1.1.4", "RSA-2048", {"MD5"}},
    {"1.3.14.3.2.3", "RSA-2048", {"MD5"}},
    {"1.3.36.3.3.1.2", "RSA-2048", {"RIPEMD160"}},
    {kPSS, "RSA-2048", {"SHA1", true}, "1.3.14.3.2.26"},
    {kPSS, "RSA-2048", {"SHA256", true}, "2.16.840.1.101.3.4.2.1"},
    {kPSS, "RSA-2049", {"SHA256", true}, "2.16.840.1.101.3.4.2.1"},
    {kPSS, "RSA-2048", {"SHA384", true}, "2.16.840.1.101.3.4.2.2"},
    {kPSS, "RSA-2048", {"SHA512", true}, "2.16.840.1.101.3.4.2.3"},
    {"1.2.840.10045.4.1", "P-256", {"SHA1"}},
    {"1.2.840.10045.4.3.1", "P-224", {"SHA224"}},
    {"1.2.840.10045.4.3.2", "P-256", {"SHA256"}},
    {"1.2.840.10045.4.3.3", "P-384", {"SHA384"}},
    {"1.2.840.10045.4.3.4", "P-521", {"SHA512"}},
    {"1.2.840.10045.4.3.4", "P-256", {"SHA512"}},
    {"1.2.840.10045.4.3.2", "secp256k1", {"SHA256"}},
    {"1.2.840.10045.4.3.2", "brainpoolP256r1", {"SHA256"}},
    {"1.2.840.10045.4.3.3", "brainpoolP384r1", {"SHA384"}},
    {"1.2.840.10045.4.3.4", "brainpoolP512r1", {"SHA512"}},
};

ByteString takenOctets(owner<Signature*> signature) {
  const std::unique_ptr<Signature> held(signature);
  if (held == nullptr) return {};
  return {held->view().begin(), held->view().end()};
}

}  // namespace

TEST(Signing, AndVerifyingAgreeWithOpenSSL) {
  OpenDevice open;
  CryptoDevice& device = open.device;
  for (const AlgorithmRow& row : kAlgorithms) {
    SCOPED_TRACE(row.signing.digest + (row.signing.pss ? " PSS " : " ") + row.key);
    const bool pss = row.signing.pss;
    const PrivateKey key = privateKey(row.key);
    const auto info = keyInfoOf(key);
    const auto other = keyInfoOf(privateKey(row.key, 1));
    ASSERT_TRUE(device.importKey(*ownKey(key), row.key));
    ASSERT_TRUE((row.digest == nullptr || device.setDigest(row.digest)) && device.setSignatureAlgorithm(row.oid));

    const ByteString theirs = signatureOf(key, row.signing, kMessage);
    EXPECT_TRUE(verifies(device, kMessage, theirs, *info, pss));
    EXPECT_EQ(device.lastResult(), CKR_OK);
    EXPECT_FALSE(verifies(device, kMessage, withBitFlipped(theirs), *info, pss));
    EXPECT_EQ(device.lastResult(), CKR_SIGNATURE_INVALID);
    EXPECT_FALSE(verifies(device, withBitFlipped(kMessage), theirs, *info, pss));
    EXPECT_FALSE(verifies(device, kMessage, theirs, *other, pss));

    const ByteString once = takenOctets(device.signData(kMessage.data(), kMessage.size()));
    EXPECT_TRUE(verifiesInOpenSSL(key, row.signing, kMessage, once));
    EXPECT_TRUE(device.verifyData(kMessage.data(), kMessage.size(), Signature(once), *info));
    ASSERT_TRUE(device.signInit());
    ASSERT_TRUE(device.signInit()) << "what was begun is given up";
    ASSERT_TRUE(device.signUpdate(kMessage.data(), 3) && device.signUpdate(kMessage.data() + 3, kMessage.size() - 3));
    EXPECT_TRUE(verifiesInOpenSSL(key, row.signing, kMessage, takenOctets(device.signFinal())));
    if (pss) continue;
    const ByteString ofDigest = takenOctets(device.signDigestInfo(*digestWith(device, kMessage)));
    EXPECT_TRUE(verifiesInOpenSSL(key, row.signing, kMessage, ofDigest));
  }
}

TEST(Signing, FindsItsKeysByIdLabelAndIndex) {
  OpenDevice open;
  const unsigned char id[] = {7, 7};
  ASSERT_TRUE(open.device.importKey(*ownKey(privateKey("RSA-1024")), id, sizeof id));
  const auto first = open.device.selectedKey();
  ASSERT_TRUE(open.device.importKey(*ownKey(privateKey("P-256")), "curve"));
  const auto second = open.device.selectedKey();
  EXPECT_NE(first, second);
  EXPECT_TRUE(open.device.selectPrivateKey("RSA Key")) << "the label where none is given";
  EXPECT_EQ(open.device.selectedKey(), first);
  EXPECT_TRUE(open.device.selectPrivateKey("curve"));
  EXPECT_EQ(open.device.selectedKey(), second);
  EXPECT_TRUE(open.device.selectPrivateKey(id, sizeof id));
  EXPECT_EQ(open.device.selectedKey(), first);
  EXPECT_TRUE(open.device.selectPrivateKeyAt(1));
  EXPECT_EQ(open.device.selectedKey(), second);
  EXPECT_FALSE(open.device.selectPrivateKeyAt(2) || open.device.selectPrivateKey(id, 1) ||
               open.device.selectPrivateKey("other") || open.device.selectPrivateKey(nullptr));
  EXPECT_EQ(open.device.selectedKey(), 0U) << "never the one before";
  EXPECT_EQ(open.device.signRaw(kMessage.data(), kMessage.size()), nullptr);
  EXPECT_FALSE(open.device.importKey(RSAPublicKey()));
  const std::unique_ptr<KeyInfo> exported(open.device.exportPublicKey("RSA Key"));
  ASSERT_NE(exported, nullptr);
  EXPECT_EQ(encode(*exported), publicKeyInfo(privateKey("RSA-1024")));
  EXPECT_TRUE(open.device.open(0, nullptr, 0));
  EXPECT_FALSE(open.device.selectPrivateKeyAt(0)) << "the session took its objects along";
}

TEST(Signing, NeedsAKeyThatHoldsTogether) {
  const auto own = ownKey(privateKey("RSA-1024"));
  const RSAPrivateKey& good = dynamic_cast<const RSAPrivateKey&>(*own);
  OpenDevice open;
  ASSERT_TRUE(open.device.setSignatureAlgorithm("1.2.840.113549.1.1.11"));
  for (std::size_t i = 0; i < good.integers().size(); ++i) {
    RSAPrivateKey::Integers spoilt = good.integers();
    ByteString octets(spoilt[i].magnitudeLength());
    spoilt[i].magnitude(octets);
    octets[octets.size() / 2] ^= 0x10;
    spoilt[i] = BigInteger(octets);
    ASSERT_TRUE(open.device.importKey(RSAPrivateKey(spoilt)));
    const ByteString signature = takenOctets(open.device.signData(kMessage.data(), kMessage.size()));
    // The private exponent is not used where the primes are there.
    EXPECT_EQ(signature.empty(), i != 2) << i << ": a wrong signature would tell the primes";
  }
  ECDSAPrivateKey nowhere;
  const ECParameters unknown(OID("1.2.3.4"));
  nowhere.setParameters(&unknown);
  nowhere.setValue(BigInteger(5));
  ASSERT_TRUE(open.device.importKey(nowhere) && open.device.setSignatureAlgorithm("1.2.840.10045.4.3.2"));
  EXPECT_TRUE(takenOctets(open.device.signData(kMessage.data(), kMessage.size())).empty()) << "no curve, no signature";
  ASSERT_TRUE(open.device.setSignatureAlgorithm("1.2.840.113549.1.1.11"));
  RSAPrivateKey::Integers withoutPrimes{good.modulus(), good.publicExponent(), good.privateExponent()};
  ASSERT_TRUE(open.device.importKey(RSAPrivateKey(withoutPrimes)));
  EXPECT_TRUE(verifiesInOpenSSL(privateKey("RSA-1024"), {"SHA256"}, kMessage,
                                takenOctets(open.device.signData(kMessage.data(), kMessage.size()))));
}

TEST(PrivateKeys, AreWrittenAsOpenSSLWritesThem) {
  for (const char* kind : {"RSA-1024", "RSA-2049", "P-224", "P-256", "P-521", "brainpoolP384r1"}) {
    const PrivateKey key = privateKey(kind);
    const auto own = ownKey(key);
    ASSERT_NE(own, nullptr) << kind;
    Buffer out;
    own->putPrivate(out);
    EXPECT_EQ(held(out), privateKeyCoding(key)) << kind;
    EXPECT_EQ(own->privateSize(out), out.size()) << kind;
  }
}

}  // namespace keystrand::test
