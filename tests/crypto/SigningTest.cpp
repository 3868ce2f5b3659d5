// Signatures and MACs that the device and the token make, checked by OpenSSL and against published values.
#include <gtest/gtest.h>
#include <p11-kit/pkcs11.h>

#include "TokenObjects.h"
#include "keystrand/crypto/ECDSAPrivateKey.h"
#include "keystrand/crypto/RSAPrivateKey.h"
#include "support/Coding.h"
#include "support/OwnKeys.h"

namespace keystrand::test {
namespace {

std::string nameOf(const AlgorithmRow& row) {
  return row.signing.digest + (row.signing.pss ? " PSS " : " ") + row.key;
}

bool select(CryptoDevice& device, const AlgorithmRow& row) {
  return (row.digest == nullptr || device.setDigest(row.digest)) && device.setSignatureAlgorithm(row.oid);
}

ByteString takenOctets(owner<Signature*> signature) {
  const std::unique_ptr<Signature> held(signature);
  if (held == nullptr) return {};
  return {held->view().begin(), held->view().end()};
}

Template privateTemplate(const PrivateKey& key) {
  const auto own = ownKey(key);
  Template values{number(CKA_CLASS, CKO_PRIVATE_KEY)};
  const auto magnitude = [](const BigInteger& value) {
    ByteString octets(value.magnitudeLength());
    value.magnitude(octets);
    return octets;
  };
  if (const auto* rsa = dynamic_cast<const RSAPrivateKey*>(own.get())) {
    values.push_back(number(CKA_KEY_TYPE, CKK_RSA));
    values.push_back({CKA_MODULUS, magnitude(rsa->modulus())});
    values.push_back({CKA_PUBLIC_EXPONENT, magnitude(rsa->publicExponent())});
    values.push_back({CKA_PRIVATE_EXPONENT, magnitude(rsa->privateExponent())});
  } else if (const auto* ec = dynamic_cast<const ECDSAPrivateKey*>(own.get())) {
    Buffer domain;
    ec->parametersView()->put(domain);
    values.push_back(number(CKA_KEY_TYPE, CKK_EC));
    values.push_back({CKA_EC_PARAMS, held(domain)});
    values.push_back({CKA_VALUE, magnitude(ec->value())});
  }
  return values;
}

}  // namespace

TEST(Signing, VerifiesInOpenSSLAndHere) {
  OpenDevice open;
  for (const AlgorithmRow& row : kAlgorithms) {
    const PrivateKey key = privateKey(row.key);
    const auto info = keyInfoOf(key);
    ASSERT_TRUE(open.device.importKey(*ownKey(key), row.key)) << nameOf(row);
    ASSERT_TRUE(select(open.device, row)) << nameOf(row);
    const ByteString once = takenOctets(open.device.signData(kMessage.data(), kMessage.size()));
    EXPECT_TRUE(verifiesInOpenSSL(key, row.signing, kMessage, once)) << nameOf(row);
    EXPECT_TRUE(open.device.verifyData(kMessage.data(), kMessage.size(), Signature(once), *info)) << nameOf(row);

    ASSERT_TRUE(open.device.signInit()) << nameOf(row);
    ASSERT_TRUE(open.device.signInit()) << nameOf(row) << ": what was begun is given up";
    ASSERT_TRUE(open.device.signUpdate(kMessage.data(), 3) &&
                open.device.signUpdate(kMessage.data() + 3, kMessage.size() - 3));
    EXPECT_TRUE(verifiesInOpenSSL(key, row.signing, kMessage, takenOctets(open.device.signFinal()))) << nameOf(row);
    if (row.signing.pss) continue;
    const auto digest = digestWith(open.device, kMessage);
    const ByteString ofDigest = takenOctets(open.device.signDigestInfo(*digest));
    EXPECT_TRUE(verifiesInOpenSSL(key, row.signing, kMessage, ofDigest)) << nameOf(row);
    EXPECT_TRUE(open.device.verify(Signature(ofDigest), *digest, *info)) << nameOf(row);
    EXPECT_FALSE(open.device.verify(Signature(ofDigest), *digest, *keyInfoOf(privateKey(row.key, 1)))) << nameOf(row);
  }
}

TEST(Signing, FindsItsKeysByIdLabelAndIndex) {
  OpenDevice open;
  const unsigned char id[] = {7, 7};
  const auto rsa = ownKey(privateKey("RSA-1024"));
  const auto ec = ownKey(privateKey("P-256"));
  ASSERT_TRUE(open.device.importKey(*rsa, id, sizeof id));
  const auto first = open.device.selectedKey();
  ASSERT_TRUE(open.device.importKey(*ec, "curve"));
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
  Buffer coded;
  exported->put(coded);
  EXPECT_EQ(held(coded), publicKeyInfo(privateKey("RSA-1024")));
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
    const std::unique_ptr<Key> copy(own->clone());
    EXPECT_NE(openSSLKey(*copy), nullptr) << kind;
    ByteString cut = privateKeyCoding(key);
    cut.resize(cut.size() / 2);
    Buffer in;
    in.assign(cut.data(), static_cast<std::uint32_t>(cut.size()));
    EXPECT_FALSE(copy->getPrivate(in)) << kind;
  }
}

TEST(TokenSigning, GivesTheStandardsReturnValues) {
  Session open;
  const CK_OBJECT_HANDLE rsa = open.created(privateTemplate(privateKey("RSA-1024")));
  const CK_OBJECT_HANDLE ec = open.created(privateTemplate(privateKey("P-256")));
  const CK_OBJECT_HANDLE mute = open.created(with(privateTemplate(privateKey("RSA-1024")), flag(CKA_SIGN, false)));
  const CK_OBJECT_HANDLE publicKey = open.created(rsaKey());
  const CK_OBJECT_HANDLE data = open.created(note());
  struct Row {
    const char* name;
    CK_MECHANISM_TYPE mechanism;
    CK_OBJECT_HANDLE key;
    CK_RV result;
  };
  for (const Row& row : {Row{"no such key", CKM_RSA_PKCS, 999, CKR_KEY_HANDLE_INVALID},
                         Row{"no key at all", CKM_RSA_PKCS, data, CKR_KEY_HANDLE_INVALID},
                         Row{"a public key", CKM_RSA_PKCS, publicKey, CKR_KEY_FUNCTION_NOT_PERMITTED},
                         Row{"not for signing", CKM_RSA_PKCS, mute, CKR_KEY_FUNCTION_NOT_PERMITTED},
                         Row{"key of another type", CKM_ECDSA, rsa, CKR_KEY_TYPE_INCONSISTENT},
                         Row{"no signature", CKM_SHA_1, rsa, CKR_MECHANISM_INVALID},
                         Row{"PSS without parameters", CKM_SHA256_RSA_PKCS_PSS, rsa, CKR_MECHANISM_PARAM_INVALID}}) {
    const CK_MECHANISM mechanism{row.mechanism, nullptr, 0};
    EXPECT_EQ(open.ki.signInit(open.handle, &mechanism, row.key), row.result) << row.name;
  }
  ByteString out(256);
  CK_ULONG n = out.size();
  const ByteString text(118, 0x55);
  const CK_MECHANISM pkcs{CKM_RSA_PKCS, nullptr, 0};
  const CK_MECHANISM ecdsa{CKM_ECDSA, nullptr, 0};
  const CK_MECHANISM hashed{CKM_SHA256_RSA_PKCS, nullptr, 0};
  EXPECT_EQ(open.ki.sign(open.handle, text.data(), 20, out.data(), &n), CKR_OPERATION_NOT_INITIALIZED);
  ASSERT_EQ(open.ki.signInit(open.handle, &pkcs, rsa), CKR_OK);
  EXPECT_EQ(open.ki.signInit(open.handle, &pkcs, rsa), CKR_OPERATION_ACTIVE);
  EXPECT_EQ(open.ki.sign(open.handle, text.data(), 20, nullptr, &n), CKR_OK);
  EXPECT_EQ(n, 128U);
  n = 127;
  EXPECT_EQ(open.ki.sign(open.handle, text.data(), 20, out.data(), &n), CKR_BUFFER_TOO_SMALL);
  EXPECT_EQ(open.ki.sign(open.handle, text.data(), 20, out.data(), &n), CKR_OK);
  EXPECT_EQ(open.ki.sign(open.handle, text.data(), 20, out.data(), &n), CKR_OPERATION_NOT_INITIALIZED);
  ASSERT_EQ(open.ki.signInit(open.handle, &pkcs, rsa), CKR_OK);
  EXPECT_EQ(open.ki.sign(open.handle, text.data(), 118, out.data(), &n), CKR_DATA_LEN_RANGE);
  ASSERT_EQ(open.ki.signInit(open.handle, &ecdsa, ec), CKR_OK);
  EXPECT_EQ(open.ki.sign(open.handle, text.data(), 19, out.data(), &n), CKR_DATA_LEN_RANGE) << "no digest";
  ASSERT_EQ(open.ki.signInit(open.handle, &pkcs, rsa), CKR_OK);
  EXPECT_EQ(open.ki.signUpdate(open.handle, text.data(), 5), CKR_MECHANISM_INVALID) << "in one part only";
  ASSERT_EQ(open.ki.signInit(open.handle, &hashed, rsa), CKR_OK);
  EXPECT_EQ(open.ki.signUpdate(open.handle, text.data(), 5), CKR_OK);
  EXPECT_EQ(open.ki.destroyObject(open.handle, rsa), CKR_OK) << "the operation keeps its key";
  n = 1;
  EXPECT_EQ(open.ki.signFinal(open.handle, out.data(), &n), CKR_BUFFER_TOO_SMALL);
  EXPECT_EQ(open.ki.signFinal(open.handle, out.data(), &n), CKR_OK);
  const ByteString signature(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(n));
  EXPECT_TRUE(verifiesInOpenSSL(privateKey("RSA-1024"), {"SHA256"}, ByteString(5, 0x55), signature));
}

TEST(TokenSigning, SignsWhatComesBackOutOfTheSignature) {
  Session open;
  const PrivateKey key = privateKey("RSA-1024");
  const CK_OBJECT_HANDLE signer = open.created(privateTemplate(key));
  const auto info = keyInfoOf(key);
  const auto& rsa = dynamic_cast<const RSAPublicKey&>(*info->keyView());
  ByteString modulus(rsa.modulus().magnitudeLength());
  rsa.modulus().magnitude(modulus);
  const CK_OBJECT_HANDLE verifier = open.created(rsaKey(modulus));
  for (const CK_MECHANISM_TYPE type : {CKM_RSA_PKCS, CKM_RSA_X_509}) {
    const CK_MECHANISM mechanism{type, nullptr, 0};
    ByteString signature(128);
    ByteString back(128);
    CK_ULONG n = signature.size();
    ASSERT_EQ(open.ki.signRecoverInit(open.handle, &mechanism, signer), CKR_OK);
    ASSERT_EQ(open.ki.signRecover(open.handle, kMessage.data(), kMessage.size(), signature.data(), &n), CKR_OK);
    ASSERT_EQ(open.ki.verifyRecoverInit(open.handle, &mechanism, verifier), CKR_OK);
    ASSERT_EQ(open.ki.verifyRecover(open.handle, signature.data(), n, back.data(), &n), CKR_OK);
    EXPECT_EQ(ByteString(back.begin() + static_cast<std::ptrdiff_t>(n - kMessage.size()),
                         back.begin() + static_cast<std::ptrdiff_t>(n)),
              kMessage);
  }
  const CK_MECHANISM hashed{CKM_SHA256_RSA_PKCS, nullptr, 0};
  EXPECT_EQ(open.ki.signRecoverInit(open.handle, &hashed, signer), CKR_MECHANISM_INVALID);
}

TEST(PrivateKeys, KeepTheirValuesAndStaySecret) {
  Session open;
  const CK_OBJECT_HANDLE key = open.created(with(privateTemplate(privateKey("P-256")), flag(CKA_SENSITIVE, true)));
  ByteString value(64);
  CK_ATTRIBUTE wanted{CKA_VALUE, value.data(), value.size()};
  EXPECT_EQ(open.ki.getAttributeValue(open.handle, key, &wanted, 1), CKR_ATTRIBUTE_SENSITIVE);
  EXPECT_EQ(wanted.ulValueLen, CK_UNAVAILABLE_INFORMATION);
  EXPECT_EQ(value, ByteString(64));
  Template search{privateTemplate(privateKey("P-256")).back()};
  EXPECT_TRUE(open.found(search).empty()) << "a search that matched would tell the value";
  EXPECT_EQ(open.set(key, {flag(CKA_SENSITIVE, false)}), CKR_ATTRIBUTE_READ_ONLY);
  EXPECT_EQ(open.set(key, {flag(CKA_EXTRACTABLE, false)}), CKR_OK);
  EXPECT_EQ(open.set(key, {flag(CKA_EXTRACTABLE, true)}), CKR_ATTRIBUTE_READ_ONLY);
  const CK_OBJECT_HANDLE readable = open.created(privateTemplate(privateKey("P-256")));
  wanted = {CKA_VALUE, value.data(), value.size()};
  EXPECT_EQ(open.ki.getAttributeValue(open.handle, readable, &wanted, 1), CKR_OK);
  EXPECT_EQ(open.set(readable, {flag(CKA_EXTRACTABLE, false)}), CKR_OK);
  wanted = {CKA_VALUE, value.data(), value.size()};
  EXPECT_EQ(open.ki.getAttributeValue(open.handle, readable, &wanted, 1), CKR_ATTRIBUTE_SENSITIVE);
  Template incomplete = privateTemplate(privateKey("RSA-1024"));
  incomplete.pop_back();
  CK_OBJECT_HANDLE none = 0;
  EXPECT_EQ(open.create(incomplete, &none), CKR_TEMPLATE_INCOMPLETE);
}

}  // namespace keystrand::test
