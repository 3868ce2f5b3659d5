// The token's ciphers, MACs and keys out of passwords, against published vectors and OpenSSL.
#include <gtest/gtest.h>
#include <openssl/crmf.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <openssl/provider.h>
#include <openssl/x509.h>
#include <p11-kit/pkcs11.h>

#include <fstream>
#include <sstream>

#include "TokenObjects.h"
#include "crypto/Coding.h"
#include "crypto/HMAC.h"
#include "crypto/PBMParameter.h"
#include "crypto/SHA1.h"
#include "crypto/Vectors.h"
#include "crypto/token/PasswordParameters.h"
#include "crypto/token/RC2Parameters.h"

namespace keystrand::test {
namespace {

Template secretKey(CK_KEY_TYPE type, ByteString value) {
  return {number(CKA_CLASS, CKO_SECRET_KEY), number(CKA_KEY_TYPE, type), {CKA_VALUE, std::move(value)}};
}

enum class Way : unsigned char { kEncrypt, kDecrypt };

// In one call, or in parts of that many octets. The return value stands for a failure.
struct Result {
  CK_RV code = CKR_OK;
  ByteString octets;
};

Result crypted(Session& open, Way way, CK_MECHANISM mechanism, CK_OBJECT_HANDLE key, const ByteString& data,
               std::size_t part = 0) {
  const bool encrypts = way == Way::kEncrypt;
  CryptoKi& ki = open.ki;
  const CK_SESSION_HANDLE h = open.handle;
  Result result{encrypts ? ki.encryptInit(h, &mechanism, key) : ki.decryptInit(h, &mechanism, key), {}};
  ByteString out(data.size() + 512);
  CK_ULONG n = out.size();
  const unsigned char nothing = 0;
  const unsigned char* at = data.empty() ? &nothing : data.data();
  if (result.code != CKR_OK) return result;
  if (part == 0) {
    result.code =
        encrypts ? ki.encrypt(h, at, data.size(), out.data(), &n) : ki.decrypt(h, at, data.size(), out.data(), &n);
    if (result.code == CKR_OK) result.octets.assign(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(n));
    return result;
  }
  for (std::size_t done = 0; done < data.size() && result.code == CKR_OK; done += part) {
    const CK_ULONG length = std::min(part, data.size() - done);
    n = out.size();
    result.code = encrypts ? ki.encryptUpdate(h, at + done, length, out.data(), &n)
                           : ki.decryptUpdate(h, at + done, length, out.data(), &n);
    result.octets.insert(result.octets.end(), out.begin(), out.begin() + static_cast<std::ptrdiff_t>(n));
  }
  if (result.code != CKR_OK) return result;
  n = out.size();
  result.code = encrypts ? ki.encryptFinal(h, out.data(), &n) : ki.decryptFinal(h, out.data(), &n);
  if (result.code == CKR_OK) {
    result.octets.insert(result.octets.end(), out.begin(), out.begin() + static_cast<std::ptrdiff_t>(n));
  }
  return result;
}

struct CipherFile {
  const char* path;
  CK_KEY_TYPE keyType;
  CK_MECHANISM_TYPE mechanism;
};

const CipherFile kFiles[] = {
    {"AES/ECB/ECBMMT128.rsp", CKK_AES, CKM_AES_ECB},    {"AES/ECB/ECBMMT192.rsp", CKK_AES, CKM_AES_ECB},
    {"AES/ECB/ECBMMT256.rsp", CKK_AES, CKM_AES_ECB},    {"AES/CBC/CBCMMT128.rsp", CKK_AES, CKM_AES_CBC},
    {"AES/CBC/CBCMMT192.rsp", CKK_AES, CKM_AES_CBC},    {"AES/CBC/CBCMMT256.rsp", CKK_AES, CKM_AES_CBC},
    {"3DES/CBC/TCBCMMT1.rsp", CKK_DES3, CKM_DES3_CBC},  {"3DES/CBC/TCBCMMT2.rsp", CKK_DES3, CKM_DES3_CBC},
    {"3DES/CBC/TCBCMMT2.rsp", CKK_DES2, CKM_DES3_CBC},  {"3DES/CBC/TCBCMMT3.rsp", CKK_DES3, CKM_DES3_CBC},
    {"3DES/ECB/TECBsubtab.rsp", CKK_DES, CKM_DES_ECB},  {"3DES/ECB/TECBpermop.rsp", CKK_DES, CKM_DES_ECB},
    {"3DES/ECB/TECBMMT3.rsp", CKK_DES3, CKM_DES3_ECB},  {"3DES/CBC/TCBCvarkey.rsp", CKK_DES, CKM_DES_CBC},
    {"3DES/CBC/TCBCvartext.rsp", CKK_DES, CKM_DES_CBC},
};

ByteString keyOf(const CipherFile& file, Fields& vector) {
  if (vector.contains("KEY")) return fromHex(vector["KEY"]);
  if (vector.contains("KEYs")) {
    const ByteString one = fromHex(vector["KEYs"]);
    return file.keyType == CKK_DES ? one : one + one + one;
  }
  const ByteString two = fromHex(vector["KEY1"]) + fromHex(vector["KEY2"]);
  return file.keyType == CKK_DES2 ? two : two + fromHex(vector["KEY3"]);
}

}  // namespace

TEST(TokenCiphers, AgreeWithThePublishedVectors) {
  if (!std::filesystem::exists(publishedVectors())) GTEST_SKIP() << "python3-cryptography-vectors is not installed";
  Session open;
  for (const CipherFile& file : kFiles) {
    auto cases = vectorsOf(publishedVectors() / "ciphers" / file.path, "CIPHERTEXT");
    ASSERT_GE(cases.size(), 10U) << file.path;
    for (Fields& vector : cases) {
      if (vector["section"] != "ENCRYPT") continue;
      const CK_OBJECT_HANDLE key = open.created(secretKey(file.keyType, keyOf(file, vector)));
      ByteString iv = fromHex(vector["IV"]);
      const CK_MECHANISM mechanism{file.mechanism, iv.empty() ? nullptr : iv.data(), iv.size()};
      const ByteString plain = fromHex(vector["PLAINTEXT"]);
      const ByteString cipher = fromHex(vector["CIPHERTEXT"]);
      EXPECT_EQ(crypted(open, Way::kEncrypt, mechanism, key, plain).octets, cipher) << file.path;
      EXPECT_EQ(crypted(open, Way::kDecrypt, mechanism, key, cipher).octets, plain) << file.path;
      EXPECT_EQ(crypted(open, Way::kEncrypt, mechanism, key, plain, 5).octets, cipher) << file.path;
      EXPECT_EQ(crypted(open, Way::kDecrypt, mechanism, key, cipher, 9).octets, plain) << file.path;
      open.ki.destroyObject(open.handle, key);
    }
  }
}

TEST(TokenCiphers, RC2AgreesWithItsRFC) {
  const auto path = testData("vectors/rc2-rfc2268.txt");
  if (!path) GTEST_SKIP() << kNoTestData;
  Session open;
  std::ifstream in(*path);
  int cases = 0;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with('#')) continue;
    std::istringstream columns(line);
    std::string key, plain, cipher;
    CK_ULONG bits = 0;
    if (!(columns >> key >> bits >> plain >> cipher)) continue;
    const CK_OBJECT_HANDLE handle = open.created(secretKey(CKK_RC2, fromHex(key)));
    const CK_MECHANISM mechanism{CKM_RC2_ECB, &bits, sizeof bits};
    EXPECT_EQ(crypted(open, Way::kEncrypt, mechanism, handle, fromHex(plain)).octets, fromHex(cipher)) << key;
    EXPECT_EQ(crypted(open, Way::kDecrypt, mechanism, handle, fromHex(cipher)).octets, fromHex(plain)) << key;
    ++cases;
  }
  EXPECT_EQ(cases, 8);
}

TEST(TokenCiphers, PadAndRefuseWhatIsNotPadded) {
  Session open;
  const ByteString iv(16, 7);
  const ByteString aesKey(32, 0x2B);
  const CK_OBJECT_HANDLE key = open.created(secretKey(CKK_AES, aesKey));
  const CK_MECHANISM padded{CKM_AES_CBC_PAD, const_cast<unsigned char*>(iv.data()), iv.size()};
  const CK_MECHANISM plainMode{CKM_AES_CBC, const_cast<unsigned char*>(iv.data()), iv.size()};
  for (const std::size_t length : {0U, 1U, 15U, 16U, 17U, 64U}) {
    const ByteString text(length, 'x');
    ByteString expected(length + 32);
    int n = 0;
    int more = 0;
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                                  EVP_CIPHER_CTX_free);
    EVP_EncryptInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, aesKey.data(), iv.data());
    EVP_EncryptUpdate(context.get(), expected.data(), &n, text.data(), static_cast<int>(length));
    EVP_EncryptFinal_ex(context.get(), expected.data() + n, &more);
    expected.resize(static_cast<std::size_t>(n + more));
    EXPECT_EQ(crypted(open, Way::kEncrypt, padded, key, text).octets, expected) << length;
    EXPECT_EQ(crypted(open, Way::kEncrypt, padded, key, text, 7).octets, expected) << length;
    EXPECT_EQ(crypted(open, Way::kDecrypt, padded, key, expected).octets, text) << length;
    EXPECT_EQ(crypted(open, Way::kDecrypt, padded, key, expected, 5).octets, text) << length;
  }
  const ByteString block(16, 3);
  EXPECT_EQ(crypted(open, Way::kEncrypt, plainMode, key, ByteString(15)).code, CKR_DATA_LEN_RANGE);
  EXPECT_EQ(crypted(open, Way::kDecrypt, plainMode, key, ByteString(17)).code, CKR_ENCRYPTED_DATA_LEN_RANGE);
  EXPECT_EQ(crypted(open, Way::kDecrypt, padded, key, {}).code, CKR_ENCRYPTED_DATA_LEN_RANGE);
  EXPECT_EQ(crypted(open, Way::kDecrypt, padded, key, block).code, CKR_ENCRYPTED_DATA_INVALID);
  EXPECT_EQ(crypted(open, Way::kDecrypt, padded, key, block, 3).code, CKR_ENCRYPTED_DATA_INVALID);
  const CK_MECHANISM shortVector{CKM_AES_CBC, const_cast<unsigned char*>(iv.data()), 8};
  const CK_MECHANISM des{CKM_DES_ECB, nullptr, 0};
  const CK_MECHANISM digest{CKM_SHA_1, nullptr, 0};
  EXPECT_EQ(crypted(open, Way::kEncrypt, shortVector, key, block).code, CKR_MECHANISM_PARAM_INVALID);
  EXPECT_EQ(crypted(open, Way::kEncrypt, des, key, block).code, CKR_KEY_TYPE_INCONSISTENT);
  EXPECT_EQ(crypted(open, Way::kEncrypt, digest, key, block).code, CKR_MECHANISM_INVALID);
  EXPECT_EQ(crypted(open, Way::kEncrypt, padded, 999, block).code, CKR_KEY_HANDLE_INVALID);
  const CK_OBJECT_HANDLE mute = open.created(with(secretKey(CKK_AES, aesKey), flag(CKA_DECRYPT, false)));
  EXPECT_EQ(crypted(open, Way::kDecrypt, padded, mute, block).code, CKR_KEY_FUNCTION_NOT_PERMITTED);
  CK_ULONG n = 16;
  ByteString out(32);
  ASSERT_EQ(open.ki.encryptInit(open.handle, &padded, key), CKR_OK);
  EXPECT_EQ(open.ki.encryptInit(open.handle, &padded, key), CKR_OPERATION_ACTIVE);
  EXPECT_EQ(open.ki.encrypt(open.handle, block.data(), 16, out.data(), &n), CKR_BUFFER_TOO_SMALL);
  EXPECT_EQ(n, 32U);
  EXPECT_EQ(open.ki.encrypt(open.handle, block.data(), 16, out.data(), &n), CKR_OK);
  EXPECT_EQ(open.ki.encryptFinal(open.handle, out.data(), &n), CKR_OPERATION_NOT_INITIALIZED);
}

TEST(TokenCiphers, TakeKeysOfTheirLengthAlone) {
  Session open;
  struct Row {
    CK_KEY_TYPE type;
    std::vector<std::size_t> good, bad;
  };
  for (const Row& row :
       {Row{CKK_AES, {16, 24, 32}, {0, 8, 15, 33}}, Row{CKK_DES, {8}, {7, 16}}, Row{CKK_DES2, {16}, {8, 24}},
        Row{CKK_DES3, {24}, {16, 32}}, Row{CKK_RC2, {1, 128}, {0, 129}}, Row{CKK_GENERIC_SECRET, {1, 500}, {0}}}) {
    CK_OBJECT_HANDLE key = 0;
    for (const std::size_t n : row.good)
      EXPECT_EQ(open.create(secretKey(row.type, ByteString(n, 1)), &key), CKR_OK) << n;
    for (const std::size_t n : row.bad) {
      EXPECT_EQ(open.create(secretKey(row.type, ByteString(n, 1)), &key), CKR_ATTRIBUTE_VALUE_INVALID) << n;
    }
  }
  CK_OBJECT_HANDLE key = 0;
  EXPECT_EQ(open.create(secretKey(CKK_DES, ByteString(8, 3)), &key), CKR_ATTRIBUTE_VALUE_INVALID) << "even parity";
}

TEST(TokenMacs, AgreeWithThePublishedVectors) {
  if (!std::filesystem::exists(publishedVectors())) GTEST_SKIP() << "python3-cryptography-vectors is not installed";
  struct Row {
    const char* file;
    CK_MECHANISM_TYPE mechanism;
  };
  OpenDevice device;
  Session open;
  for (const Row& row : {Row{"rfc-2202-md5.txt", CKM_MD5_HMAC}, Row{"rfc-2202-sha1.txt", CKM_SHA_1_HMAC},
                         Row{"rfc-2286-ripemd160.txt", CKM_RIPEMD160_HMAC}}) {
    auto cases = vectorsOf(publishedVectors() / "HMAC" / row.file, "MD");
    ASSERT_GE(cases.size(), 6U) << row.file;
    for (Fields& vector : cases) {
      const ByteString message = fromHex(vector["Msg"]);
      const ByteString expected = fromHex(vector["MD"]);
      const CK_OBJECT_HANDLE key = open.created(secretKey(CKK_GENERIC_SECRET, fromHex(vector["Key"])));
      const CK_MECHANISM mechanism{row.mechanism, nullptr, 0};
      ByteString mac(64);
      CK_ULONG n = mac.size();
      ASSERT_EQ(open.ki.signInit(open.handle, &mechanism, key), CKR_OK);
      ASSERT_EQ(open.ki.sign(open.handle, message.data(), message.size(), mac.data(), &n), CKR_OK);
      mac.resize(n);
      EXPECT_EQ(mac, expected) << row.file;
      ASSERT_EQ(open.ki.verifyInit(open.handle, &mechanism, key), CKR_OK);
      EXPECT_EQ(open.ki.verify(open.handle, message.data(), message.size(), mac.data(), n), CKR_OK);
      mac[0] ^= 1;
      ASSERT_EQ(open.ki.verifyInit(open.handle, &mechanism, key), CKR_OK);
      ASSERT_EQ(open.ki.verifyUpdate(open.handle, message.data(), message.size()), CKR_OK);
      EXPECT_EQ(open.ki.verifyFinal(open.handle, mac.data(), n), CKR_SIGNATURE_INVALID);
      ASSERT_EQ(open.ki.verifyInit(open.handle, &mechanism, key), CKR_OK);
      EXPECT_EQ(open.ki.verify(open.handle, message.data(), message.size(), mac.data(), n - 1),
                CKR_SIGNATURE_LEN_RANGE);
      if (row.mechanism != CKM_SHA_1_HMAC) continue;
      const ByteString secret = fromHex(vector["Key"]);
      ASSERT_TRUE(device.device.setSignatureAlgorithm("1.3.6.1.5.5.8.1.2"));
      EXPECT_TRUE(device.device.verifyWithSecret(message.data(), message.size(), expected.data(), expected.size(),
                                                 secret.data(), secret.size()));
      EXPECT_FALSE(
          device.device.verifySecret(message.data(), message.size(), Signature(mac), secret.data(), secret.size()));
    }
  }
}

TEST(PasswordKeys, AgreeWithOpenSSLAndTheRFCs) {
  Session open;
  const ByteString salt = {1, 2, 3, 4, 5, 6, 7, 8};
  ByteString password = {0, 's', 0, 'm', 0, 'e', 0, 'g', 0, 0};
  struct Row {
    CK_MECHANISM_TYPE mechanism;
    std::size_t length;
    int id;
    bool parity;
  };
  for (const Row& row : {Row{CKM_PBE_SHA1_DES3_EDE_CBC, 24, 1, true}, Row{CKM_PBE_SHA1_DES2_EDE_CBC, 16, 1, true},
                         Row{CKM_PBE_SHA1_RC2_40_CBC, 5, 1, false}, Row{CKM_PBE_SHA1_RC2_128_CBC, 16, 1, false},
                         Row{CKM_PBA_SHA1_WITH_SHA1_HMAC, 20, 3, false}}) {
    ByteString expected(row.length);
    ByteString iv(8);
    ASSERT_EQ(
        PKCS12_key_gen_uni(password.data(), static_cast<int>(password.size()), const_cast<unsigned char*>(salt.data()),
                           8, row.id, 1000, static_cast<int>(row.length), expected.data(), EVP_sha1()),
        1);
    ASSERT_EQ(PKCS12_key_gen_uni(password.data(), static_cast<int>(password.size()),
                                 const_cast<unsigned char*>(salt.data()), 8, 2, 1000, 8, iv.data(), EVP_sha1()),
              1);
    for (unsigned char& octet : expected) {
      if (row.parity && std::popcount(octet) % 2 == 0) octet ^= 1;
    }
    ByteString vector(8);
    PBEParameters given{
        vector.data(), password.data(), password.size(), const_cast<unsigned char*>(salt.data()), salt.size(), 1000};
    CK_MECHANISM mechanism{row.mechanism, &given, sizeof given};
    CK_OBJECT_HANDLE key = 0;
    ASSERT_EQ(open.ki.generateKey(open.handle, &mechanism, nullptr, 0, &key), CKR_OK);
    ByteString value(64);
    CK_ATTRIBUTE wanted{CKA_VALUE, value.data(), value.size()};
    ASSERT_EQ(open.ki.getAttributeValue(open.handle, key, &wanted, 1), CKR_OK);
    value.resize(wanted.ulValueLen);
    EXPECT_EQ(value, expected) << row.mechanism;
    EXPECT_EQ(vector, row.id == 1 ? iv : ByteString(8)) << row.mechanism;
    given.iterations = 0;
    EXPECT_EQ(open.ki.generateKey(open.handle, &mechanism, nullptr, 0, &key), CKR_MECHANISM_PARAM_INVALID);
  }
}

// OpenSSL has DES in its legacy provider alone.
TEST(PasswordKeys, OpenWhatPKCS5Enciphered) {
  const std::unique_ptr<OSSL_PROVIDER, decltype(&OSSL_PROVIDER_unload)> legacy(OSSL_PROVIDER_load(nullptr, "legacy"),
                                                                               OSSL_PROVIDER_unload);
  if (legacy == nullptr) GTEST_SKIP() << "OpenSSL's legacy provider is not installed";
  const std::unique_ptr<OSSL_PROVIDER, decltype(&OSSL_PROVIDER_unload)> usual(OSSL_PROVIDER_load(nullptr, "default"),
                                                                              OSSL_PROVIDER_unload);
  ByteString salt = {8, 7, 6, 5, 4, 3, 2, 1};
  ByteString password = {'p', 'a', 's', 's'};
  const ByteString text(21, 't');
  const std::unique_ptr<X509_ALGOR, decltype(&X509_ALGOR_free)> algorithm(
      PKCS5_pbe_set(NID_pbeWithMD5AndDES_CBC, 1000, salt.data(), static_cast<int>(salt.size())), X509_ALGOR_free);
  unsigned char* made = nullptr;
  int length = 0;
  ASSERT_NE(PKCS12_pbe_crypt(algorithm.get(), "pass", 4, text.data(), static_cast<int>(text.size()), &made, &length, 1),
            nullptr);
  const ByteString sealed(made, made + length);
  OPENSSL_free(made);
  Session open;
  ByteString vector(8);
  PBEParameters given{vector.data(), password.data(), password.size(), salt.data(), salt.size(), 1000};
  const CK_MECHANISM generation{CKM_PBE_MD5_DES_CBC, &given, sizeof given};
  CK_OBJECT_HANDLE key = 0;
  ASSERT_EQ(open.ki.generateKey(open.handle, &generation, nullptr, 0, &key), CKR_OK);
  const CK_MECHANISM cipher{CKM_DES_CBC_PAD, vector.data(), vector.size()};
  EXPECT_EQ(crypted(open, Way::kDecrypt, cipher, key, sealed).octets, text);
}

TEST(PasswordKeys, FollowPBKDF2) {
  if (!std::filesystem::exists(publishedVectors())) GTEST_SKIP() << "python3-cryptography-vectors is not installed";
  Session open;
  auto cases = vectorsOf(publishedVectors() / "KDF" / "rfc-6070-PBKDF2-SHA1.txt", "DERIVED_KEY");
  ASSERT_GE(cases.size(), 5U);
  for (Fields& vector : cases) {
    std::string password = vector["PASSWORD"];
    std::string salt = vector["SALT"];
    if (std::stoul(vector["ITERATIONS"]) > 100000 || password.find('\\') != std::string::npos) continue;
    CK_ULONG passwordLength = password.size();
    PBKD2Parameters given{kSaltSpecified, salt.data(), salt.size(), std::stoul(vector["ITERATIONS"]),
                          kPRFHmacSHA1,   nullptr,     0,           reinterpret_cast<unsigned char*>(password.data()),
                          &passwordLength};
    CK_MECHANISM mechanism{CKM_PKCS5_PBKD2, &given, sizeof given};
    Template wantedKey{number(CKA_CLASS, CKO_SECRET_KEY), number(CKA_KEY_TYPE, CKK_GENERIC_SECRET),
                       number(CKA_VALUE_LEN, std::stoul(vector["LENGTH"]))};
    const auto attributes = attributesOf(wantedKey);
    CK_OBJECT_HANDLE key = 0;
    ASSERT_EQ(open.ki.generateKey(open.handle, &mechanism, attributes.data(), attributes.size(), &key), CKR_OK);
    ByteString value(64);
    CK_ATTRIBUTE wanted{CKA_VALUE, value.data(), value.size()};
    ASSERT_EQ(open.ki.getAttributeValue(open.handle, key, &wanted, 1), CKR_OK);
    value.resize(wanted.ulValueLen);
    EXPECT_EQ(value, fromHex(vector["DERIVED_KEY"]));
  }
}

TEST(TokenMacs, RC2IsHalfOfTheLastBlockOfItsCBC) {
  Session open;
  const CK_OBJECT_HANDLE key = open.created(secretKey(CKK_RC2, ByteString(16, 0x5A)));
  RC2Parameters parameters{128, {}};
  const CK_MECHANISM cbc{CKM_RC2_CBC, &parameters, sizeof parameters};
  const CK_MECHANISM mac{CKM_RC2_MAC, &parameters, sizeof parameters.effectiveBits};
  const ByteString message(21, 'm');
  const ByteString filled = message + ByteString(3);
  const ByteString blocks = crypted(open, Way::kEncrypt, cbc, key, filled).octets;
  ASSERT_EQ(blocks.size(), 24U);
  ByteString value(8);
  CK_ULONG n = value.size();
  ASSERT_EQ(open.ki.signInit(open.handle, &mac, key), CKR_OK);
  ASSERT_EQ(open.ki.signUpdate(open.handle, message.data(), 13), CKR_OK);
  ASSERT_EQ(open.ki.signUpdate(open.handle, message.data() + 13, 8), CKR_OK);
  ASSERT_EQ(open.ki.signFinal(open.handle, value.data(), &n), CKR_OK);
  value.resize(n);
  EXPECT_EQ(value, ByteString(blocks.begin() + 16, blocks.begin() + 20));
  const CK_MECHANISM bare{CKM_RC2_MAC, nullptr, 0};
  EXPECT_EQ(open.ki.signInit(open.handle, &bare, key), CKR_MECHANISM_PARAM_INVALID);
}

TEST(TokenMacs, KeysMayBeDigested) {
  Session open;
  const CK_OBJECT_HANDLE key = open.created(secretKey(CKK_GENERIC_SECRET, {'a', 'b'}));
  const CK_MECHANISM sha1{CKM_SHA_1, nullptr, 0};
  ByteString value(20);
  CK_ULONG n = value.size();
  const unsigned char last = 'c';
  EXPECT_EQ(open.ki.digestKey(open.handle, key), CKR_OPERATION_NOT_INITIALIZED);
  ASSERT_EQ(open.ki.digestInit(open.handle, &sha1), CKR_OK);
  EXPECT_EQ(open.ki.digestKey(open.handle, open.created(rsaKey())), CKR_KEY_INDIGESTIBLE);
  ASSERT_EQ(open.ki.digestKey(open.handle, key), CKR_OK);
  ASSERT_EQ(open.ki.digestUpdate(open.handle, &last, 1), CKR_OK);
  ASSERT_EQ(open.ki.digestFinal(open.handle, value.data(), &n), CKR_OK);
  EXPECT_EQ(value, digestOf("SHA1", {'a', 'b', 'c'}));
}

TEST(PasswordKeys, MakeTheMacOfCMP) {
  const std::unique_ptr<OSSL_CRMF_PBMPARAMETER, decltype(&OSSL_CRMF_PBMPARAMETER_free)> made(
      OSSL_CRMF_pbmp_new(nullptr, 16, NID_sha256, 500, NID_hmac_sha1), OSSL_CRMF_PBMPARAMETER_free);
  ASSERT_NE(made, nullptr);
  PBMParameter parameter;
  ASSERT_TRUE(coded(parameter, builder::encoded(made.get(), i2d_OSSL_CRMF_PBMPARAMETER)).read);
  const ByteString password = {'p', 'w'};
  const ByteString message = {'m', 's', 'g'};
  unsigned char* octets = nullptr;
  std::size_t length = 0;
  ASSERT_EQ(OSSL_CRMF_pbm_new(nullptr, nullptr, made.get(), message.data(), message.size(), password.data(),
                              password.size(), &octets, &length),
            1);
  const ByteString expected(octets, octets + length);
  OPENSSL_free(octets);
  HMAC mac(std::make_unique<SHA1>());
  ASSERT_TRUE(mac.setPassword(password, parameter));
  mac.update(message);
  ByteString value(mac.length());
  EXPECT_EQ(mac.final(value), 20U);
  EXPECT_EQ(value, expected);
  mac.clear();
  EXPECT_EQ(mac.length(), 0U);
  EXPECT_FALSE(HMAC(std::make_unique<SHA1>()).setPassword(password, PBMParameter()));
}

}  // namespace keystrand::test
