// Keys that the token makes, wraps and takes in, by its own functions and through the device.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>
#include <p11-kit/pkcs11.h>

#include <tuple>

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

}  // namespace

TEST(GeneratedPairs, WorkInOpenSSL) {
  OpenDevice open;
  CryptoDevice& device = open.device;
  const auto signs = [&](const KeyInfo& info) {
    const std::unique_ptr<Signature> signature(device.signData(kText.data(), kText.size()));
    return signature != nullptr && verifiesInOpenSSL(publicInOpenSSL(info), {"SHA256"}, kText, signature->view());
  };
  ASSERT_TRUE(device.setSignatureAlgorithm("1.2.840.113549.1.1.11"));
  for (const std::uint32_t bits : {512U, 1024U, 1025U, 2048U}) {
    const std::unique_ptr<KeyInfo> info(device.generateRSAKeyPair(bits));
    ASSERT_NE(info, nullptr) << bits;
    EXPECT_EQ(EVP_PKEY_get_bits(publicInOpenSSL(*info).get()), static_cast<int>(bits));
    EXPECT_TRUE(signs(*info)) << bits;
  }
  EXPECT_EQ(device.generateRSAKeyPair(256), nullptr);
  EXPECT_EQ(device.lastResult(), CKR_KEY_SIZE_RANGE);

  ASSERT_TRUE(device.setSignatureAlgorithm("1.2.840.10045.4.3.2"));
  for (const char* curve : {"1.2.840.10045.3.1.7", "1.3.132.0.35", "1.3.36.3.3.2.8.1.1.7"}) {
    const std::unique_ptr<KeyInfo> info(device.generateECKeyPair(ECParameters(OID(curve)), curve));
    ASSERT_NE(info, nullptr) << curve;
    EXPECT_TRUE(signs(*info)) << curve;
    const std::unique_ptr<KeyInfo> again(device.exportPublicKey(curve));
    EXPECT_EQ(encode(*again), encode(*info)) << curve;
  }
  EXPECT_EQ(device.generateECKeyPair(ECParameters(OID("1.2.3"))), nullptr) << "no such curve";
  ASSERT_TRUE(device.setSignatureAlgorithm("1.2.840.10045.4.3.4"));
  EXPECT_EQ(device.generateECKeyPair(ECParameters(OID("1.3.132.0.35"))), nullptr) << "ECDSA with SHA-512 makes no keys";
  EXPECT_EQ(device.lastResult(), CKR_MECHANISM_INVALID);
}

TEST(GeneratedPairs, AreWholeKeysWithTheirMarks) {
  Session open;
  CK_OBJECT_HANDLE publicKey = 0;
  CK_OBJECT_HANDLE privateKey = 0;
  const Template half{number(CKA_MODULUS_BITS, 1024), {CKA_ID, {9}}};
  ASSERT_EQ(open.generatePair(CKM_RSA_PKCS_KEY_PAIR_GEN, half, {{CKA_ID, {9}}}, &publicKey, &privateKey), CKR_OK);
  RSAPrivateKey::Integers integers;
  std::size_t i = 0;
  for (const CK_ATTRIBUTE_TYPE type : {CKA_MODULUS, CKA_PUBLIC_EXPONENT, CKA_PRIVATE_EXPONENT, CKA_PRIME_1, CKA_PRIME_2,
                                       CKA_EXPONENT_1, CKA_EXPONENT_2, CKA_COEFFICIENT}) {
    integers[i++] = BigInteger(open.attribute(privateKey, type).octets);
  }
  const PrivateKey read = openSSLKey(RSAPrivateKey(integers));
  const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(EVP_PKEY_CTX_new(read.get(), nullptr),
                                                                            EVP_PKEY_CTX_free);
  EXPECT_EQ(EVP_PKEY_check(context.get()), 1) << "OpenSSL finds fault with the key";
  EXPECT_EQ(open.attribute(publicKey, CKA_PUBLIC_EXPONENT).octets, kExponent) << "65537 where none is asked for";
  for (const CK_OBJECT_HANDLE key : {publicKey, privateKey})
    EXPECT_EQ(open.attribute(key, CKA_LOCAL).octets, ByteString{1});
  EXPECT_EQ(open.attribute(privateKey, CKA_ALWAYS_SENSITIVE).octets, ByteString{0});
  using Row = std::tuple<const char*, CK_MECHANISM_TYPE, Template, Template, CK_RV>;
  const Value curve{CKA_EC_PARAMS, oid("1.2.840.10045.3.1.7")};
  for (const auto& [name, mechanism, publicHalf, whole, result] :
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
    EXPECT_EQ(open.generatePair(mechanism, publicHalf, whole, &publicKey, &privateKey), result) << name;
  }
  EXPECT_EQ(open.attribute(privateKey, CKA_NEVER_EXTRACTABLE).octets, ByteString{1});
}

TEST(GeneratedSecrets, HaveTheLengthOfTheirType) {
  Session open;
  CK_OBJECT_HANDLE key = 0;
  using Row = std::tuple<CK_MECHANISM_TYPE, std::optional<CK_ULONG>, CK_RV, std::size_t>;
  const auto none = std::nullopt;
  for (const auto& [mechanism, wanted, result, length] :
       {Row{CKM_AES_KEY_GEN, 32, CKR_OK, 32}, Row{CKM_AES_KEY_GEN, 20, CKR_ATTRIBUTE_VALUE_INVALID, 0},
        Row{CKM_AES_KEY_GEN, none, CKR_TEMPLATE_INCOMPLETE, 0}, Row{CKM_DES_KEY_GEN, none, CKR_OK, 8},
        Row{CKM_DES2_KEY_GEN, none, CKR_OK, 16}, Row{CKM_DES3_KEY_GEN, none, CKR_OK, 24},
        Row{CKM_RC2_KEY_GEN, 5, CKR_OK, 5}, Row{CKM_RC2_KEY_GEN, 129, CKR_KEY_SIZE_RANGE, 0},
        Row{CKM_GENERIC_SECRET_KEY_GEN, 33, CKR_OK, 33}, Row{CKM_GENERIC_SECRET_KEY_GEN, 1025, CKR_KEY_SIZE_RANGE, 0},
        Row{CKM_SHA_1, 8, CKR_MECHANISM_INVALID, 0}}) {
    const Template values = wanted ? Template{number(CKA_VALUE_LEN, *wanted)} : Template{};
    ASSERT_EQ(open.generate(mechanism, values, &key), result) << mechanism << ' ' << wanted.value_or(0);
    if (result != CKR_OK) continue;
    const ByteString first = open.attribute(key, CKA_VALUE).octets;
    EXPECT_EQ(first.size(), length);
    ASSERT_EQ(open.generate(mechanism, values, &key), CKR_OK);
    EXPECT_NE(open.attribute(key, CKA_VALUE).octets, first);
  }
}

TEST(WrappedKeys, ComeBack) {
  Session open;
  CK_OBJECT_HANDLE wrapping = 0, publicKey = 0, privateKey = 0, secret = 0, curvePublic = 0, curve = 0, back = 0;
  ASSERT_EQ(open.generate(CKM_AES_KEY_GEN, {number(CKA_VALUE_LEN, 16)}, &wrapping), CKR_OK);
  ASSERT_EQ(open.generate(CKM_GENERIC_SECRET_KEY_GEN, {number(CKA_VALUE_LEN, 21)}, &secret), CKR_OK);
  ASSERT_EQ(open.generatePair(CKM_RSA_PKCS_KEY_PAIR_GEN, {number(CKA_MODULUS_BITS, 1024)}, {}, &publicKey, &privateKey),
            CKR_OK);
  ASSERT_EQ(open.generatePair(CKM_EC_KEY_PAIR_GEN, {{CKA_EC_PARAMS, oid("1.3.132.0.34")}}, {}, &curvePublic, &curve),
            CKR_OK);
  const ByteString iv(16, 9);
  const Mechanism padded(CKM_AES_CBC_PAD, iv);
  const auto wrap = [&](const Mechanism& mechanism, CK_OBJECT_HANDLE with, CK_OBJECT_HANDLE key) {
    Answer outcome{CKR_OK, ByteString(2048), 2048};
    outcome.code = open.ki.wrapKey(open.handle, &mechanism, with, key, outcome.octets.data(), &outcome.length);
    outcome.octets.resize(outcome.length);
    return outcome;
  };
  const auto unwrap = [&](const Mechanism& mechanism, CK_OBJECT_HANDLE by, const ByteString& wrapped, Template wanted) {
    const auto attributes = attributesOf(wanted);
    return open.ki.unwrapKey(open.handle, &mechanism, by, wrapped.data(), wrapped.size(), attributes.data(),
                             attributes.size(), &back);
  };
  const Template asSecret{number(CKA_CLASS, CKO_SECRET_KEY), number(CKA_KEY_TYPE, CKK_GENERIC_SECRET)};
  const Template asPrivate{number(CKA_CLASS, CKO_PRIVATE_KEY)};
  struct Row {
    const char* name;
    Mechanism mechanism;
    CK_OBJECT_HANDLE with, by, key;
    Template wanted;
    CK_ATTRIBUTE_TYPE same;
  };
  for (const Row& row :
       {Row{"secret, padded", padded, wrapping, wrapping, secret, asSecret, CKA_VALUE},
        Row{"secret, whole blocks", CKM_AES_ECB, wrapping, wrapping, secret, with(asSecret, number(CKA_VALUE_LEN, 21)),
            CKA_VALUE},
        Row{"secret by RSA", CKM_RSA_PKCS, publicKey, privateKey, secret, asSecret, CKA_VALUE},
        Row{"RSA", padded, wrapping, wrapping, privateKey, with(asPrivate, number(CKA_KEY_TYPE, CKK_RSA)), CKA_PRIME_2},
        Row{"EC", padded, wrapping, wrapping, curve, asPrivate, CKA_VALUE}}) {
    const Answer wrapped = wrap(row.mechanism, row.with, row.key);
    ASSERT_EQ(wrapped.code, CKR_OK) << row.name;
    ASSERT_EQ(unwrap(row.mechanism, row.by, wrapped.octets, row.wanted), CKR_OK) << row.name;
    EXPECT_EQ(open.attribute(back, row.same).octets, open.attribute(row.key, row.same).octets) << row.name;
    EXPECT_EQ(open.attribute(back, CKA_LOCAL).octets, ByteString{0}) << row.name;
    EXPECT_EQ(unwrap(row.mechanism, row.by, slice(wrapped.octets, 1), row.wanted), CKR_WRAPPED_KEY_LEN_RANGE)
        << row.name;
  }
  EXPECT_EQ(wrap(CKM_RSA_PKCS, publicKey, privateKey).code, CKR_KEY_SIZE_RANGE);
  EXPECT_EQ(wrap(padded, 999, secret).code, CKR_WRAPPING_KEY_HANDLE_INVALID);
  EXPECT_EQ(wrap(CKM_RSA_PKCS, wrapping, secret).code, CKR_WRAPPING_KEY_TYPE_INCONSISTENT);
  EXPECT_EQ(unwrap(padded, wrapping, wrap(padded, wrapping, secret).octets, asPrivate), CKR_WRAPPED_KEY_INVALID)
      << "a secret is no private key";
  EXPECT_EQ(open.set(secret, {flag(CKA_EXTRACTABLE, false)}), CKR_OK);
  EXPECT_EQ(wrap(padded, wrapping, secret).code, CKR_KEY_UNEXTRACTABLE);
}

TEST(DeviceCiphers, ExchangeWithOpenSSL) {
  OpenDevice open;
  const PrivateKey rsa = privateKey("RSA-1024");
  const auto info = keyInfoOf(rsa);
  ASSERT_TRUE(open.device.importKey(*ownKey(rsa)) && open.device.setCipher("1.2.840.113549.1.1.1"));
  const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(EVP_PKEY_CTX_new(rsa.get(), nullptr),
                                                                            EVP_PKEY_CTX_free);
  ByteString theirs(128);
  std::size_t n = theirs.size();
  ASSERT_EQ(EVP_PKEY_encrypt_init(context.get()), 1);
  ASSERT_EQ(EVP_PKEY_encrypt(context.get(), theirs.data(), &n, kText.data(), kText.size()), 1);
  Buffer out;
  ASSERT_TRUE(open.device.decrypt(theirs.data(), n, out));
  EXPECT_EQ(held(out), kText);
  theirs[5] ^= 1;
  EXPECT_FALSE(open.device.decrypt(theirs.data(), n, out));
  EXPECT_EQ(open.device.lastResult(), CKR_ENCRYPTED_DATA_INVALID);
  EXPECT_FALSE(open.device.decrypt(theirs.data(), n - 1, out));
  EXPECT_EQ(open.device.lastResult(), CKR_ENCRYPTED_DATA_LEN_RANGE);

  ASSERT_TRUE(open.device.encrypt(kText.data(), kText.size(), *info, out));
  ASSERT_EQ(EVP_PKEY_decrypt_init(context.get()), 1);
  ASSERT_EQ(EVP_PKEY_decrypt(context.get(), theirs.data(), &n, out.range(0, 128).data(), 128), 1);
  EXPECT_EQ(slice(theirs, 0, n), kText);
  EXPECT_FALSE(open.device.encrypt(theirs.data(), 118, *info, out)) << "no room for the padding";

  ASSERT_TRUE(open.device.rawEncrypt(kText.data(), kText.size(), *info, out));
  const ByteString raw = held(out);
  ASSERT_TRUE(open.device.rawDecrypt(raw.data(), raw.size(), out));
  EXPECT_EQ(held(out), ByteString(128 - kText.size()) + kText);
}

TEST(DeviceCiphers, ReadWhatPKCS12Enciphered) {
  OpenDevice open;
  const ByteString salt(8, 0x33);
  for (const int nid : {NID_pbe_WithSHA1And3_Key_TripleDES_CBC, NID_pbe_WithSHA1And2_Key_TripleDES_CBC}) {
    const std::unique_ptr<X509_ALGOR, decltype(&X509_ALGOR_free)> algorithm(
        PKCS5_pbe_set(nid, 2048, salt.data(), static_cast<int>(salt.size())), X509_ALGOR_free);
    unsigned char* made = nullptr;
    int length = 0;
    ASSERT_NE(PKCS12_pbe_crypt(algorithm.get(), "p\xC3\xA0ss", 5, kText.data(), static_cast<int>(kText.size()), &made,
                               &length, 1),
              nullptr);
    const ByteString sealed(made, made + length);
    OPENSSL_free(made);
    AlgorithmIdentifier identifier;
    ASSERT_TRUE(coded(identifier, builder::encoded(algorithm.get(), i2d_X509_ALGOR)).read);
    ASSERT_TRUE(open.device.setPBE(identifier)) << nid;
    SecureBuffer buffer(&open.device);
    buffer.append(sealed.data(), static_cast<std::uint32_t>(sealed.size()));
    EXPECT_FALSE(buffer.decryptPBE("wrong") && held(buffer) == kText);
    buffer.assign(sealed.data(), static_cast<std::uint32_t>(sealed.size()));
    ASSERT_TRUE(buffer.decryptPBE("p\xC3\xA0ss")) << nid;
    EXPECT_EQ(held(buffer), kText) << nid;
    ASSERT_TRUE(buffer.encryptPBE("p\xC3\xA0ss"));
    EXPECT_EQ(held(buffer), sealed) << nid;
  }
  Buffer out;
  for (const char* known : {"1.2.840.113549.1.12.1.5", "1.2.840.113549.1.12.1.6"}) {
    ASSERT_TRUE(open.device.setPBE(known) && open.device.setPBESalt(salt.data(), salt.size(), 5));
    ASSERT_TRUE(open.device.encryptPBE(kText.data(), kText.size(), "p", out)) << known;
    const ByteString sealed = held(out);
    ASSERT_TRUE(open.device.decryptPBE(sealed.data(), sealed.size(), "p", out)) << known;
    EXPECT_EQ(held(out), kText) << known;
  }
  EXPECT_FALSE(open.device.setPBE("1.2.840.113549.1.12.1.1")) << "RC4";
  EXPECT_FALSE(open.device.encryptPBE(kText.data(), kText.size(), "p", out)) << "nothing selected";
  EXPECT_FALSE(open.device.setPBE(AlgorithmIdentifier("1.2.840.113549.1.12.1.3"))) << "no parameters";
  EXPECT_TRUE(open.device.setPBESalt(salt.data(), salt.size(), 5));
  EXPECT_FALSE(open.device.encryptPBE(kText.data(), kText.size(), "p", out)) << "nothing selected";
}

TEST(DeviceKeys, WrapAndUseSecrets) {
  OpenDevice open;
  CryptoDevice& device = open.device;
  const PrivateKey rsa = privateKey("RSA-1024");
  const ByteString iv(16, 4);
  Buffer out;
  const auto encrypted = [&](std::size_t vector) {
    EXPECT_TRUE(device.encryptSecret(kText.data(), kText.size(), iv.data(), vector, out));
    return held(out);
  };
  const auto opens = [&](const ByteString& sealed, std::size_t vector) {
    return device.decryptSecret(sealed.data(), sealed.size(), iv.data(), vector, out) && held(out) == kText;
  };
  for (const unsigned long type : {CKK_DES, CKK_DES2, CKK_DES3, CKK_RC2}) {
    ASSERT_TRUE(device.generateSecret(type, 16)) << type;
    EXPECT_TRUE(opens(encrypted(8), 8)) << type;
  }
  ASSERT_TRUE(device.importKey(*ownKey(rsa)));
  const auto privateHandle = device.selectedKey();
  ASSERT_TRUE(device.generateSecret(CKK_AES, 32));
  EXPECT_TRUE(device.selectSecretKey("AES Key"));
  const auto secret = device.selectedKey();
  const ByteString sealed = encrypted(16);
  ASSERT_TRUE(device.wrap(secret, *keyInfoOf(rsa), out));
  const ByteString byRSA = held(out);
  ASSERT_TRUE(device.unwrap(byRSA.data(), byRSA.size(), CKK_AES, privateHandle, "back"));
  EXPECT_NE(device.selectedKey(), secret);
  EXPECT_TRUE(opens(sealed, 16));
  EXPECT_FALSE(opens(sealed, 8)) << "a vector of a wrong length";
  EXPECT_FALSE(device.encryptSecret(kText.data(), (std::size_t{1} << 32) + 8, iv.data(), 16, out));
  EXPECT_EQ(device.lastResult(), CKR_DATA_LEN_RANGE) << "more than out can take";

  ASSERT_TRUE(device.selectSecretKey("RC2 Key"));
  const auto rc2 = device.selectedKey();
  EXPECT_FALSE(device.wrapWithKey(secret, rc2, iv.data(), 16, out)) << "a vector of a wrong length";
  ASSERT_TRUE(device.wrapWithKey(secret, rc2, iv.data(), 8, out));
  const ByteString byRC2 = held(out);
  EXPECT_TRUE(device.unwrapWithKey(byRC2.data(), byRC2.size(), CKK_AES, rc2, iv.data(), 8));
  ASSERT_TRUE(device.selectSecretKey("DES2 Key"));
  ASSERT_TRUE(device.wrapWithKey(device.selectedKey(), secret, iv.data(), 16, out));
  const ByteString byAES = held(out);
  EXPECT_TRUE(device.unwrapWithKey(byAES.data(), byAES.size(), CKK_DES2, secret, iv.data(), 16));
  EXPECT_FALSE(device.unwrapWithKey(byAES.data(), byAES.size(), CKK_DES3, secret, iv.data(), 16));
  EXPECT_TRUE(device.removePrivateKey("RSA Key"));
  EXPECT_FALSE(device.removePrivateKey("RSA Key"));
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
  EXPECT_FALSE(open.device.dataById(nullptr, 0, out)) << "what has no id has no empty one";
  EXPECT_EQ(open.device.lastResult(), CKR_OBJECT_HANDLE_INVALID);
  const ByteString big(std::size_t{20} << 20, 1);
  EXPECT_TRUE(open.device.storeData(big.data(), big.size(), nullptr, 0, "big"));
  EXPECT_FALSE(open.device.dataByLabel("big", out));
  EXPECT_EQ(open.device.lastResult(), CKR_DEVICE_MEMORY);
}

TEST(PrivateKeyInfo, IsReadByOpenSSLAndSurvivesBadOctets) {
  for (const auto& [kind, algorithm] :
       {std::pair{"RSA-1024", "1.2.840.113549.1.1.11"}, {"P-256", "1.2.840.10045.4.3.2"}}) {
    const PrivateKey key = privateKey(kind);
    const SecretBytes ours = putPrivateKeyInfo(*ownKey(key));
    const unsigned char* at = ours.data();
    const PrivateKey back(d2i_AutoPrivateKey(nullptr, &at, static_cast<long>(ours.size())), EVP_PKEY_free);
    ASSERT_NE(back, nullptr) << kind;
    EXPECT_EQ(EVP_PKEY_eq(back.get(), key.get()), 1) << kind;

    const std::unique_ptr<PKCS8_PRIV_KEY_INFO, decltype(&PKCS8_PRIV_KEY_INFO_free)> theirs(EVP_PKEY2PKCS8(key.get()),
                                                                                           PKCS8_PRIV_KEY_INFO_free);
    const ByteString der = builder::encoded(theirs.get(), i2d_PKCS8_PRIV_KEY_INFO);
    const auto own = getPrivateKeyInfo(der);
    ASSERT_NE(own, nullptr) << kind;
    EXPECT_NE(openSSLKey(*own), nullptr) << kind;
    OpenDevice open;
    ASSERT_TRUE(open.device.setSignatureAlgorithm(algorithm));
    for (std::size_t i = 0; i < der.size(); ++i) {
      EXPECT_EQ(getPrivateKeyInfo(std::span(der).first(i)), nullptr) << kind << ", cut at " << i;
      const auto bad = getPrivateKeyInfo(withBitFlipped(der, 8 * i + i % 8));
      if (bad == nullptr || !open.device.importKey(*bad)) continue;
      const std::unique_ptr<Signature> made(open.device.signData(kText.data(), kText.size()));
      open.device.removePrivateKey("RSA Key");
    }
  }
  EXPECT_TRUE(putPrivateKeyInfo(RSAPublicKey()).empty());
}

}  // namespace keystrand::test
