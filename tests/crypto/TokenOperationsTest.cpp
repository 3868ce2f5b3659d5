// Digests, verifications and random numbers of the built-in token.
#include <algorithm>

#include "TokenObjects.h"
#include "keystrand/crypto/RSAPublicKey.h"
#include "support/Der.h"

namespace keystrand::test {

TEST(TokenOperations, DigestsByTheRulesOfOperations) {
  Session open;
  CryptoKi& ki = open.ki;
  const ByteString abc = {'a', 'b', 'c'};
  ByteString out(64);
  CK_ULONG length = out.size();
  const CK_MECHANISM sha256{CKM_SHA256, nullptr, 0};
  for (const CK_MECHANISM_TYPE none : {CKM_RIPEMD128, CKM_MD2, CKM_RSA_PKCS, CKM_SHA512_256}) {
    const CK_MECHANISM mechanism{none, nullptr, 0};
    EXPECT_EQ(ki.digestInit(open.handle, &mechanism), CKR_MECHANISM_INVALID);
  }
  EXPECT_EQ(ki.digest(open.handle, abc.data(), 3, out.data(), &length), CKR_OPERATION_NOT_INITIALIZED);
  EXPECT_EQ(ki.digestUpdate(open.handle, abc.data(), 3), CKR_OPERATION_NOT_INITIALIZED);
  ASSERT_EQ(ki.digestInit(open.handle, &sha256), CKR_OK);
  EXPECT_EQ(ki.digestInit(open.handle, &sha256), CKR_OPERATION_ACTIVE);
  EXPECT_EQ(ki.digest(open.handle, abc.data(), 3, nullptr, &length), CKR_OK);
  EXPECT_EQ(length, 32U);
  length = 31;
  EXPECT_EQ(ki.digest(open.handle, abc.data(), 3, out.data(), &length), CKR_BUFFER_TOO_SMALL);
  EXPECT_EQ(length, 32U);
  EXPECT_EQ(ki.digest(open.handle, abc.data(), 3, out.data(), &length), CKR_OK);
  out.resize(length);
  EXPECT_EQ(out, digestOf("SHA256", abc));
  ASSERT_EQ(ki.digestInit(open.handle, &sha256), CKR_OK);
  ASSERT_EQ(ki.digestUpdate(open.handle, abc.data(), 1), CKR_OK);
  length = 1;
  EXPECT_EQ(ki.digestFinal(open.handle, out.data(), &length), CKR_BUFFER_TOO_SMALL);
  ASSERT_EQ(ki.digestUpdate(open.handle, abc.data() + 1, 2), CKR_OK);
  EXPECT_EQ(ki.digestFinal(open.handle, out.data(), &length), CKR_OK);
  EXPECT_EQ(out, digestOf("SHA256", abc));
}

TEST(TokenOperations, VerifiesByTheRulesOfOperations) {
  const PrivateKey key = privateKey("RSA-2048");
  const ByteString data = {'d', 'a', 't', 'a'};
  const ByteString good = signatureOf(key, {"SHA256"}, data);
  const auto info = keyInfoOf(key);
  ByteString modulus(256);
  dynamic_cast<const RSAPublicKey&>(*info->keyView()).modulus().magnitude(modulus);
  Session open;
  CryptoKi& ki = open.ki;
  const CK_OBJECT_HANDLE object = open.created(rsaKey(modulus));
  const CK_OBJECT_HANDLE forbidden = open.created(with(rsaKey(modulus), flag(CKA_VERIFY, false)));
  const CK_OBJECT_HANDLE text = open.created(note());
  CK_RSA_PKCS_PSS_PARAMS salted{CKM_SHA256, CKG_MGF1_SHA256, 20};
  struct Beginning {
    const char* name;
    CK_MECHANISM mechanism;
    CK_OBJECT_HANDLE key;
    CK_RV result;
  };
  for (const Beginning& row : {
           Beginning{"no object", {CKM_SHA256_RSA_PKCS, nullptr, 0}, 999, CKR_KEY_HANDLE_INVALID},
           Beginning{"no key", {CKM_SHA256_RSA_PKCS, nullptr, 0}, text, CKR_KEY_HANDLE_INVALID},
           Beginning{"not for this", {CKM_SHA256_RSA_PKCS, nullptr, 0}, forbidden, CKR_KEY_FUNCTION_NOT_PERMITTED},
           Beginning{"RSA key", {CKM_ECDSA, nullptr, 0}, object, CKR_KEY_TYPE_INCONSISTENT},
           Beginning{"ISO 9796", {CKM_RSA_9796, nullptr, 0}, object, CKR_MECHANISM_INVALID},
           Beginning{"PSS alone", {CKM_RSA_PKCS_PSS, nullptr, 0}, object, CKR_MECHANISM_INVALID},
           Beginning{"no parameter", {CKM_SHA256_RSA_PKCS_PSS, nullptr, 0}, object, CKR_MECHANISM_PARAM_INVALID},
           Beginning{
               "other salt", {CKM_SHA256_RSA_PKCS_PSS, &salted, sizeof salted}, object, CKR_MECHANISM_PARAM_INVALID},
       }) {
    EXPECT_EQ(ki.verifyInit(open.handle, &row.mechanism, row.key), row.result) << row.name;
    EXPECT_EQ(ki.verify(open.handle, data.data(), 4, good.data(), good.size()), CKR_OPERATION_NOT_INITIALIZED)
        << row.name;
  }
  struct Check {
    const char* name;
    ByteString signature;
    CK_RV result;
  };
  const CK_MECHANISM mechanism{CKM_SHA256_RSA_PKCS, nullptr, 0};
  for (const Check& row : {Check{"good", good, CKR_OK}, Check{"spoilt", withBitFlipped(good), CKR_SIGNATURE_INVALID},
                           Check{"short", ByteString(good.begin() + 1, good.end()), CKR_SIGNATURE_LEN_RANGE},
                           Check{"long", ByteString{0} + good, CKR_SIGNATURE_LEN_RANGE}}) {
    ASSERT_EQ(ki.verifyInit(open.handle, &mechanism, object), CKR_OK) << row.name;
    EXPECT_EQ(ki.verifyInit(open.handle, &mechanism, object), CKR_OPERATION_ACTIVE) << row.name;
    EXPECT_EQ(ki.verify(open.handle, data.data(), 4, row.signature.data(), row.signature.size()), row.result)
        << row.name;
    ASSERT_EQ(ki.verifyInit(open.handle, &mechanism, object), CKR_OK) << row.name;
    EXPECT_EQ(ki.verifyUpdate(open.handle, data.data(), 1), CKR_OK) << row.name;
    EXPECT_EQ(ki.verifyUpdate(open.handle, data.data() + 1, 3), CKR_OK) << row.name;
    EXPECT_EQ(ki.verifyFinal(open.handle, row.signature.data(), row.signature.size()), row.result) << row.name;
    EXPECT_EQ(ki.verifyFinal(open.handle, good.data(), good.size()), CKR_OPERATION_NOT_INITIALIZED) << row.name;
  }
  // A key that goes while it is in use goes when the operation ends.
  ASSERT_EQ(ki.verifyInit(open.handle, &mechanism, object), CKR_OK);
  ASSERT_EQ(ki.destroyObject(open.handle, object), CKR_OK);
  EXPECT_EQ(ki.verify(open.handle, data.data(), 4, good.data(), good.size()), CKR_OK);
}

TEST(TokenOperations, VerifiesRawRSAAndBareDigests) {
  const PrivateKey rsa = privateKey("RSA-1024");
  const PrivateKey curve = privateKey("P-256");
  const ByteString data = {'d', 'a', 't', 'a'};
  Session open;
  ByteString modulus(128);
  dynamic_cast<const RSAPublicKey&>(*keyInfoOf(rsa)->keyView()).modulus().magnitude(modulus);
  const CK_OBJECT_HANDLE key = open.created(rsaKey(modulus));
  const ByteString signature = signatureRound(rsa, data);
  ByteString block(128, 0xFF);
  block[0] = 0;
  block[1] = 1;
  block[123] = 0;
  std::ranges::copy(data, block.begin() + 124);
  const auto check = [&](CK_MECHANISM_TYPE type, const ByteString& what) {
    const CK_MECHANISM mechanism{type, nullptr, 0};
    EXPECT_EQ(open.ki.verifyInit(open.handle, &mechanism, key), CKR_OK);
    return open.ki.verify(open.handle, what.data(), what.size(), signature.data(), signature.size());
  };
  EXPECT_EQ(check(CKM_RSA_PKCS, data), CKR_OK);
  EXPECT_EQ(check(CKM_RSA_PKCS, block), CKR_SIGNATURE_INVALID);
  EXPECT_EQ(check(CKM_RSA_X_509, block), CKR_OK);
  EXPECT_EQ(check(CKM_RSA_X_509, data), CKR_SIGNATURE_INVALID);
  const CK_MECHANISM single{CKM_RSA_PKCS, nullptr, 0};
  EXPECT_EQ(open.ki.verifyInit(open.handle, &single, key), CKR_OK);
  EXPECT_EQ(open.ki.verifyUpdate(open.handle, data.data(), 4), CKR_MECHANISM_INVALID);

  // With ECDSA the digest stands alone or in a DigestInfo; nothing else is taken for one.
  OpenDevice device;
  ASSERT_TRUE(device.device.setSignatureAlgorithm("1.2.840.10045.4.3.2"));
  const Signature ecdsa(signatureOf(curve, {"SHA256"}, data));
  const ByteString digest = digestOf("SHA256", data);
  const auto info = keyInfoOf(curve);
  const auto raw = [&](const ByteString& what) {
    return device.device.verifyRaw(what.data(), what.size(), ecdsa, *info);
  };
  EXPECT_TRUE(raw(digest));
  EXPECT_TRUE(raw(fromHex("3031300d060960864801650304020105000420") + digest));
  EXPECT_TRUE(raw(fromHex("302f300b06096086480165030402010420") + digest));
  EXPECT_FALSE(raw(fromHex("308131300d060960864801650304020105000420") + digest));
  EXPECT_FALSE(raw(fromHex("3031300d060960864801650304020105000420") + digest + ByteString{0}));
  EXPECT_FALSE(raw(digest + ByteString{0}));
  EXPECT_FALSE(raw({}));
}

TEST(TokenOperations, RecoversWhatWasSigned) {
  const PrivateKey signer = privateKey("RSA-1024");
  const ByteString data = {'d', 'a', 't', 'a'};
  const ByteString good = signatureRound(signer, data);
  ByteString modulus(128);
  dynamic_cast<const RSAPublicKey&>(*keyInfoOf(signer)->keyView()).modulus().magnitude(modulus);
  Session open;
  CryptoKi& ki = open.ki;
  const CK_OBJECT_HANDLE key = open.created(rsaKey(modulus));
  const CK_OBJECT_HANDLE forbidden = open.created(with(rsaKey(modulus), flag(CKA_VERIFY_RECOVER, false)));
  const CK_MECHANISM padded{CKM_RSA_PKCS, nullptr, 0};
  const CK_MECHANISM raw{CKM_RSA_X_509, nullptr, 0};
  const CK_MECHANISM hashing{CKM_SHA256_RSA_PKCS, nullptr, 0};
  EXPECT_EQ(ki.verifyRecoverInit(open.handle, &hashing, key), CKR_MECHANISM_INVALID);
  EXPECT_EQ(ki.verifyRecoverInit(open.handle, &padded, forbidden), CKR_KEY_FUNCTION_NOT_PERMITTED);
  EXPECT_EQ(ki.verifyRecoverInit(open.handle, &padded, key + 9), CKR_KEY_HANDLE_INVALID);
  ByteString out(128);
  CK_ULONG n = 0;
  const auto recover = [&](const CK_MECHANISM& mechanism, const ByteString& signature) {
    n = out.size();
    EXPECT_EQ(ki.verifyRecoverInit(open.handle, &mechanism, key), CKR_OK);
    EXPECT_EQ(ki.verifyRecoverInit(open.handle, &mechanism, key), CKR_OPERATION_ACTIVE);
    const CK_RV result = ki.verifyRecover(open.handle, signature.data(), signature.size(), out.data(), &n);
    EXPECT_EQ(ki.verifyRecover(open.handle, good.data(), good.size(), out.data(), &n), CKR_OPERATION_NOT_INITIALIZED);
    return result;
  };
  EXPECT_EQ(recover(padded, good), CKR_OK);
  EXPECT_EQ(ByteString(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(n)), data);
  EXPECT_EQ(recover(raw, good), CKR_OK);
  EXPECT_EQ(n, 128U);
  EXPECT_EQ(recover(padded, withBitFlipped(good)), CKR_SIGNATURE_INVALID);
  EXPECT_EQ(recover(padded, ByteString(127, 1)), CKR_SIGNATURE_LEN_RANGE);
  EXPECT_EQ(recover(raw, ByteString(128, 0xFF)), CKR_SIGNATURE_INVALID);
  // Asking how much room it takes does not end the operation.
  ASSERT_EQ(ki.verifyRecoverInit(open.handle, &padded, key), CKR_OK);
  EXPECT_EQ(ki.verifyRecover(open.handle, good.data(), good.size(), nullptr, &n), CKR_OK);
  EXPECT_EQ(n, data.size());
  --n;
  EXPECT_EQ(ki.verifyRecover(open.handle, good.data(), good.size(), out.data(), &n), CKR_BUFFER_TOO_SMALL);
  EXPECT_EQ(ki.verifyRecover(open.handle, good.data(), good.size(), out.data(), &n), CKR_OK);
}

TEST(TokenOperations, FillsWithRandomOctets) {
  Session open;
  ByteString first(13, 0);
  ByteString second(13, 0);
  ByteString more(65536, 0);
  EXPECT_EQ(open.ki.generateRandom(open.handle, first.data(), 12), CKR_OK);
  EXPECT_EQ(open.ki.generateRandom(open.handle, second.data(), 12), CKR_OK);
  EXPECT_EQ(open.ki.generateRandom(open.handle, more.data(), more.size()), CKR_OK);
  EXPECT_NE(first, second);
  EXPECT_EQ(first.back(), 0);  // nothing is written behind the end
  for (int octet = 0; octet < 256; ++octet) {
    EXPECT_GT(std::ranges::count(more, static_cast<unsigned char>(octet)), 128) << octet;
  }
  EXPECT_EQ(open.ki.seedRandom(open.handle, first.data(), 12), CKR_RANDOM_SEED_NOT_SUPPORTED);
}

}  // namespace keystrand::test
