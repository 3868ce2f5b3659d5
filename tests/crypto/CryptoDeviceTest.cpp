#include <p11-kit/pkcs11.h>

#include "OpenDevice.h"
#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/ECDSAPublicKey.h"
#include "keystrand/crypto/RSAPublicKey.h"
#include "keystrand/pkix/Certificate.h"

namespace keystrand::test {
TEST(CryptoDevice, VerifiesWhatOpenSSLSignedAndNothingElse) {
  OpenDevice open;
  ASSERT_TRUE(open.opened);
  for (const AlgorithmRow& row : kAlgorithms) {
    SCOPED_TRACE(std::string(row.oid) + " " + row.key + " " + row.signing.digest);
    const PrivateKey key = privateKey(row.key);
    const auto info = keyInfoOf(key);
    const ByteString signature = signatureOf(key, row.signing, kMessage);
    if (row.digest != nullptr) {
      ASSERT_TRUE(open.device.setDigest(row.digest));
    }
    ASSERT_TRUE(open.device.setSignatureAlgorithm(row.oid));
    EXPECT_TRUE(verifies(open.device, kMessage, signature, *info, row.signing.pss));
    EXPECT_EQ(open.device.lastResult(), CKR_OK);
    EXPECT_FALSE(verifies(open.device, kMessage, withBitFlipped(signature), *info, row.signing.pss));
    EXPECT_EQ(open.device.lastResult(), CKR_SIGNATURE_INVALID);
    EXPECT_FALSE(verifies(open.device, withBitFlipped(kMessage), signature, *info, row.signing.pss));
    const auto other = keyInfoOf(privateKey(row.key, 1));
    EXPECT_FALSE(verifies(open.device, kMessage, signature, *other, row.signing.pss));
  }
}

// The salt is as long as the hash, or the signature is not verified. 222 is what OpenSSL takes by itself.
TEST(CryptoDevice, VerifiesOnlyThePSSSaltOfTheTable) {
  OpenDevice open;
  const PrivateKey key = privateKey("RSA-2048");
  for (const int salt : {0, 20, 31, 33, 222}) {
    ASSERT_TRUE(open.device.setDigest("2.16.840.1.101.3.4.2.1"));
    ASSERT_TRUE(open.device.setSignatureAlgorithm(kPSS));
    EXPECT_FALSE(
        verifies(open.device, kMessage, signatureOf(key, {"SHA256", true}, kMessage, salt), *keyInfoOf(key), true))
        << salt;
  }
}

TEST(CryptoDevice, AcceptsTheDigestInfoWithAndWithoutNULL) {
  const PrivateKey key = privateKey("RSA-2048");
  const ByteString digest = digestOf("SHA256", kMessage);
  struct Row {
    const char *name, *head, *tail;
    bool good;
  };
  OpenDevice open;
  for (const Row& row : {Row{"NULL", "3031300d060960864801650304020105000420", "", true},
                         Row{"absent",
                             "302f300b0609608648016503040201"
                             "0420",
                             "", true},
                         Row{"the digest alone", "", "", false},
                         Row{"octets behind", "3031300d060960864801650304020105000420", "00", false},
                         Row{"octets behind, counted", "3033300d060960864801650304020105000420", "0500", false},
                         Row{"long length", "308131300d060960864801650304020105000420", "", false},
                         Row{"SHA-384", "3031300d060960864801650304020205000420", "", false}}) {
    ByteString block = fromHex(row.head);
    const ByteString tail = fromHex(row.tail);
    block.insert(block.end(), digest.begin(), digest.end());
    block.insert(block.end(), tail.begin(), tail.end());
    ASSERT_TRUE(open.device.setSignatureAlgorithm("1.2.840.113549.1.1.11"));
    EXPECT_EQ(verifies(open.device, kMessage, signatureRound(key, block), *keyInfoOf(key)), row.good) << row.name;
  }
}

// A mechanism that cannot be selected leaves none behind, or the next object would be checked by that of the last.
TEST(CryptoDevice, SelectsNothingWhereItCannotSelect) {
  const PrivateKey key = privateKey("RSA-2048");
  const auto info = keyInfoOf(key);
  const ByteString signature = signatureOf(key, {"SHA256"}, kMessage);
  const auto select = [](CryptoDevice& device, const char* digest, const char* algorithm) {
    if (digest != nullptr) device.setDigest(digest);
    return device.setSignatureAlgorithm(algorithm);
  };
  OpenDevice open;
  struct Row {
    const char *name, *digest, *algorithm;
  };
  for (const Row& row :
       {Row{"unknown", nullptr, "1.2.3.4"}, Row{"SHA-224 with RSA", nullptr, "1.2.840.113549.1.1.14"},
        Row{"no text", nullptr, nullptr}, Row{"Ed25519", nullptr, "1.3.101.112"},
        Row{"PSS with SHA-224", "2.16.840.1.101.3.4.2.4", kPSS}, Row{"PSS with no digest", "1.2.3", kPSS}}) {
    ASSERT_TRUE(open.device.setSignatureAlgorithm("1.2.840.113549.1.1.11"));
    const auto digest = digestWith(open.device, kMessage);
    EXPECT_FALSE(select(open.device, row.digest, row.algorithm)) << row.name;
    EXPECT_EQ(open.device.lastResult(), CKR_MECHANISM_INVALID) << row.name;
    EXPECT_EQ(digestWith(open.device, kMessage), nullptr) << row.name;
    EXPECT_EQ(open.device.digestLength(), 0U) << row.name;
    EXPECT_FALSE(open.device.verify(Signature(signature), *digest, *info)) << row.name;
    EXPECT_FALSE(open.device.verifyRaw(kMessage.data(), kMessage.size(), Signature(signature), *info)) << row.name;
    EXPECT_EQ(open.device.lastResult(), CKR_MECHANISM_INVALID) << row.name;
  }
}

// Algorithms that name no digest leave the one selected before; what they have no mechanism for cannot be verified.
TEST(CryptoDevice, KeepsTheDigestOfAlgorithmsThatNameNone) {
  const PrivateKey key = privateKey("RSA-1024");
  const auto info = keyInfoOf(key);
  const ByteString signature = signatureRound(key, kMessage);
  OpenDevice open;
  for (const char* algorithm : {"1.3.36.3.4.1", "1.3.6.1.5.5.8.1.2", "2.5.8.1.1"}) {
    ASSERT_TRUE(open.device.setSignatureAlgorithm("1.2.840.113549.1.1.12"));
    ASSERT_TRUE(open.device.setSignatureAlgorithm(algorithm));
    EXPECT_EQ(open.device.digestLength(), 48U) << algorithm;
    EXPECT_FALSE(verifies(open.device, kMessage, signature, *info)) << algorithm;
    EXPECT_FALSE(verifies(open.device, kMessage, signature, *info, true)) << algorithm;
  }
  ByteString block(128, 0xFF);  // what stands in the signature, without any padding taken off
  block[0] = 0;
  block[1] = 1;
  block[128 - kMessage.size() - 1] = 0;
  std::ranges::copy(kMessage, block.end() - static_cast<std::ptrdiff_t>(kMessage.size()));
  EXPECT_TRUE(verifies(open.device, block, signature, *info, true));
  EXPECT_TRUE(open.device.setCipher("1.2.840.113549.1.1.1"));
  EXPECT_FALSE(open.device.setCipher("1.2.840.10045.2.1"));
  EXPECT_FALSE(verifies(open.device, kMessage, signatureOf(key, {"SHA384"}, kMessage), *info));
  EXPECT_EQ(open.device.lastResult(), CKR_MECHANISM_INVALID);
}

TEST(CryptoDevice, RefusesKeysThatDoNotBelongToTheMechanism) {
  const auto rsa = keyInfoOf(privateKey("RSA-2048"));
  const auto ec = keyInfoOf(privateKey("P-256"));
  const KeyInfo none;
  const auto dsa = keyInfoFrom(readFile(publishedVectors() / "asymmetric/DER_Serialization/dsa_public_key.der"));
  const ByteString rsaSignature(256, 1);
  const ByteString ecSignature = fromHex("3006020101020101");
  struct Row {
    const char *name, *algorithm;
    const KeyInfo* key;
    const ByteString& signature;
  };
  OpenDevice open;
  for (const Row& row : {Row{"EC key, RSA", "1.2.840.113549.1.1.11", ec.get(), ecSignature},
                         Row{"RSA key, ECDSA", "1.2.840.10045.4.3.2", rsa.get(), rsaSignature},
                         Row{"no key", "1.2.840.113549.1.1.11", &none, rsaSignature},
                         Row{"DSA key", "1.2.840.113549.1.1.11", dsa.get(), rsaSignature}}) {
    ASSERT_NE(row.key, nullptr) << row.name;
    ASSERT_TRUE(open.device.setSignatureAlgorithm(row.algorithm));
    EXPECT_FALSE(verifies(open.device, kMessage, row.signature, *row.key)) << row.name;
    EXPECT_EQ(open.device.lastResult(), CKR_KEY_TYPE_INCONSISTENT) << row.name;
  }
}

// Keys of strangers: none verifies, none costs time, and no object of theirs stays in the token.
TEST(CryptoDevice, SurvivesBadKeys) {
  const auto rsaKey = [](const ByteString& modulus, const ByteString& exponent, bool negative = false) {
    KeyInfo info;
    BigInteger n{std::span<const unsigned char>(modulus)};
    if (negative) BigInteger::parse("-0BAD", 16, n);
    const RSAPublicKey key(n, BigInteger{std::span<const unsigned char>(exponent)});
    const AlgorithmIdentifier algorithm("1.2.840.113549.1.1.1");
    info.setAlgorithm(&algorithm);
    info.setKey(&key);
    return std::unique_ptr<KeyInfo>(info.clone());
  };
  const auto ecKey = [](const char* curve, const ByteString& point) {
    KeyInfo info;
    ECDSAPublicKey key;
    const ECParameters parameters{OID(curve)};
    if (*curve != '\0') key.setParameters(&parameters);
    key.setPoint(point);
    info.setKey(&key);
    return std::unique_ptr<KeyInfo>(info.clone());
  };
  const ByteString e = {1, 0, 1};
  const ByteString huge(3000, 0xFF);
  ByteString offCurve(65, 1);
  offCurve[0] = 4;
  struct Row {
    const char *name, *algorithm;
    std::unique_ptr<KeyInfo> key;
    ByteString signature;
  };
  const char* kRSA = "1.2.840.113549.1.1.11";
  const char* kEC = "1.2.840.10045.4.3.2";
  const char* kP256 = "1.2.840.10045.3.1.7";
  const ByteString ec = fromHex("3006020101020101");
  Row rows[] = {
      {"zero modulus", kRSA, rsaKey({}, e), {}},
      {"exponent 1", kRSA, rsaKey(ByteString(256, 0xFF), {1}), ByteString(256, 1)},
      {"oversized modulus and exponent", kRSA, rsaKey(huge, huge), ByteString(3000, 1)},
      {"negative modulus", kRSA, rsaKey({}, e, true), {1, 1}},
      {"representative not below the modulus", kRSA, rsaKey(ByteString(256, 0xFF), e), ByteString(256, 0xFF)},
      {"no signature", kRSA, rsaKey(ByteString(256, 0xFF), e), {}},
      {"no parameters", kEC, ecKey("", offCurve), ec},
      {"unknown curve", kEC, ecKey("1.2.3.4", offCurve), ec},
      {"point off the curve", kEC, ecKey(kP256, offCurve), ec},
      {"point at infinity", kEC, ecKey(kP256, {0}), ec},
      {"no point", kEC, ecKey(kP256, {}), ec},
  };
  OpenDevice open;
  for (const Row& row : rows) {
    ASSERT_TRUE(open.device.setSignatureAlgorithm(row.algorithm));
    EXPECT_FALSE(verifies(open.device, kMessage, row.signature, *row.key)) << row.name;
    EXPECT_NE(open.device.lastResult(), CKR_OK) << row.name;
  }
  CK_SESSION_HANDLE session = 0;
  CK_OBJECT_HANDLE object = 0;
  CK_ULONG count = 1;
  ASSERT_EQ(open.ki.openSession(0, CKF_SERIAL_SESSION, nullptr, nullptr, &session), CKR_OK);
  ASSERT_EQ(open.ki.findObjectsInit(session, nullptr, 0), CKR_OK);
  ASSERT_EQ(open.ki.findObjects(session, &object, 1, &count), CKR_OK);
  EXPECT_EQ(count, 0U);
}

TEST(CryptoDevice, DigestsInPartsAndWhole) {
  OpenDevice open;
  const ByteString data(1000, 'a');
  struct Row {
    const char *oid, *name;
    std::uint32_t length;
  };
  for (const Row& row :
       {Row{"1.2.840.113549.2.5", "MD5", 16}, Row{"1.3.36.3.2.1", "RIPEMD160", 20}, Row{"1.3.14.3.2.26", "SHA1", 20},
        Row{"2.16.840.1.101.3.4.2.4", "SHA224", 28}, Row{"2.16.840.1.101.3.4.2.1", "SHA256", 32},
        Row{"2.16.840.1.101.3.4.2.2", "SHA384", 48}, Row{"2.16.840.1.101.3.4.2.3", "SHA512", 64}}) {
    const ByteString expected = digestOf(row.name, data);
    ASSERT_TRUE(open.device.setDigest(row.oid)) << row.name;
    EXPECT_EQ(open.device.digestLength(), row.length) << row.name;
    const auto whole = digestWith(open.device, data);
    EXPECT_TRUE(std::ranges::equal(whole->valueView(), expected)) << row.name;
    EXPECT_TRUE(whole->algorithmView()->equals(row.oid)) << row.name;
    EXPECT_TRUE(whole->algorithmView()->hasParameters()) << row.name;
    // One digest left half way does not disturb the next.
    ASSERT_TRUE(open.device.digestInit() && open.device.digestUpdate(data.data(), 7)) << row.name;
    ASSERT_TRUE(open.device.digestInit() && open.device.digestUpdate(data.data(), 1)) << row.name;
    ASSERT_TRUE(open.device.digestUpdate(nullptr, 0) && open.device.digestUpdate(data.data() + 1, 999)) << row.name;
    const std::unique_ptr<DigestInfo> parts(open.device.digestFinal());
    ASSERT_NE(parts, nullptr) << row.name;
    EXPECT_TRUE(parts->equals(*whole)) << row.name;
    const std::unique_ptr<DigestInfo> empty(open.device.digest(nullptr, 0));
    ASSERT_NE(empty, nullptr) << row.name;
    EXPECT_TRUE(std::ranges::equal(empty->valueView(), digestOf(row.name, {}))) << row.name;
  }
  EXPECT_EQ(std::unique_ptr<DigestInfo>(open.device.digestFinal()), nullptr);
  EXPECT_EQ(open.device.lastResult(), CKR_OPERATION_NOT_INITIALIZED);
}

TEST(CryptoDevice, FailsSoftlyWithoutATokenOrASession) {
  CryptoKi empty("/nowhere/module.so");
  CryptoKi token;
  struct Row {
    const char* name;
    CryptoKi* ki;
    std::uint32_t slot;
    CK_RV result;
  };
  for (const Row& row : {Row{"no binding", nullptr, 0, CKR_CRYPTOKI_NOT_INITIALIZED},
                         Row{"empty binding", &empty, 0, CKR_CRYPTOKI_NOT_INITIALIZED},
                         Row{"no such slot", &token, 1, CKR_SLOT_ID_INVALID}}) {
    CryptoDevice device(row.ki);
    EXPECT_FALSE(device.open(row.slot, nullptr, 0)) << row.name;
    EXPECT_EQ(device.lastResult(), row.result) << row.name;
    EXPECT_TRUE(device.setSignatureAlgorithm("1.2.840.113549.1.1.11")) << row.name;
    EXPECT_EQ(digestWith(device, kMessage), nullptr) << row.name;
    EXPECT_FALSE(device.digestInit()) << row.name;
    EXPECT_FALSE(device.digestUpdate(kMessage.data(), 1)) << row.name;
    const DigestInfo digest(AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"), ByteString(32, 1));
    EXPECT_FALSE(device.verify(Signature(ByteString(256, 1)), digest, *keyInfoOf(privateKey("RSA-2048")))) << row.name;
    EXPECT_FALSE(device.verify(Signature(), DigestInfo(), KeyInfo())) << row.name;
    device.close();
  }
}

// Two bindings in one process share the token, not what they have under way.
TEST(CryptoDevice, KeepsDevicesApart) {
  const PrivateKey key = privateKey("P-256");
  const auto info = keyInfoOf(key);
  const ByteString signature = signatureOf(key, {"SHA256"}, kMessage);
  OpenDevice first;
  ASSERT_TRUE(first.device.setSignatureAlgorithm("1.2.840.10045.4.3.2"));
  ASSERT_TRUE(first.device.digestInit() && first.device.digestUpdate(kMessage.data(), 3));
  {
    OpenDevice second;
    ASSERT_TRUE(second.opened);
    ASSERT_TRUE(second.device.setDigest("1.3.14.3.2.26"));
    EXPECT_TRUE(std::ranges::equal(digestWith(second.device, kMessage)->valueView(), digestOf("SHA1", kMessage)));
    EXPECT_FALSE(second.device.setSignatureAlgorithm("1.2.3"));
  }
  ASSERT_TRUE(first.device.digestUpdate(kMessage.data() + 3, kMessage.size() - 3));
  const std::unique_ptr<DigestInfo> digest(first.device.digestFinal());
  ASSERT_NE(digest, nullptr);
  EXPECT_TRUE(first.device.verify(Signature(signature), *digest, *info));
}

TEST(CryptoDevice, OpensAgainAndAgain) {
  CryptoKi ki;
  CryptoDevice device(&ki);
  for (int i = 0; i < 20; ++i) ASSERT_TRUE(device.open(0, nullptr, 0)) << i;
  device.close();
  EXPECT_FALSE(device.setDigest("2.16.840.1.101.3.4.2.1") && device.digestInit());
  EXPECT_EQ(device.lastResult(), CKR_SESSION_HANDLE_INVALID);
}

}  // namespace keystrand::test
