// Keys that the token makes, wraps and takes in, by its own functions and through the device.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>
#include <p11-kit/pkcs11.h>

#include "TokenObjects.h"
#include "crypto/Coding.h"
#include "crypto/PrivateKeyInfo.h"
#include "keystrand/der/SecureBuffer.h"
#include "support/OwnKeys.h"

namespace keystrand::test {
namespace {

const ByteString kText = {'a', ' ', 's', 'e', 'c', 'r', 'e', 't'};

PrivateKey publicInOpenSSL(const KeyInfo& info) {
  const ByteString der = encode(info);
  const unsigned char* at = der.data();
  return {d2i_PUBKEY(nullptr, &at, static_cast<long>(der.size())), EVP_PKEY_free};
}

std::optional<ByteString> attributeOf(Session& open, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) {
  ByteString value(4096);
  CK_ATTRIBUTE wanted{type, value.data(), value.size()};
  if (open.ki.getAttributeValue(open.handle, object, &wanted, 1) != CKR_OK) return std::nullopt;
  value.resize(wanted.ulValueLen);
  return value;
}

CK_RV generate(Session& open, CK_MECHANISM_TYPE type, Template values, CK_OBJECT_HANDLE* key) {
  const CK_MECHANISM mechanism{type, nullptr, 0};
  const auto attributes = attributesOf(values);
  return open.ki.generateKey(open.handle, &mechanism, attributes.data(), attributes.size(), key);
}

CK_RV generatePair(Session& open, CK_MECHANISM_TYPE type, Template half, Template whole, CK_OBJECT_HANDLE* publicKey,
                   CK_OBJECT_HANDLE* privateKey) {
  const CK_MECHANISM mechanism{type, nullptr, 0};
  const auto first = attributesOf(half);
  const auto second = attributesOf(whole);
  return open.ki.generateKeyPair(open.handle, &mechanism, first.data(), first.size(), second.data(), second.size(),
                                 publicKey, privateKey);
}

}  // namespace

TEST(GeneratedPairs, WorkInOpenSSL) {
  OpenDevice open;
  ASSERT_TRUE(open.device.setSignatureAlgorithm("1.2.840.113549.1.1.11"));
  for (const std::uint32_t bits : {512U, 1024U, 1025U, 2048U}) {
    const std::unique_ptr<KeyInfo> info(open.device.generateRSAKeyPair(bits));
    ASSERT_NE(info, nullptr) << bits;
    EXPECT_EQ(EVP_PKEY_get_bits(publicInOpenSSL(*info).get()), static_cast<int>(bits));
    const std::unique_ptr<Signature> signature(open.device.signData(kText.data(), kText.size()));
    ASSERT_NE(signature, nullptr) << bits;
    EXPECT_TRUE(verifiesInOpenSSL(publicInOpenSSL(*info), {"SHA256"}, kText, signature->view())) << bits;
  }
  EXPECT_EQ(open.device.generateRSAKeyPair(256), nullptr);
  EXPECT_EQ(open.device.lastResult(), CKR_KEY_SIZE_RANGE);

  for (const char* curve : {"1.2.840.10045.3.1.7", "1.3.132.0.35", "1.3.36.3.3.2.8.1.1.7"}) {
    ASSERT_TRUE(open.device.setSignatureAlgorithm("1.2.840.10045.4.3.2"));
    const std::unique_ptr<KeyInfo> info(open.device.generateECKeyPair(ECParameters(OID(curve)), curve));
    ASSERT_NE(info, nullptr) << curve;
    const std::unique_ptr<Signature> signature(open.device.signData(kText.data(), kText.size()));
    ASSERT_NE(signature, nullptr) << curve;
    EXPECT_TRUE(verifiesInOpenSSL(publicInOpenSSL(*info), {"SHA256"}, kText, signature->view())) << curve;
    const std::unique_ptr<KeyInfo> again(open.device.exportPublicKey(curve));
    EXPECT_EQ(encode(*again), encode(*info)) << curve;
  }
  EXPECT_EQ(open.device.generateECKeyPair(ECParameters(OID("1.2.3"))), nullptr) << "no such curve";
  ASSERT_TRUE(open.device.setSignatureAlgorithm("1.2.840.10045.4.3.4"));
  EXPECT_EQ(open.device.generateECKeyPair(ECParameters(OID("1.3.132.0.35"))), nullptr)
      << "ECDSA with SHA-512 makes no keys";
  EXPECT_EQ(open.device.lastResult(), CKR_MECHANISM_INVALID);
}

TEST(GeneratedPairs, AreWholeKeysWithTheirMarks) {
  Session open;
  CK_OBJECT_HANDLE publicKey = 0;
  CK_OBJECT_HANDLE privateKey = 0;
  const Template half{number(CKA_MODULUS_BITS, 1024), {CKA_ID, {9}}};
  ASSERT_EQ(generatePair(open, CKM_RSA_PKCS_KEY_PAIR_GEN, half, {{CKA_ID, {9}}}, &publicKey, &privateKey), CKR_OK);
  RSAPrivateKey::Integers integers;
  std::size_t i = 0;
  for (const CK_ATTRIBUTE_TYPE type : {CKA_MODULUS, CKA_PUBLIC_EXPONENT, CKA_PRIVATE_EXPONENT, CKA_PRIME_1, CKA_PRIME_2,
                                       CKA_EXPONENT_1, CKA_EXPONENT_2, CKA_COEFFICIENT}) {
    integers[i++] = BigInteger(attributeOf(open, privateKey, type).value());
  }
  const PrivateKey read = openSSLKey(RSAPrivateKey(integers));
  const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(EVP_PKEY_CTX_new(read.get(), nullptr),
                                                                            EVP_PKEY_CTX_free);
  EXPECT_EQ(EVP_PKEY_check(context.get()), 1) << "OpenSSL finds fault with the key";
  EXPECT_EQ(attributeOf(open, publicKey, CKA_PUBLIC_EXPONENT), kExponent) << "65537 where none is asked for";
  for (const CK_OBJECT_HANDLE key : {publicKey, privateKey})
    EXPECT_EQ(attributeOf(open, key, CKA_LOCAL), ByteString{1});
  EXPECT_EQ(attributeOf(open, privateKey, CKA_ALWAYS_SENSITIVE), ByteString{0});
  struct Row {
    const char* name;
    CK_MECHANISM_TYPE mechanism;
    Template half, whole;
    CK_RV result;
  };
  const Value curve{CKA_EC_PARAMS, oid("1.2.840.10045.3.1.7")};
  for (const Row& row :
       {Row{"no length", CKM_RSA_PKCS_KEY_PAIR_GEN, {}, {}, CKR_TEMPLATE_INCOMPLETE},
        Row{"too long", CKM_RSA_PKCS_KEY_PAIR_GEN, {number(CKA_MODULUS_BITS, 100000)}, {}, CKR_KEY_SIZE_RANGE},
        Row{"even exponent",
            CKM_RSA_PKCS_KEY_PAIR_GEN,
            {number(CKA_MODULUS_BITS, 1024), {CKA_PUBLIC_EXPONENT, {4}}},
            {},
            CKR_ATTRIBUTE_VALUE_INVALID},
        Row{"its own modulus",
            CKM_RSA_PKCS_KEY_PAIR_GEN,
            with(half, {CKA_MODULUS, {1}}),
            {},
            CKR_TEMPLATE_INCONSISTENT},
        Row{"another class", CKM_EC_KEY_PAIR_GEN, {curve, number(CKA_CLASS, CKO_DATA)}, {}, CKR_TEMPLATE_INCONSISTENT},
        Row{"no curve", CKM_EC_KEY_PAIR_GEN, {}, {}, CKR_TEMPLATE_INCOMPLETE},
        Row{"no pair", CKM_DES_KEY_GEN, half, {}, CKR_MECHANISM_INVALID},
        Row{"good", CKM_EC_KEY_PAIR_GEN, {curve}, {flag(CKA_EXTRACTABLE, false)}, CKR_OK}}) {
    EXPECT_EQ(generatePair(open, row.mechanism, row.half, row.whole, &publicKey, &privateKey), row.result) << row.name;
  }
  EXPECT_EQ(attributeOf(open, privateKey, CKA_NEVER_EXTRACTABLE), ByteString{1});
}

TEST(GeneratedSecrets, HaveTheLengthOfTheirType) {
  Session open;
  CK_OBJECT_HANDLE key = 0;
  struct Row {
    CK_MECHANISM_TYPE mechanism;
    CK_ULONG wanted;  // 0: none
    CK_RV result;
    std::size_t length;
  };
  for (const Row& row :
       {Row{CKM_AES_KEY_GEN, 32, CKR_OK, 32}, Row{CKM_AES_KEY_GEN, 20, CKR_ATTRIBUTE_VALUE_INVALID, 0},
        Row{CKM_AES_KEY_GEN, 0, CKR_TEMPLATE_INCOMPLETE, 0}, Row{CKM_DES_KEY_GEN, 0, CKR_OK, 8},
        Row{CKM_DES2_KEY_GEN, 0, CKR_OK, 16}, Row{CKM_DES3_KEY_GEN, 0, CKR_OK, 24}, Row{CKM_RC2_KEY_GEN, 5, CKR_OK, 5},
        Row{CKM_RC2_KEY_GEN, 129, CKR_KEY_SIZE_RANGE, 0}, Row{CKM_GENERIC_SECRET_KEY_GEN, 33, CKR_OK, 33},
        Row{CKM_GENERIC_SECRET_KEY_GEN, 1025, CKR_KEY_SIZE_RANGE, 0}, Row{CKM_SHA_1, 8, CKR_MECHANISM_INVALID, 0}}) {
    const Template values = row.wanted != 0 ? Template{number(CKA_VALUE_LEN, row.wanted)} : Template{};
    ASSERT_EQ(generate(open, row.mechanism, values, &key), row.result) << row.mechanism << ' ' << row.wanted;
    if (row.result != CKR_OK) continue;
    const ByteString first = attributeOf(open, key, CKA_VALUE).value();
    EXPECT_EQ(first.size(), row.length);
    ASSERT_EQ(generate(open, row.mechanism, values, &key), CKR_OK);
    EXPECT_NE(attributeOf(open, key, CKA_VALUE), first);
  }
}

TEST(WrappedKeys, ComeBack) {
  Session open;
  CK_OBJECT_HANDLE wrapping = 0;
  CK_OBJECT_HANDLE publicKey = 0;
  CK_OBJECT_HANDLE privateKey = 0;
  CK_OBJECT_HANDLE secret = 0;
  ASSERT_EQ(generate(open, CKM_AES_KEY_GEN, {number(CKA_VALUE_LEN, 16)}, &wrapping), CKR_OK);
  ASSERT_EQ(generate(open, CKM_GENERIC_SECRET_KEY_GEN, {number(CKA_VALUE_LEN, 21)}, &secret), CKR_OK);
  ASSERT_EQ(
      generatePair(open, CKM_RSA_PKCS_KEY_PAIR_GEN, {number(CKA_MODULUS_BITS, 1024)}, {}, &publicKey, &privateKey),
      CKR_OK);
  CK_OBJECT_HANDLE curvePublic = 0;
  CK_OBJECT_HANDLE curve = 0;
  ASSERT_EQ(generatePair(open, CKM_EC_KEY_PAIR_GEN, {{CKA_EC_PARAMS, oid("1.3.132.0.34")}}, {}, &curvePublic, &curve),
            CKR_OK);
  ByteString iv(16, 9);
  const CK_MECHANISM padded{CKM_AES_CBC_PAD, iv.data(), iv.size()};
  const CK_MECHANISM blocks{CKM_AES_ECB, nullptr, 0};
  const CK_MECHANISM rsa{CKM_RSA_PKCS, nullptr, 0};
  const Template secretTemplate{number(CKA_CLASS, CKO_SECRET_KEY), number(CKA_KEY_TYPE, CKK_GENERIC_SECRET)};
  struct Row {
    const char* name;
    const CK_MECHANISM& mechanism;
    CK_OBJECT_HANDLE with, by, key;
    Template wanted;
    CK_ATTRIBUTE_TYPE same;
  };
  const Template asPrivate{number(CKA_CLASS, CKO_PRIVATE_KEY)};
  for (const Row& row :
       {Row{"secret, padded", padded, wrapping, wrapping, secret, secretTemplate, CKA_VALUE},
        Row{"secret, whole blocks", blocks, wrapping, wrapping, secret, with(secretTemplate, number(CKA_VALUE_LEN, 21)),
            CKA_VALUE},
        Row{"secret by RSA", rsa, publicKey, privateKey, secret, secretTemplate, CKA_VALUE},
        Row{"RSA", padded, wrapping, wrapping, privateKey, with(asPrivate, number(CKA_KEY_TYPE, CKK_RSA)), CKA_PRIME_2},
        Row{"EC", padded, wrapping, wrapping, curve, asPrivate, CKA_VALUE}}) {
    ByteString wrapped(2048);
    CK_ULONG n = wrapped.size();
    ASSERT_EQ(open.ki.wrapKey(open.handle, &row.mechanism, row.with, row.key, wrapped.data(), &n), CKR_OK) << row.name;
    Template wanted = row.wanted;
    const auto attributes = attributesOf(wanted);
    CK_OBJECT_HANDLE back = 0;
    ASSERT_EQ(open.ki.unwrapKey(open.handle, &row.mechanism, row.by, wrapped.data(), n, attributes.data(),
                                attributes.size(), &back),
              CKR_OK)
        << row.name;
    EXPECT_EQ(attributeOf(open, back, row.same), attributeOf(open, row.key, row.same)) << row.name;
    EXPECT_EQ(attributeOf(open, back, CKA_LOCAL), ByteString{0}) << row.name;
    EXPECT_EQ(open.ki.unwrapKey(open.handle, &row.mechanism, row.by, wrapped.data(), n - 1, attributes.data(),
                                attributes.size(), &back),
              CKR_WRAPPED_KEY_LEN_RANGE)
        << row.name;
  }
  ByteString out(2048);
  CK_ULONG n = out.size();
  EXPECT_EQ(open.ki.wrapKey(open.handle, &rsa, publicKey, privateKey, out.data(), &n), CKR_KEY_SIZE_RANGE);
  EXPECT_EQ(open.ki.wrapKey(open.handle, &padded, 999, secret, out.data(), &n), CKR_WRAPPING_KEY_HANDLE_INVALID);
  EXPECT_EQ(open.ki.wrapKey(open.handle, &rsa, wrapping, secret, out.data(), &n), CKR_WRAPPING_KEY_TYPE_INCONSISTENT);
  ASSERT_EQ(open.ki.wrapKey(open.handle, &padded, wrapping, secret, out.data(), &n), CKR_OK);
  Template another = asPrivate;
  const auto attributes = attributesOf(another);
  CK_OBJECT_HANDLE back = 0;
  EXPECT_EQ(open.ki.unwrapKey(open.handle, &padded, wrapping, out.data(), n, attributes.data(), 1, &back),
            CKR_WRAPPED_KEY_INVALID)
      << "a secret is no private key";
  EXPECT_EQ(open.set(secret, {flag(CKA_EXTRACTABLE, false)}), CKR_OK);
  EXPECT_EQ(open.ki.wrapKey(open.handle, &padded, wrapping, secret, out.data(), &n), CKR_KEY_UNEXTRACTABLE);
}

TEST(DeviceCiphers, ExchangeWithOpenSSL) {
  OpenDevice open;
  const PrivateKey rsa = privateKey("RSA-1024");
  ASSERT_TRUE(open.device.importKey(*ownKey(rsa)));
  ASSERT_TRUE(open.device.setCipher("1.2.840.113549.1.1.1"));
  const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(EVP_PKEY_CTX_new(rsa.get(), nullptr),
                                                                            EVP_PKEY_CTX_free);
  ByteString sealed(128);
  std::size_t n = sealed.size();
  ASSERT_EQ(EVP_PKEY_encrypt_init(context.get()), 1);
  ASSERT_EQ(EVP_PKEY_encrypt(context.get(), sealed.data(), &n, kText.data(), kText.size()), 1);
  Buffer out;
  ASSERT_TRUE(open.device.decrypt(sealed.data(), n, out));
  EXPECT_EQ(held(out), kText);
  sealed[5] ^= 1;
  EXPECT_FALSE(open.device.decrypt(sealed.data(), n, out));
  EXPECT_EQ(open.device.lastResult(), CKR_ENCRYPTED_DATA_INVALID);
  EXPECT_FALSE(open.device.decrypt(sealed.data(), n - 1, out));
  EXPECT_EQ(open.device.lastResult(), CKR_ENCRYPTED_DATA_LEN_RANGE);

  ASSERT_TRUE(open.device.encrypt(kText.data(), kText.size(), *keyInfoOf(rsa), out));
  ByteString back(128);
  n = back.size();
  ASSERT_EQ(EVP_PKEY_decrypt_init(context.get()), 1);
  ASSERT_EQ(EVP_PKEY_decrypt(context.get(), back.data(), &n, out.range(0, 128).data(), 128), 1);
  EXPECT_EQ(ByteString(back.begin(), back.begin() + static_cast<std::ptrdiff_t>(n)), kText);
  EXPECT_FALSE(open.device.encrypt(back.data(), 118, *keyInfoOf(rsa), out)) << "no room for the padding";

  ASSERT_TRUE(open.device.rawEncrypt(kText.data(), kText.size(), *keyInfoOf(rsa), out));
  const ByteString raw = held(out);
  ASSERT_TRUE(open.device.rawDecrypt(raw.data(), raw.size(), out));
  EXPECT_EQ(held(out), ByteString(128 - kText.size()) + kText);
}

TEST(DeviceCiphers, ReadWhatPKCS12Enciphered) {
  OpenDevice open;
  const ByteString salt(8, 0x33);
  struct Row {
    const char* oid;
    int nid;
  };
  for (const Row& row : {Row{"1.2.840.113549.1.12.1.3", NID_pbe_WithSHA1And3_Key_TripleDES_CBC},
                         Row{"1.2.840.113549.1.12.1.4", NID_pbe_WithSHA1And2_Key_TripleDES_CBC}}) {
    X509_ALGOR* algorithm = PKCS5_pbe_set(row.nid, 2048, salt.data(), static_cast<int>(salt.size()));
    unsigned char* made = nullptr;
    int length = 0;
    ASSERT_NE(
        PKCS12_pbe_crypt(algorithm, "p\xC3\xA0ss", 5, kText.data(), static_cast<int>(kText.size()), &made, &length, 1),
        nullptr);
    const ByteString sealed(made, made + length);
    const ByteString der = builder::encoded(algorithm, i2d_X509_ALGOR);
    OPENSSL_free(made);
    X509_ALGOR_free(algorithm);
    AlgorithmIdentifier identifier;
    ASSERT_TRUE(coded(identifier, der).read);
    ASSERT_TRUE(open.device.setPBE(identifier)) << row.oid;
    SecureBuffer buffer(&open.device);
    buffer.append(sealed.data(), static_cast<std::uint32_t>(sealed.size()));
    EXPECT_FALSE(buffer.decryptPBE("wrong") && held(buffer) == kText);
    buffer.assign(sealed.data(), static_cast<std::uint32_t>(sealed.size()));
    ASSERT_TRUE(buffer.decryptPBE("p\xC3\xA0ss")) << row.oid;
    EXPECT_EQ(held(buffer), kText) << row.oid;
    ASSERT_TRUE(buffer.encryptPBE("p\xC3\xA0ss"));
    EXPECT_EQ(held(buffer), sealed) << row.oid;
  }
  for (const char* known : {"1.2.840.113549.1.12.1.5", "1.2.840.113549.1.12.1.6"}) {
    Buffer out;
    ASSERT_TRUE(open.device.setPBE(known) && open.device.setPBESalt(salt.data(), salt.size(), 5));
    ASSERT_TRUE(open.device.encryptPBE(kText.data(), kText.size(), "p", out)) << known;
    const ByteString sealed = held(out);
    ASSERT_TRUE(open.device.decryptPBE(sealed.data(), sealed.size(), "p", out)) << known;
    EXPECT_EQ(held(out), kText) << known;
  }
  EXPECT_FALSE(open.device.setPBE("1.2.840.113549.1.12.1.1")) << "RC4";
  Buffer out;
  EXPECT_FALSE(open.device.encryptPBE(kText.data(), kText.size(), "p", out)) << "nothing selected";
}

TEST(DeviceKeys, WrapAndUseSecrets) {
  OpenDevice open;
  const PrivateKey rsa = privateKey("RSA-1024");
  ASSERT_TRUE(open.device.importKey(*ownKey(rsa)));
  const auto privateHandle = open.device.selectedKey();
  ASSERT_TRUE(open.device.generateSecret(CKK_AES, 32));
  EXPECT_TRUE(open.device.selectSecretKey("AES Key"));
  const auto secret = open.device.selectedKey();
  const ByteString iv(16, 4);
  Buffer sealed;
  ASSERT_TRUE(open.device.encryptSecret(kText.data(), kText.size(), iv.data(), iv.size(), sealed));
  Buffer wrapped;
  ASSERT_TRUE(open.device.wrap(secret, *keyInfoOf(rsa), wrapped));
  const ByteString octets = held(wrapped);
  ASSERT_TRUE(open.device.unwrap(octets.data(), octets.size(), CKK_AES, privateHandle, "back"));
  EXPECT_NE(open.device.selectedKey(), secret);
  Buffer out;
  const ByteString text = held(sealed);
  ASSERT_TRUE(open.device.decryptSecret(text.data(), text.size(), iv.data(), iv.size(), out));
  EXPECT_EQ(held(out), kText);
  EXPECT_FALSE(open.device.decryptSecret(text.data(), text.size(), iv.data(), 8, out)) << "a vector of a wrong length";
  for (const unsigned long type : {CKK_DES, CKK_DES2, CKK_DES3, CKK_RC2}) {
    ASSERT_TRUE(open.device.generateSecret(type, 16)) << type;
    ASSERT_TRUE(open.device.encryptSecret(kText.data(), kText.size(), iv.data(), 8, sealed)) << type;
    const ByteString by = held(sealed);
    ASSERT_TRUE(open.device.decryptSecret(by.data(), by.size(), iv.data(), 8, out)) << type;
    EXPECT_EQ(held(out), kText) << type;
  }
  ASSERT_TRUE(open.device.selectSecretKey("RC2 Key"));
  const auto rc2 = open.device.selectedKey();
  ASSERT_TRUE(open.device.wrapWithKey(secret, rc2, iv.data(), 8, wrapped));
  const ByteString byRC2 = held(wrapped);
  EXPECT_TRUE(open.device.unwrapWithKey(byRC2.data(), byRC2.size(), CKK_AES, rc2, iv.data(), 8));
  EXPECT_FALSE(open.device.wrapWithKey(secret, rc2, iv.data(), 16, wrapped)) << "a vector of a wrong length";
  ASSERT_TRUE(open.device.selectSecretKey("DES2 Key"));
  ASSERT_TRUE(open.device.wrapWithKey(open.device.selectedKey(), secret, iv.data(), iv.size(), wrapped));
  const ByteString under = held(wrapped);
  EXPECT_TRUE(open.device.unwrapWithKey(under.data(), under.size(), CKK_DES2, secret, iv.data(), iv.size()));
  EXPECT_FALSE(open.device.unwrapWithKey(under.data(), under.size(), CKK_DES3, secret, iv.data(), iv.size()));
  EXPECT_TRUE(open.device.removePrivateKey("RSA Key"));
  EXPECT_FALSE(open.device.removePrivateKey("RSA Key"));
}

TEST(DeviceObjects, AreStoredAndFound) {
  OpenDevice open;
  const ByteString der = makeCertificate(makeAuthority());
  const ByteString subject = {0x30, 0x00};
  const unsigned char id[] = {5};
  Buffer out;
  ASSERT_TRUE(open.device.storeCertificate(der.data(), der.size(), subject.data(), subject.size(), id, 1));
  EXPECT_TRUE(open.device.certificateByLabel("X.509 Certificate", out) && held(out) == der);
  EXPECT_TRUE(open.device.certificateById(id, 1, out) && held(out) == der);
  EXPECT_TRUE(open.device.certificateAt(0, out) && held(out) == der);
  EXPECT_FALSE(open.device.certificateAt(1, out));
  EXPECT_EQ(out.size(), 0U);
  ASSERT_TRUE(open.device.storeData(kText.data(), kText.size(), id, 1));
  ASSERT_TRUE(open.device.storeData(kText.data(), 1, nullptr, 0, "short"));
  EXPECT_TRUE(open.device.dataByLabel("Generic Data", out) && held(out) == kText);
  EXPECT_TRUE(open.device.changeData(id, 1, kText.data(), 3) && open.device.dataAt(0, out));
  EXPECT_EQ(held(out), ByteString(kText.begin(), kText.begin() + 3));
  EXPECT_TRUE(open.device.changeData("short", kText.data(), 2) && open.device.dataById(id, 1, out));
  EXPECT_FALSE(open.device.changeData("none", kText.data(), 2));
  EXPECT_EQ(open.device.lastResult(), CKR_OBJECT_HANDLE_INVALID);
}

TEST(PrivateKeyInfo, IsReadByOpenSSLAndSurvivesBadOctets) {
  for (const char* kind : {"RSA-1024", "P-256"}) {
    const PrivateKey key = privateKey(kind);
    const SecretBytes ours = putPrivateKeyInfo(*ownKey(key));
    const unsigned char* at = ours.data();
    const std::unique_ptr<PKCS8_PRIV_KEY_INFO, decltype(&PKCS8_PRIV_KEY_INFO_free)> read(
        d2i_PKCS8_PRIV_KEY_INFO(nullptr, &at, static_cast<long>(ours.size())), PKCS8_PRIV_KEY_INFO_free);
    ASSERT_NE(read, nullptr) << kind;
    const PrivateKey back(EVP_PKCS82PKEY(read.get()), EVP_PKEY_free);
    ASSERT_NE(back, nullptr) << kind;
    EXPECT_EQ(EVP_PKEY_eq(back.get(), key.get()), 1) << kind;

    std::unique_ptr<PKCS8_PRIV_KEY_INFO, decltype(&PKCS8_PRIV_KEY_INFO_free)> theirs(EVP_PKEY2PKCS8(key.get()),
                                                                                     PKCS8_PRIV_KEY_INFO_free);
    const ByteString der = builder::encoded(theirs.get(), i2d_PKCS8_PRIV_KEY_INFO);
    const auto own = getPrivateKeyInfo(der);
    ASSERT_NE(own, nullptr) << kind;
    EXPECT_NE(openSSLKey(*own), nullptr) << kind;

    OpenDevice open;
    const char* algorithm = own->kind() == KeyKind::kECPrivate ? "1.2.840.10045.4.3.2" : "1.2.840.113549.1.1.11";
    ASSERT_TRUE(open.device.setSignatureAlgorithm(algorithm));
    for (std::size_t i = 0; i < der.size(); ++i) {
      ByteString spoilt = der;
      spoilt[i] ^= static_cast<unsigned char>(1U << (i % 8));
      const auto bad = getPrivateKeyInfo(spoilt);
      if (bad == nullptr || !open.device.importKey(*bad)) continue;
      const std::unique_ptr<Signature> made(open.device.signData(kText.data(), kText.size()));
      open.device.removePrivateKey("RSA Key");
    }
    for (std::size_t n = 0; n < der.size(); ++n) {
      EXPECT_EQ(getPrivateKeyInfo(std::span(der).first(n)), nullptr) << kind << ' ' << n;
    }
  }
  EXPECT_TRUE(putPrivateKeyInfo(RSAPublicKey()).empty());
}

}  // namespace keystrand::test
