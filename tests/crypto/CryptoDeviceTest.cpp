#include <p11-kit/pkcs11.h>

#include <tuple>

#include "TokenObjects.h"
#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/ECDSAPublicKey.h"
#include "keystrand/crypto/RSAPublicKey.h"
#include "keystrand/pkix/Certificate.h"

namespace keystrand::test {

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
  using Row = std::tuple<const char*, const char*, const char*, bool>;
  OpenDevice open;
  for (const auto& [name, head, tail, good] :
       {Row{"NULL", "3031300d060960864801650304020105000420", "", true},
        Row{"absent", "302f300b06096086480165030402010420", "", true}, Row{"the digest alone", "", "", false},
        Row{"octets behind", "3031300d060960864801650304020105000420", "00", false},
        Row{"octets behind, counted", "3033300d060960864801650304020105000420", "0500", false},
        Row{"long length", "308131300d060960864801650304020105000420", "", false},
        Row{"SHA-384", "3031300d060960864801650304020205000420", "", false}}) {
    const ByteString block = fromHex(head) + digest + fromHex(tail);
    ASSERT_TRUE(open.device.setSignatureAlgorithm("1.2.840.113549.1.1.11"));
    EXPECT_EQ(verifies(open.device, kMessage, signatureRound(key, block), *keyInfoOf(key)), good) << name;
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
  // what stands in the signature, without any padding taken off
  const ByteString block = fromHex("0001") + ByteString(128 - 3 - kMessage.size(), 0xFF) + ByteString{0} + kMessage;
  EXPECT_TRUE(verifies(open.device, block, signature, *info, true));
  EXPECT_TRUE(open.device.setCipher("1.2.840.113549.1.1.1"));
  EXPECT_FALSE(open.device.setCipher("1.2.840.10045.2.1"));
  EXPECT_FALSE(verifies(open.device, kMessage, signatureOf(key, {"SHA384"}, kMessage), *info));
  EXPECT_EQ(open.device.lastResult(), CKR_MECHANISM_INVALID);
}

std::unique_ptr<KeyInfo> rsaKeyOf(const BigInteger& modulus, const ByteString& exponent) {
  const RSAPublicKey key(modulus, BigInteger{std::span<const unsigned char>(exponent)});
  auto info = std::make_unique<KeyInfo>();
  info->setKey(&key);
  return info;
}

std::unique_ptr<KeyInfo> ecKeyOf(const char* curve, const ByteString& point) {
  ECDSAPublicKey key;
  const ECParameters parameters{OID(curve)};
  if (*curve != '\0') key.setParameters(&parameters);
  key.setPoint(point);
  auto info = std::make_unique<KeyInfo>();
  info->setKey(&key);
  return info;
}

// Keys of strangers: none verifies, none costs time, and no object of theirs stays in the token.
TEST(CryptoDevice, SurvivesBadKeys) {
  const ByteString e = {1, 0, 1};
  const ByteString ones(256, 0xFF);
  const ByteString huge(3000, 0xFF);
  const ByteString offCurve = ByteString{4} + ByteString(64, 1);
  BigInteger negative;
  ASSERT_TRUE(BigInteger::parse("-0BAD", 16, negative));
  const char* kRSA = "1.2.840.113549.1.1.11";
  const char* kEC = "1.2.840.10045.4.3.2";
  const char* kP256 = "1.2.840.10045.3.1.7";
  const ByteString ec = fromHex("3006020101020101");
  struct Row {
    const char *name, *algorithm;
    std::unique_ptr<KeyInfo> key;
    ByteString signature;
    std::optional<CK_RV> result = {};  // where it matters
  };
  const ByteString dsa = readFile(publishedVectors() / "asymmetric/DER_Serialization/dsa_public_key.der");
  const Row rows[] = {
      {"zero modulus", kRSA, rsaKeyOf(BigInteger(), e), {}},
      {"exponent 1", kRSA, rsaKeyOf(BigInteger(ones), {1}), ByteString(256, 1)},
      {"oversized modulus and exponent", kRSA, rsaKeyOf(BigInteger(huge), huge), ByteString(3000, 1)},
      {"negative modulus", kRSA, rsaKeyOf(negative, e), {1, 1}},
      {"representative not below the modulus", kRSA, rsaKeyOf(BigInteger(ones), e), ones},
      {"no signature", kRSA, rsaKeyOf(BigInteger(ones), e), {}},
      {"no parameters", kEC, ecKeyOf("", offCurve), ec},
      {"unknown curve", kEC, ecKeyOf("1.2.3.4", offCurve), ec},
      {"point off the curve", kEC, ecKeyOf(kP256, offCurve), ec},
      {"point at infinity", kEC, ecKeyOf(kP256, {0}), ec},
      {"no point", kEC, ecKeyOf(kP256, {}), ec},
      {"EC key, RSA", kRSA, keyInfoOf(privateKey("P-256")), ec, CKR_KEY_TYPE_INCONSISTENT},
      {"RSA key, ECDSA", kEC, keyInfoOf(privateKey("RSA-2048")), ByteString(256, 1), CKR_KEY_TYPE_INCONSISTENT},
      {"no key", kRSA, std::make_unique<KeyInfo>(), ByteString(256, 1), CKR_KEY_TYPE_INCONSISTENT},
      {"DSA key", kRSA, keyInfoFrom(dsa), ByteString(256, 1), CKR_KEY_TYPE_INCONSISTENT},
  };
  Session objects;
  OpenDevice open;
  for (const Row& row : rows) {
    ASSERT_NE(row.key, nullptr) << row.name;
    ASSERT_TRUE(open.device.setSignatureAlgorithm(row.algorithm));
    EXPECT_FALSE(verifies(open.device, kMessage, row.signature, *row.key)) << row.name;
    EXPECT_NE(open.device.lastResult(), CKR_OK) << row.name;
    EXPECT_EQ(open.device.lastResult(), row.result.value_or(open.device.lastResult())) << row.name;
    EXPECT_TRUE(objects.found({}).empty()) << row.name;
  }
}

TEST(CryptoDevice, DigestsInPartsAndWhole) {
  OpenDevice open;
  CryptoDevice& device = open.device;
  const ByteString data(1000, 'a');
  for (const auto& [oid, name] : {std::pair{"1.2.840.113549.2.5", "MD5"},
                                  {"1.3.36.3.2.1", "RIPEMD160"},
                                  {"1.3.14.3.2.26", "SHA1"},
                                  {"2.16.840.1.101.3.4.2.4", "SHA224"},
                                  {"2.16.840.1.101.3.4.2.1", "SHA256"},
                                  {"2.16.840.1.101.3.4.2.2", "SHA384"},
                                  {"2.16.840.1.101.3.4.2.3", "SHA512"}}) {
    const ByteString expected = digestOf(name, data);
    ASSERT_TRUE(device.setDigest(oid)) << name;
    EXPECT_EQ(device.digestLength(), expected.size()) << name;
    const auto whole = digestWith(device, data);
    EXPECT_TRUE(std::ranges::equal(whole->valueView(), expected)) << name;
    EXPECT_TRUE(whole->algorithmView()->equals(oid) && whole->algorithmView()->hasParameters()) << name;
    // One digest left half way does not disturb the next.
    ASSERT_TRUE(device.digestInit() && device.digestUpdate(data.data(), 7)) << name;
    ASSERT_TRUE(device.digestInit() && device.digestUpdate(data.data(), 1)) << name;
    ASSERT_TRUE(device.digestUpdate(nullptr, 0) && device.digestUpdate(data.data() + 1, 999)) << name;
    const std::unique_ptr<DigestInfo> parts(device.digestFinal());
    EXPECT_TRUE(parts != nullptr && parts->equals(*whole)) << name;
    // Nor does one that cannot begin disturb the one under way.
    ASSERT_TRUE(device.digestInit() && device.digestUpdate(data.data(), data.size())) << name;
    EXPECT_FALSE(device.setDigest("1.2.3") || device.digestInit()) << name;
    const std::unique_ptr<DigestInfo> first(device.digestFinal());
    EXPECT_TRUE(first != nullptr && first->equals(*whole)) << name;
    ASSERT_TRUE(device.setDigest(oid)) << name;
    const std::unique_ptr<DigestInfo> empty(device.digest(nullptr, 0));
    EXPECT_TRUE(empty != nullptr && std::ranges::equal(empty->valueView(), digestOf(name, {}))) << name;
  }
  EXPECT_EQ(std::unique_ptr<DigestInfo>(device.digestFinal()), nullptr);
  EXPECT_EQ(device.lastResult(), CKR_OPERATION_NOT_INITIALIZED);
}

TEST(CryptoDevice, FailsSoftlyWithoutATokenOrASession) {
  CryptoKi empty("/nowhere/module.so");
  CryptoKi token;
  using Row = std::tuple<const char*, CryptoKi*, std::uint32_t, CK_RV>;
  for (const auto& [name, ki, slot, result] : {Row{"no binding", nullptr, 0, CKR_CRYPTOKI_NOT_INITIALIZED},
                                               Row{"empty binding", &empty, 0, CKR_CRYPTOKI_NOT_INITIALIZED},
                                               Row{"no such slot", &token, 1, CKR_SLOT_ID_INVALID}}) {
    CryptoDevice device(ki);
    EXPECT_FALSE(device.open(slot, nullptr, 0)) << name;
    EXPECT_EQ(device.lastResult(), result) << name;
    EXPECT_TRUE(device.setSignatureAlgorithm("1.2.840.113549.1.1.11")) << name;
    EXPECT_EQ(digestWith(device, kMessage), nullptr) << name;
    EXPECT_FALSE(device.digestInit()) << name;
    EXPECT_FALSE(device.digestUpdate(kMessage.data(), 1)) << name;
    const DigestInfo digest(AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"), ByteString(32, 1));
    EXPECT_FALSE(device.verify(Signature(ByteString(256, 1)), digest, *keyInfoOf(privateKey("RSA-2048")))) << name;
    EXPECT_FALSE(device.verify(Signature(), DigestInfo(), KeyInfo())) << name;
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
