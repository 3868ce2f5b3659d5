// The operations of the built-in token by the rules of the standard: digests, signatures, random numbers.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <tuple>

#include "TokenObjects.h"
#include "keystrand/crypto/RSAPublicKey.h"
#include "support/Coding.h"
#include "support/OwnKeys.h"

namespace keystrand::test {
namespace {

ByteString magnitude(const BigInteger& value) {
  ByteString octets(value.magnitudeLength());
  value.magnitude(octets);
  return octets;
}

// A private key that OpenSSL made, and the RSA key to it that is public.
Template privateTemplate(const PrivateKey& key) {
  const auto own = ownKey(key);
  if (const auto* rsa = dynamic_cast<const RSAPrivateKey*>(own.get())) {
    return {number(CKA_CLASS, CKO_PRIVATE_KEY),
            number(CKA_KEY_TYPE, CKK_RSA),
            {CKA_MODULUS, magnitude(rsa->modulus())},
            {CKA_PUBLIC_EXPONENT, magnitude(rsa->publicExponent())},
            {CKA_PRIVATE_EXPONENT, magnitude(rsa->privateExponent())}};
  }
  const auto& ec = dynamic_cast<const ECDSAPrivateKey&>(*own);
  Buffer domain;
  ec.parametersView()->put(domain);
  return {number(CKA_CLASS, CKO_PRIVATE_KEY),
          number(CKA_KEY_TYPE, CKK_EC),
          {CKA_EC_PARAMS, held(domain)},
          {CKA_VALUE, magnitude(ec.value())}};
}
Template publicTemplate(const PrivateKey& key) {
  return rsaKey(magnitude(dynamic_cast<const RSAPublicKey&>(*keyInfoOf(key)->keyView()).modulus()));
}

// What stands in a signature with PKCS #1 v1.5 padding.
ByteString paddedBlock(const ByteString& content, std::size_t length) {
  return fromHex("0001") + ByteString(length - content.size() - 3, 0xFF) + ByteString{0} + content;
}

class TokenOperations : public testing::Test {
 protected:
  CK_RV begin(Session::Begin step, const Mechanism& mechanism, CK_OBJECT_HANDLE key) {
    return open.begin(step, mechanism, key);
  }
  CK_RV beginDigest(const Mechanism& mechanism) { return open.ki.digestInit(open.handle, &mechanism); }

  Session open;
  CryptoKi& ki = open.ki;
  const PrivateKey rsaPair = privateKey("RSA-1024");
  const CK_OBJECT_HANDLE rsa = open.created(privateTemplate(rsaPair));
  const CK_OBJECT_HANDLE rsaPublic = open.created(publicTemplate(rsaPair));
  const ByteString signature = signatureRound(rsaPair, kMessage);
};

}  // namespace

// Asking for the length, or offering too little room, leaves an operation as it is; any other answer ends it.
TEST_F(TokenOperations, BeginGoOnAndEndByTheRules) {
  const CK_OBJECT_HANDLE aes = open.created(secretKey(CKK_AES, ByteString(16)));
  const ByteString zeros(16);
  const ByteString enciphered = fromHex("66E94BD4EF8A2C3B884CFA59CA342B2E");
  using Row = std::tuple<const char*, std::function<CK_RV()>, Session::Whole, ByteString, ByteString>;
  for (const auto& [name, begin, whole, in, out] :
       {Row{"digest", [&] { return beginDigest(CKM_SHA256); }, &CryptoKi::digest, kMessage,
            digestOf("SHA256", kMessage)},
        Row{"sign", [&] { return begin(&CryptoKi::signInit, CKM_RSA_PKCS, rsa); }, &CryptoKi::sign, kMessage,
            signature},
        Row{"sign with recovery", [&] { return begin(&CryptoKi::signRecoverInit, CKM_RSA_PKCS, rsa); },
            &CryptoKi::signRecover, kMessage, signature},
        Row{"recover", [&] { return begin(&CryptoKi::verifyRecoverInit, CKM_RSA_PKCS, rsaPublic); },
            &CryptoKi::verifyRecover, signature, kMessage},
        Row{"encrypt", [&] { return begin(&CryptoKi::encryptInit, CKM_AES_ECB, aes); }, &CryptoKi::encrypt, zeros,
            enciphered},
        Row{"decrypt", [&] { return begin(&CryptoKi::decryptInit, CKM_AES_ECB, aes); }, &CryptoKi::decrypt, enciphered,
            zeros}}) {
    EXPECT_EQ(open.call(whole, in).code, CKR_OPERATION_NOT_INITIALIZED) << name;
    ASSERT_EQ(begin(), CKR_OK) << name;
    EXPECT_EQ(begin(), CKR_OPERATION_ACTIVE) << name;
    for (const auto& [room, code] : {std::pair{std::size_t{0}, CKR_OK}, {out.size() - 1, CKR_BUFFER_TOO_SMALL}}) {
      const Answer asked = open.call(whole, in, room);
      EXPECT_EQ(asked.code, code) << name;
      EXPECT_EQ(asked.length, out.size()) << name;
    }
    const Answer done = open.call(whole, in);
    EXPECT_EQ(done.code, CKR_OK) << name;
    EXPECT_EQ(done.octets, out) << name;
    EXPECT_EQ(open.call(whole, in).code, CKR_OPERATION_NOT_INITIALIZED) << name;
  }
}

TEST_F(TokenOperations, GoOnInParts) {
  EXPECT_EQ(open.call(&CryptoKi::digestUpdate, kMessage), CKR_OPERATION_NOT_INITIALIZED);
  ASSERT_EQ(beginDigest(CKM_SHA256), CKR_OK);
  ASSERT_EQ(open.call(&CryptoKi::digestUpdate, slice(kMessage, 0, 1)), CKR_OK);
  EXPECT_EQ(open.call(&CryptoKi::digestFinal, 1).code, CKR_BUFFER_TOO_SMALL);
  ASSERT_EQ(open.call(&CryptoKi::digestUpdate, slice(kMessage, 1)), CKR_OK);
  EXPECT_EQ(open.call(&CryptoKi::digestFinal).octets, digestOf("SHA256", kMessage));
  for (const auto& [init, update, key] : {std::tuple{&CryptoKi::signInit, &CryptoKi::signUpdate, rsa},
                                          {&CryptoKi::verifyInit, &CryptoKi::verifyUpdate, rsaPublic}}) {
    ASSERT_EQ(begin(init, CKM_RSA_PKCS, key), CKR_OK);
    EXPECT_EQ(open.call(update, kMessage), CKR_MECHANISM_INVALID) << "in one part only";
  }
  ASSERT_EQ(begin(&CryptoKi::signInit, CKM_SHA256_RSA_PKCS, rsa), CKR_OK);
  EXPECT_EQ(open.call(&CryptoKi::signUpdate, kMessage), CKR_OK);
  EXPECT_EQ(ki.destroyObject(open.handle, rsa), CKR_OK) << "the operation keeps its key";
  EXPECT_EQ(open.call(&CryptoKi::signFinal, 1).code, CKR_BUFFER_TOO_SMALL);
  EXPECT_TRUE(verifiesInOpenSSL(rsaPair, {"SHA256"}, kMessage, open.call(&CryptoKi::signFinal).octets));
}

TEST_F(TokenOperations, WantAKeyAndAMechanismThatFit) {
  for (const CK_MECHANISM_TYPE none : {CKM_RIPEMD128, CKM_MD2, CKM_RSA_PKCS, CKM_SHA512_256})
    EXPECT_EQ(beginDigest(none), CKR_MECHANISM_INVALID);
  const CK_OBJECT_HANDLE mute = open.created(with(privateTemplate(rsaPair), flag(CKA_SIGN, false)));
  Template forbidden = with(publicTemplate(rsaPair), flag(CKA_VERIFY, false));
  const CK_OBJECT_HANDLE deaf = open.created(with(forbidden, flag(CKA_VERIFY_RECOVER, false)));
  const CK_OBJECT_HANDLE text = open.created(note());
  CK_RSA_PKCS_PSS_PARAMS salted{CKM_SHA256, CKG_MGF1_SHA256, 20};
  using Row = std::tuple<const char*, Session::Begin, Mechanism, CK_OBJECT_HANDLE, CK_RV>;
  constexpr Session::Begin kSign = &CryptoKi::signInit;
  constexpr Session::Begin kSignRecover = &CryptoKi::signRecoverInit;
  constexpr Session::Begin kVerify = &CryptoKi::verifyInit;
  constexpr Session::Begin kRecover = &CryptoKi::verifyRecoverInit;
  for (const auto& [name, step, mechanism, key, result] :
       {Row{"no such key", kSign, CKM_RSA_PKCS, 999, CKR_KEY_HANDLE_INVALID},
        Row{"no key at all", kSign, CKM_RSA_PKCS, text, CKR_KEY_HANDLE_INVALID},
        Row{"a public key", kSign, CKM_RSA_PKCS, rsaPublic, CKR_KEY_FUNCTION_NOT_PERMITTED},
        Row{"not for signing", kSign, CKM_RSA_PKCS, mute, CKR_KEY_FUNCTION_NOT_PERMITTED},
        Row{"key of another type", kSign, CKM_ECDSA, rsa, CKR_KEY_TYPE_INCONSISTENT},
        Row{"no signature", kSign, CKM_SHA_1, rsa, CKR_MECHANISM_INVALID},
        Row{"PSS without parameters", kSign, CKM_SHA256_RSA_PKCS_PSS, rsa, CKR_MECHANISM_PARAM_INVALID},
        Row{"a digest recovers nothing", kSignRecover, CKM_SHA256_RSA_PKCS, rsa, CKR_MECHANISM_INVALID},
        Row{"no such key", kVerify, CKM_SHA256_RSA_PKCS, 999, CKR_KEY_HANDLE_INVALID},
        Row{"no key at all", kVerify, CKM_SHA256_RSA_PKCS, text, CKR_KEY_HANDLE_INVALID},
        Row{"not for verifying", kVerify, CKM_SHA256_RSA_PKCS, deaf, CKR_KEY_FUNCTION_NOT_PERMITTED},
        Row{"key of another type", kVerify, CKM_ECDSA, rsaPublic, CKR_KEY_TYPE_INCONSISTENT},
        Row{"ISO 9796", kVerify, CKM_RSA_9796, rsaPublic, CKR_MECHANISM_INVALID},
        Row{"PSS alone", kVerify, CKM_RSA_PKCS_PSS, rsaPublic, CKR_MECHANISM_INVALID},
        Row{"PSS without parameters", kVerify, CKM_SHA256_RSA_PKCS_PSS, rsaPublic, CKR_MECHANISM_PARAM_INVALID},
        Row{"other salt", kVerify, {CKM_SHA256_RSA_PKCS_PSS, salted}, rsaPublic, CKR_MECHANISM_PARAM_INVALID},
        Row{"a digest recovers nothing", kRecover, CKM_SHA256_RSA_PKCS, rsaPublic, CKR_MECHANISM_INVALID},
        Row{"no such key", kRecover, CKM_RSA_PKCS, 999, CKR_KEY_HANDLE_INVALID},
        Row{"not for recovering", kRecover, CKM_RSA_PKCS, deaf, CKR_KEY_FUNCTION_NOT_PERMITTED}}) {
    EXPECT_EQ(begin(step, mechanism, key), result) << name;
    EXPECT_EQ(open.call(&CryptoKi::sign, kMessage).code, CKR_OPERATION_NOT_INITIALIZED) << name;
    EXPECT_EQ(open.verify(kMessage, signature), CKR_OPERATION_NOT_INITIALIZED) << name;
  }
}

TEST_F(TokenOperations, VerifyAndRecoverWhatIsRight) {
  const ByteString hashed = signatureOf(rsaPair, {"SHA256"}, kMessage);
  const ByteString block = paddedBlock(kMessage, 128);
  struct Row {
    const char* name;
    CK_MECHANISM_TYPE mechanism;
    ByteString data, signature;
    CK_RV result;
  };
  for (const Row& row : {Row{"good", CKM_SHA256_RSA_PKCS, kMessage, hashed, CKR_OK},
                         Row{"spoilt", CKM_SHA256_RSA_PKCS, kMessage, withBitFlipped(hashed), CKR_SIGNATURE_INVALID},
                         Row{"short", CKM_SHA256_RSA_PKCS, kMessage, slice(hashed, 1), CKR_SIGNATURE_LEN_RANGE},
                         Row{"long", CKM_SHA256_RSA_PKCS, kMessage, ByteString{0} + hashed, CKR_SIGNATURE_LEN_RANGE},
                         Row{"bare", CKM_RSA_PKCS, kMessage, signature, CKR_OK},
                         Row{"bare with the padding", CKM_RSA_PKCS, block, signature, CKR_SIGNATURE_INVALID},
                         Row{"raw", CKM_RSA_X_509, block, signature, CKR_OK},
                         Row{"raw without the padding", CKM_RSA_X_509, kMessage, signature, CKR_SIGNATURE_INVALID}}) {
    ASSERT_EQ(begin(&CryptoKi::verifyInit, row.mechanism, rsaPublic), CKR_OK) << row.name;
    EXPECT_EQ(begin(&CryptoKi::verifyInit, row.mechanism, rsaPublic), CKR_OPERATION_ACTIVE) << row.name;
    EXPECT_EQ(open.verify(row.data, row.signature), row.result) << row.name;
    if (row.mechanism != CKM_SHA256_RSA_PKCS) continue;
    ASSERT_EQ(begin(&CryptoKi::verifyInit, row.mechanism, rsaPublic), CKR_OK) << row.name;
    EXPECT_EQ(open.call(&CryptoKi::verifyUpdate, slice(row.data, 0, 1)), CKR_OK) << row.name;
    EXPECT_EQ(open.call(&CryptoKi::verifyUpdate, slice(row.data, 1)), CKR_OK) << row.name;
    EXPECT_EQ(ki.verifyFinal(open.handle, row.signature.data(), row.signature.size()), row.result) << row.name;
    EXPECT_EQ(ki.verifyFinal(open.handle, hashed.data(), hashed.size()), CKR_OPERATION_NOT_INITIALIZED) << row.name;
  }
  struct Recovery {
    const char* name;
    CK_MECHANISM_TYPE mechanism;
    ByteString signature;
    CK_RV result;
    ByteString data = {};
  };
  for (const Recovery& row :
       {Recovery{"good", CKM_RSA_PKCS, signature, CKR_OK, kMessage},
        Recovery{"raw", CKM_RSA_X_509, signature, CKR_OK, block},
        Recovery{"spoilt", CKM_RSA_PKCS, withBitFlipped(signature), CKR_SIGNATURE_INVALID},
        Recovery{"short", CKM_RSA_PKCS, slice(signature, 1), CKR_SIGNATURE_LEN_RANGE},
        Recovery{"larger than the modulus", CKM_RSA_X_509, ByteString(128, 0xFF), CKR_SIGNATURE_INVALID}}) {
    ASSERT_EQ(begin(&CryptoKi::verifyRecoverInit, row.mechanism, rsaPublic), CKR_OK) << row.name;
    const Answer back = open.call(&CryptoKi::verifyRecover, row.signature);
    EXPECT_EQ(back.code, row.result) << row.name;
    EXPECT_EQ(back.octets, row.data) << row.name;
    EXPECT_EQ(open.call(&CryptoKi::verifyRecover, signature).code, CKR_OPERATION_NOT_INITIALIZED) << row.name;
  }
  ASSERT_EQ(begin(&CryptoKi::verifyInit, CKM_SHA256_RSA_PKCS, rsaPublic), CKR_OK);
  ASSERT_EQ(ki.destroyObject(open.handle, rsaPublic), CKR_OK);
  EXPECT_EQ(open.verify(kMessage, hashed), CKR_OK) << "a key in use goes when the operation ends";
}

TEST_F(TokenOperations, SignNoMoreThanTheyCan) {
  ASSERT_EQ(begin(&CryptoKi::signInit, CKM_RSA_PKCS, rsa), CKR_OK);
  EXPECT_EQ(open.call(&CryptoKi::sign, ByteString(118, 0x55)).code, CKR_DATA_LEN_RANGE) << "no room for the padding";
  const CK_OBJECT_HANDLE ec = open.created(privateTemplate(privateKey("P-256")));
  ASSERT_EQ(begin(&CryptoKi::signInit, CKM_ECDSA, ec), CKR_OK);
  EXPECT_EQ(open.call(&CryptoKi::sign, ByteString(19)).code, CKR_DATA_LEN_RANGE) << "no digest";
  ASSERT_EQ(begin(&CryptoKi::signRecoverInit, CKM_RSA_X_509, rsa), CKR_OK);
  const ByteString raw = open.call(&CryptoKi::signRecover, kMessage).octets;
  ASSERT_EQ(begin(&CryptoKi::verifyRecoverInit, CKM_RSA_X_509, rsaPublic), CKR_OK);
  EXPECT_EQ(open.call(&CryptoKi::verifyRecover, raw).octets, ByteString(128 - kMessage.size()) + kMessage);
}

// With ECDSA the digest stands alone or in a DigestInfo; nothing else is taken for one.
TEST(DeviceVerification, TakesDigestsOfECDSAInTwoForms) {
  const PrivateKey curve = privateKey("P-256");
  OpenDevice open;
  ASSERT_TRUE(open.device.setSignatureAlgorithm("1.2.840.10045.4.3.2"));
  const Signature signature(signatureOf(curve, {"SHA256"}, kMessage));
  const ByteString digest = digestOf("SHA256", kMessage);
  const ByteString head = fromHex("3031300d060960864801650304020105000420");
  const auto info = keyInfoOf(curve);
  for (const auto& [what, good] : {std::pair{digest, true},
                                   {head + digest, true},
                                   {fromHex("302f300b06096086480165030402010420") + digest, true},
                                   {fromHex("308131300d060960864801650304020105000420") + digest, false},
                                   {head + digest + ByteString{0}, false},
                                   {digest + ByteString{0}, false},
                                   {ByteString(), false}})
    EXPECT_EQ(open.device.verifyRaw(what.data(), what.size(), signature, *info), good) << what.size();
}

TEST_F(TokenOperations, FillWithRandomOctets) {
  ByteString first(13, 0), second(13, 0), more(65536, 0);
  for (ByteString* octets : {&first, &second}) EXPECT_EQ(ki.generateRandom(open.handle, octets->data(), 12), CKR_OK);
  EXPECT_EQ(ki.generateRandom(open.handle, more.data(), more.size()), CKR_OK);
  EXPECT_NE(first, second);
  EXPECT_EQ(first.back(), 0);  // nothing is written behind the end
  for (int octet = 0; octet < 256; ++octet)
    EXPECT_GT(std::ranges::count(more, static_cast<unsigned char>(octet)), 128) << octet;
  EXPECT_EQ(ki.seedRandom(open.handle, first.data(), 12), CKR_RANDOM_SEED_NOT_SUPPORTED);
}

TEST_F(TokenOperations, KeepPrivateValuesSecret) {
  const Template p256 = privateTemplate(privateKey("P-256"));
  const CK_OBJECT_HANDLE key = open.created(with(p256, flag(CKA_SENSITIVE, true)));
  const CK_OBJECT_HANDLE readable = open.created(p256);
  EXPECT_EQ(open.found({p256.back()}), std::vector{readable}) << "a search that matched would tell the value";
  EXPECT_EQ(open.attribute(readable, CKA_VALUE).octets, p256.back().octets);
  EXPECT_EQ(open.set(readable, {flag(CKA_EXTRACTABLE, false)}), CKR_OK);
  for (const CK_OBJECT_HANDLE hidden : {key, readable}) {
    const Answer value = open.attribute(hidden, CKA_VALUE);
    EXPECT_EQ(value.code, CKR_ATTRIBUTE_SENSITIVE);
    EXPECT_EQ(value.length, CK_UNAVAILABLE_INFORMATION);
  }
  EXPECT_EQ(open.set(key, {flag(CKA_SENSITIVE, false)}), CKR_ATTRIBUTE_READ_ONLY);
  EXPECT_EQ(open.set(readable, {flag(CKA_EXTRACTABLE, true)}), CKR_ATTRIBUTE_READ_ONLY);
  Template incomplete = privateTemplate(rsaPair);
  incomplete.pop_back();
  CK_OBJECT_HANDLE none = 0;
  EXPECT_EQ(open.create(incomplete, &none), CKR_TEMPLATE_INCOMPLETE);
}

}  // namespace keystrand::test
