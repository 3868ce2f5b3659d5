// The token's ciphers, MACs and keys out of passwords, against published vectors and OpenSSL.
#include <gtest/gtest.h>
#include <openssl/crmf.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <p11-kit/pkcs11.h>

#include <bit>
#include <fstream>
#include <sstream>
#include <tuple>

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

// The steps of one direction.
struct Way {
  Session::Begin begin;
  Session::Whole whole, update;
  Session::Final final;
};
constexpr Way kEncrypt{&CryptoKi::encryptInit, &CryptoKi::encrypt, &CryptoKi::encryptUpdate, &CryptoKi::encryptFinal};
constexpr Way kDecrypt{&CryptoKi::decryptInit, &CryptoKi::decrypt, &CryptoKi::decryptUpdate, &CryptoKi::decryptFinal};

// In one call, or in parts of that many octets.
Answer crypted(Session& open, const Way& way, const Mechanism& mechanism, CK_OBJECT_HANDLE key, const ByteString& data,
               std::size_t part = 0) {
  Answer all{open.begin(way.begin, mechanism, key), {}};
  if (all.code != CKR_OK) return all;
  if (part == 0) return open.call(way.whole, data);
  const auto add = [&all](const Answer& more) {
    all.code = more.code;
    all.octets.insert(all.octets.end(), more.octets.begin(), more.octets.end());
  };
  for (std::size_t at = 0; at < data.size() && all.code == CKR_OK; at += part)
    add(open.call(way.update, slice(data, at, part)));
  if (all.code == CKR_OK) add(open.call(way.final));
  return all;
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

ByteString withOddParity(ByteString key) {
  for (unsigned char& octet : key)
    if (std::popcount(octet) % 2 == 0) octet ^= 1;
  return key;
}

}  // namespace

TEST(TokenCiphers, AgreeWithThePublishedVectors) {
  Session open;
  for (const CipherFile& file : kFiles) {
    auto cases = vectorsOf(publishedVectors() / "ciphers" / file.path, "CIPHERTEXT");
    ASSERT_GE(cases.size(), 10U) << file.path;
    for (Fields& vector : cases) {
      if (vector["section"] != "ENCRYPT") continue;
      const CK_OBJECT_HANDLE key = open.created(secretKey(file.keyType, keyOf(file, vector)));
      const ByteString iv = fromHex(vector["IV"]);
      const Mechanism mechanism(file.mechanism, iv);
      const ByteString plain = fromHex(vector["PLAINTEXT"]);
      const ByteString cipher = fromHex(vector["CIPHERTEXT"]);
      EXPECT_EQ(crypted(open, kEncrypt, mechanism, key, plain).octets, cipher) << file.path;
      EXPECT_EQ(crypted(open, kDecrypt, mechanism, key, cipher).octets, plain) << file.path;
      EXPECT_EQ(crypted(open, kEncrypt, mechanism, key, plain, 5).octets, cipher) << file.path;
      EXPECT_EQ(crypted(open, kDecrypt, mechanism, key, cipher, 9).octets, plain) << file.path;
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
    const Mechanism mechanism(CKM_RC2_ECB, bits);
    EXPECT_EQ(crypted(open, kEncrypt, mechanism, handle, fromHex(plain)).octets, fromHex(cipher)) << key;
    EXPECT_EQ(crypted(open, kDecrypt, mechanism, handle, fromHex(cipher)).octets, fromHex(plain)) << key;
    ++cases;
  }
  EXPECT_EQ(cases, 8);
}

TEST(TokenCiphers, PadAndRefuseWhatIsNotPadded) {
  Session open;
  const ByteString iv(16, 7);
  const ByteString aesKey(32, 0x2B);
  const CK_OBJECT_HANDLE key = open.created(secretKey(CKK_AES, aesKey));
  const CK_OBJECT_HANDLE mute = open.created(with(secretKey(CKK_AES, aesKey), flag(CKA_DECRYPT, false)));
  const Mechanism padded(CKM_AES_CBC_PAD, iv);
  const Mechanism blocks(CKM_AES_CBC, iv);
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
    for (const std::size_t part : {0U, 5U, 7U}) {
      EXPECT_EQ(crypted(open, kEncrypt, padded, key, text, part).octets, expected) << length;
      EXPECT_EQ(crypted(open, kDecrypt, padded, key, expected, part).octets, text) << length;
    }
  }
  const ByteString block(16, 3);
  struct Row {
    const char* name;
    const Way& way;
    Mechanism mechanism;
    CK_OBJECT_HANDLE key;
    ByteString data;
    CK_RV code;
    std::size_t part = 0;
  };
  for (const Row& row :
       {Row{"no whole block", kEncrypt, blocks, key, ByteString(15), CKR_DATA_LEN_RANGE},
        Row{"no whole block back", kDecrypt, blocks, key, ByteString(17), CKR_ENCRYPTED_DATA_LEN_RANGE},
        Row{"no padding at all", kDecrypt, padded, key, {}, CKR_ENCRYPTED_DATA_LEN_RANGE},
        Row{"bad padding", kDecrypt, padded, key, block, CKR_ENCRYPTED_DATA_INVALID},
        Row{"bad padding in parts", kDecrypt, padded, key, block, CKR_ENCRYPTED_DATA_INVALID, 3},
        Row{"short vector", kEncrypt, {CKM_AES_CBC, slice(iv, 8)}, key, block, CKR_MECHANISM_PARAM_INVALID},
        Row{"key of another cipher", kEncrypt, CKM_DES_ECB, key, block, CKR_KEY_TYPE_INCONSISTENT},
        Row{"no cipher", kEncrypt, CKM_SHA_1, key, block, CKR_MECHANISM_INVALID},
        Row{"no key", kEncrypt, padded, 999, block, CKR_KEY_HANDLE_INVALID},
        Row{"not for this", kDecrypt, padded, mute, block, CKR_KEY_FUNCTION_NOT_PERMITTED}})
    EXPECT_EQ(crypted(open, row.way, row.mechanism, row.key, row.data, row.part).code, row.code) << row.name;
}

TEST(TokenCiphers, TakeKeysOfTheirLengthAlone) {
  Session open;
  CK_OBJECT_HANDLE key = 0;
  using Row = std::tuple<CK_KEY_TYPE, std::vector<std::size_t>, std::vector<std::size_t>>;
  for (const auto& [type, good, bad] :
       {Row{CKK_AES, {16, 24, 32}, {0, 8, 15, 33}}, Row{CKK_DES, {8}, {7, 16}}, Row{CKK_DES2, {16}, {8, 24}},
        Row{CKK_DES3, {24}, {16, 32}}, Row{CKK_RC2, {1, 128}, {0, 129}}, Row{CKK_GENERIC_SECRET, {1, 500}, {0}}}) {
    for (const std::size_t n : good) EXPECT_EQ(open.create(secretKey(type, ByteString(n, 1)), &key), CKR_OK) << n;
    for (const std::size_t n : bad)
      EXPECT_EQ(open.create(secretKey(type, ByteString(n, 1)), &key), CKR_ATTRIBUTE_VALUE_INVALID) << n;
  }
  EXPECT_EQ(open.create(secretKey(CKK_DES, ByteString(8, 3)), &key), CKR_ATTRIBUTE_VALUE_INVALID) << "even parity";
}

TEST(TokenMacs, AgreeWithThePublishedVectors) {
  OpenDevice device;
  Session open;
  for (const auto& [file, mechanism] : {std::pair{"rfc-2202-md5.txt", CKM_MD5_HMAC},
                                        {"rfc-2202-sha1.txt", CKM_SHA_1_HMAC},
                                        {"rfc-2286-ripemd160.txt", CKM_RIPEMD160_HMAC}}) {
    auto cases = vectorsOf(publishedVectors() / "HMAC" / file, "MD");
    ASSERT_GE(cases.size(), 6U) << file;
    for (Fields& vector : cases) {
      const ByteString message = fromHex(vector["Msg"]);
      const ByteString expected = fromHex(vector["MD"]);
      const ByteString secret = fromHex(vector["Key"]);
      const CK_OBJECT_HANDLE key = open.created(secretKey(CKK_GENERIC_SECRET, secret));
      ASSERT_EQ(open.begin(&CryptoKi::signInit, mechanism, key), CKR_OK);
      EXPECT_EQ(open.call(&CryptoKi::sign, message).octets, expected) << file;
      for (const auto& [mac, code] : {std::pair{expected, CKR_OK},
                                      {withBitFlipped(expected), CKR_SIGNATURE_INVALID},
                                      {slice(expected, 1), CKR_SIGNATURE_LEN_RANGE}}) {
        ASSERT_EQ(open.begin(&CryptoKi::verifyInit, mechanism, key), CKR_OK);
        EXPECT_EQ(open.verify(message, mac), code) << file;
        ASSERT_EQ(open.begin(&CryptoKi::verifyInit, mechanism, key), CKR_OK);
        ASSERT_EQ(open.call(&CryptoKi::verifyUpdate, message), CKR_OK);
        EXPECT_EQ(open.ki.verifyFinal(open.handle, mac.data(), mac.size()), code) << file;
      }
      if (mechanism != CKM_SHA_1_HMAC) continue;
      ASSERT_TRUE(device.device.setSignatureAlgorithm("1.3.6.1.5.5.8.1.2"));
      EXPECT_TRUE(device.device.verifyWithSecret(message.data(), message.size(), expected.data(), expected.size(),
                                                 secret.data(), secret.size()));
      EXPECT_FALSE(device.device.verifySecret(message.data(), message.size(), Signature(withBitFlipped(expected)),
                                              secret.data(), secret.size()));
    }
  }
}

TEST(PasswordKeys, AgreeWithOpenSSLAndTheRFCs) {
  Session open;
  ByteString salt = {1, 2, 3, 4, 5, 6, 7, 8};
  ByteString password = {0, 's', 0, 'm', 0, 'e', 0, 'g', 0, 0};
  const auto byOpenSSL = [&](int id, std::size_t length) {
    ByteString made(length);
    EXPECT_EQ(PKCS12_key_gen_uni(password.data(), static_cast<int>(password.size()), salt.data(), 8, id, 1000,
                                 static_cast<int>(length), made.data(), EVP_sha1()),
              1);
    return made;
  };
  struct Row {
    CK_MECHANISM_TYPE mechanism;
    std::size_t length;
    int id;
    bool parity;
  };
  for (const Row& row : {Row{CKM_PBE_SHA1_DES3_EDE_CBC, 24, 1, true}, Row{CKM_PBE_SHA1_DES2_EDE_CBC, 16, 1, true},
                         Row{CKM_PBE_SHA1_RC2_40_CBC, 5, 1, false}, Row{CKM_PBE_SHA1_RC2_128_CBC, 16, 1, false},
                         Row{CKM_PBA_SHA1_WITH_SHA1_HMAC, 20, 3, false}}) {
    const ByteString made = byOpenSSL(row.id, row.length);
    const ByteString expected = row.parity ? withOddParity(made) : made;
    ByteString vector(8);
    PBEParameters given{vector.data(), password.data(), password.size(), salt.data(), salt.size(), 1000};
    CK_OBJECT_HANDLE key = 0;
    ASSERT_EQ(open.generate({row.mechanism, given}, {}, &key), CKR_OK);
    EXPECT_EQ(open.attribute(key, CKA_VALUE).octets, expected) << row.mechanism;
    EXPECT_EQ(vector, row.id == 1 ? byOpenSSL(2, 8) : ByteString(8)) << row.mechanism;
    given.iterations = 0;
    EXPECT_EQ(open.generate({row.mechanism, given}, {}, &key), CKR_MECHANISM_PARAM_INVALID);
  }
}

// What EVP_BytesToKey makes with MD5 are the first sixteen octets of PBKDF1: a key of DES and its vector.
TEST(PasswordKeys, OfPKCS5AreThoseOfPBKDF1) {
  Session open;
  ByteString salt = {8, 7, 6, 5, 4, 3, 2, 1};
  ByteString expected(8), expectedVector(8), vector(8), password = {'p', 'a', 's', 's'};
  ASSERT_EQ(EVP_BytesToKey(EVP_des_cbc(), EVP_md5(), salt.data(), password.data(), 4, 1000, expected.data(),
                           expectedVector.data()),
            8);
  PBEParameters given{vector.data(), password.data(), password.size(), salt.data(), salt.size(), 1000};
  CK_OBJECT_HANDLE key = 0;
  ASSERT_EQ(open.generate({CKM_PBE_MD5_DES_CBC, given}, {}, &key), CKR_OK);
  EXPECT_EQ(open.attribute(key, CKA_VALUE).octets, withOddParity(expected));
  EXPECT_EQ(vector, expectedVector);
}

TEST(PasswordKeys, FollowPBKDF2) {
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
    CK_OBJECT_HANDLE key = 0;
    ASSERT_EQ(open.generate({CKM_PKCS5_PBKD2, given},
                            {number(CKA_CLASS, CKO_SECRET_KEY), number(CKA_KEY_TYPE, CKK_GENERIC_SECRET),
                             number(CKA_VALUE_LEN, std::stoul(vector["LENGTH"]))},
                            &key),
              CKR_OK);
    EXPECT_EQ(open.attribute(key, CKA_VALUE).octets, fromHex(vector["DERIVED_KEY"]));
  }
}

TEST(TokenMacs, RC2IsHalfOfTheLastBlockOfItsCBC) {
  Session open;
  const CK_OBJECT_HANDLE key = open.created(secretKey(CKK_RC2, ByteString(16, 0x5A)));
  RC2Parameters parameters{128, {}};
  const ByteString message(21, 'm');
  const ByteString blocks = crypted(open, kEncrypt, {CKM_RC2_CBC, parameters}, key, message + ByteString(3)).octets;
  ASSERT_EQ(blocks.size(), 24U);
  ASSERT_EQ(open.begin(&CryptoKi::signInit, {CKM_RC2_MAC, parameters.effectiveBits}, key), CKR_OK);
  ASSERT_EQ(open.call(&CryptoKi::signUpdate, slice(message, 0, 13)), CKR_OK);
  ASSERT_EQ(open.call(&CryptoKi::signUpdate, slice(message, 13)), CKR_OK);
  EXPECT_EQ(open.call(&CryptoKi::signFinal).octets, slice(blocks, 16, 4));
  EXPECT_EQ(open.begin(&CryptoKi::signInit, CKM_RC2_MAC, key), CKR_MECHANISM_PARAM_INVALID);
}

TEST(TokenMacs, KeysMayBeDigested) {
  Session open;
  const CK_OBJECT_HANDLE key = open.created(secretKey(CKK_GENERIC_SECRET, {'a', 'b'}));
  const Mechanism sha1(CKM_SHA_1);
  EXPECT_EQ(open.ki.digestKey(open.handle, key), CKR_OPERATION_NOT_INITIALIZED);
  ASSERT_EQ(open.ki.digestInit(open.handle, &sha1), CKR_OK);
  EXPECT_EQ(open.ki.digestKey(open.handle, open.created(rsaKey())), CKR_KEY_INDIGESTIBLE);
  ASSERT_EQ(open.ki.digestKey(open.handle, key), CKR_OK);
  ASSERT_EQ(open.call(&CryptoKi::digestUpdate, ByteString{'c'}), CKR_OK);
  EXPECT_EQ(open.call(&CryptoKi::digestFinal).octets, digestOf("SHA1", {'a', 'b', 'c'}));
}

TEST(PasswordKeys, MakeTheMacOfCMP) {
  const std::unique_ptr<OSSL_CRMF_PBMPARAMETER, decltype(&OSSL_CRMF_PBMPARAMETER_free)> made(
      OSSL_CRMF_pbmp_new(nullptr, 16, NID_sha256, 500, NID_hmac_sha1), OSSL_CRMF_PBMPARAMETER_free);
  ASSERT_NE(made, nullptr);
  PBMParameter parameter;
  ASSERT_TRUE(coded(parameter, builder::encoded(made.get(), i2d_OSSL_CRMF_PBMPARAMETER)).read);
  const ByteString password = {'p', 'w'};
  unsigned char* octets = nullptr;
  std::size_t length = 0;
  ASSERT_EQ(OSSL_CRMF_pbm_new(nullptr, nullptr, made.get(), kMessage.data(), kMessage.size(), password.data(),
                              password.size(), &octets, &length),
            1);
  const ByteString expected(octets, octets + length);
  OPENSSL_free(octets);
  HMAC mac(std::make_unique<SHA1>());
  ASSERT_TRUE(mac.setPassword(password, parameter));
  mac.update(kMessage);
  ByteString value(mac.length());
  EXPECT_EQ(mac.final(value), 20U);
  EXPECT_EQ(value, expected);
  mac.clear();
  EXPECT_EQ(mac.length(), 0U);
  EXPECT_FALSE(HMAC(std::make_unique<SHA1>()).setPassword(password, PBMParameter()));
}

}  // namespace keystrand::test
