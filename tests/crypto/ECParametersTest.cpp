// Domain parameters: named, explicit, implicit and unacceptable ones.
#include <gtest/gtest.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/err.h>

#include <algorithm>
#include <thread>
#include <tuple>

#include "crypto/Coding.h"
#include "crypto/ECDSASigValue.h"
#include "crypto/hvECDSA.h"
#include "keystrand/crypto/ECParameters.h"
#include "keystrand/crypto/KeyInfo.h"

namespace keystrand::test {
namespace {

// The same key as OpenSSL writes it with its domain parameters in full.
ByteString withExplicitParameters(const PrivateKey& key) {
  EVP_PKEY* copy = EVP_PKEY_dup(key.get());
  EVP_PKEY_set_utf8_string_param(copy, OSSL_PKEY_PARAM_EC_ENCODING, OSSL_PKEY_EC_ENCODING_EXPLICIT);
  const ByteString der = builder::encoded(copy, i2d_PUBKEY);
  EVP_PKEY_free(copy);
  return der;
}

bool verifies(const ByteString& keyInfo, const PrivateKey& signer) {
  const ByteString message = {'m'};
  KeyInfo key;
  ECDSASigValue value;
  if (!coded(key, keyInfo).read || !coded(value, signatureOf(signer, {"SHA256"}, message)).read) return false;
  const auto* point = dynamic_cast<const ECDSAPublicKey*>(key.keyView());
  hvECDSA verifier;
  if (point == nullptr || !verifier.setKey(*point)) return false;
  const auto raw = value.raw(point->parametersView()->orderBytes());
  return raw && verifier.verify(digestOf("SHA256", message), *raw) && !verifier.verify(digestOf("SHA256", {'n'}), *raw);
}

TEST(ECParameters, NamedAndExplicitVerifyAlike) {
  using Row = std::pair<const char*, std::uint32_t>;
  for (const auto& [curve, bits] : {Row{"P-224", 224}, Row{"P-256", 256}, Row{"P-384", 384}, Row{"P-521", 521},
                                    Row{"secp256k1", 256}, Row{"brainpoolP256r1", 256}, Row{"brainpoolP512t1", 512},
                                    Row{"sect233k1", 233}, Row{"sect283r1", 283}, Row{"sect571r1", 571}}) {
    const PrivateKey key = privateKey(curve);
    for (const ByteString& der : {publicKeyInfo(key), withExplicitParameters(key)}) {
      KeyInfo info;
      EXPECT_TRUE(coded(info, der).isExact(der)) << curve;
      EXPECT_EQ(info.keyBitLength(), bits) << curve;
      EXPECT_TRUE(verifies(der, key)) << curve;
      EXPECT_FALSE(verifies(der, privateKey(curve, 1))) << curve;
    }
  }
}

// P-256 in full, each row spoiling one part of the domain.
TEST(ECParameters, WithoutAnAcceptableGroupDecodeButVerifyNothing) {
  using Path = std::vector<std::size_t>;
  const Path domain = {0, 1};  // of the key: version, field, curve, base, order, cofactor
  const Path field = {0, 1, 1};
  const Path prime = {0, 1, 1, 1};
  const Path base = {0, 1, 3};
  const Path order = {0, 1, 4};
  const Path cofactor = {0, 1, 5};
  const PrivateKey key = privateKey("P-256");
  const ByteString whole = withExplicitParameters(key);
  const ByteString one = integer("01");
  const ByteString huge = withChildren(0x02, {{0x00}, ByteString(8192, 0xFF)});
  ByteString offCurve = children(children(children(whole)[0])[1])[3];
  offCurve.back() ^= 1;
  const auto two = [](const char* basis, const ByteString& m, const ByteString& k) {
    return sequence({oid("1.2.840.10045.1.2"), sequence({m, oid(basis), k})});
  };
  const ByteString exponents = sequence({integer("FF"), one, one});
  using Row = std::tuple<const char*, Path, ByteString>;
  for (const auto& [name, path, replacement] :
       {Row{"an unknown curve", domain, oid("1.2.3.4")},
        Row{"the identifier of a digest", domain, oid("2.16.840.1.101.3.4.2.1")},
        Row{"implicit", domain, kNull},
        Row{"empty", domain, sequence({})},
        Row{"a field of 65,536 bits", prime, huge},
        Row{"a negative prime", prime, integer("FF01")},
        Row{"an even prime", prime, integer("10")},
        Row{"zero for a prime", prime, integer("00")},
        Row{"an unknown field", {0, 1, 1, 0}, oid("1.2.3")},
        Row{"a polynomial of 65,536 bits", field, two("1.2.840.10045.1.2.3.2", integer("010000"), one)},
        Row{"a middle term above", field, two("1.2.840.10045.1.2.3.2", integer("10"), integer("7FFFFFFF"))},
        Row{"negative exponents", field, two("1.2.840.10045.1.2.3.3", integer("10"), exponents)},
        Row{"a Gaussian basis", field, two("1.2.840.10045.1.2.3.1", integer("10"), kNull)},
        Row{"a generator off the curve", base, offCurve},
        Row{"infinity for a generator", base, octets("00")},
        Row{"NULL for a generator", base, kNull},
        Row{"a generator that is too short", base, octets("0401")},
        Row{"zero for an order", order, integer("00")},
        Row{"a negative order", order, integer("81")},
        Row{"an oversized order", order, huge},
        Row{"no cofactor", cofactor, {}},
        Row{"zero for a cofactor", cofactor, integer("00")},
        Row{"an oversized cofactor", cofactor, huge}}) {
    const ByteString der = edited(whole, path, replacement);
    KeyInfo info;
    ERR_clear_error();
    EXPECT_TRUE(coded(info, der).isExact(der)) << name;
    EXPECT_EQ(info.keyBitLength(), 0U) << name;
    EXPECT_FALSE(verifies(der, key)) << name;
    EXPECT_EQ(ERR_peek_error(), 0UL) << name << ": the error queue belongs to the application, too";
  }
  EXPECT_FALSE(verifies(edited(whole, domain, {}), key)) << "absent";
}

// r and s between one and the order, in two halves of the order's length.
TEST(ECDSA, RefusesHalvesThatAreOutOfRange) {
  const PrivateKey signer = privateKey("P-256");
  const ByteString digest = digestOf("SHA256", {'m'});
  KeyInfo key;
  ECDSASigValue value;
  ASSERT_TRUE(coded(key, publicKeyInfo(signer)).read);
  ASSERT_TRUE(coded(value, signatureOf(signer, {"SHA256"}, {'m'})).read);
  const ByteString good = *value.raw(32);
  EXPECT_FALSE(value.raw(16)) << "longer than the order";
  hvECDSA verifier;
  EXPECT_FALSE(verifier.verify(digest, good)) << "no key";
  ASSERT_TRUE(verifier.setKey(dynamic_cast<const ECDSAPublicKey&>(*key.keyView())));
  ASSERT_TRUE(verifier.verify(digest, good));
  const auto withHalf = [&](std::ptrdiff_t at, const ByteString& half) {
    ByteString spoilt = good;
    std::ranges::copy(half, spoilt.begin() + at);
    return spoilt;
  };
  ERR_clear_error();
  const ByteString order = fromHex("FFFFFFFF00000000FFFFFFFFFFFFFFFFBCE6FAADA7179E84F3B9CAC2FC632551");
  for (const ByteString& half : {ByteString(32), order, ByteString(32, 0xFF)}) {
    EXPECT_FALSE(verifier.verify(digest, withHalf(0, half)));
    EXPECT_FALSE(verifier.verify(digest, withHalf(32, half)));
  }
  EXPECT_FALSE(verifier.verify(digest, {}));
  EXPECT_FALSE(verifier.verify(digest, std::span(good).first(63)));
  EXPECT_FALSE(verifier.verify({}, good));
  EXPECT_EQ(ERR_peek_error(), 0UL);
}

TEST(ECParameters, ShareOneGroupOfACurve) {
  const ECParameters first(OID("1.2.840.10045.3.1.7"));
  std::vector<std::thread> threads;
  std::vector<std::shared_ptr<const ec_group_st>> groups(8);
  for (auto& group : groups) threads.emplace_back([&] { group = ECParameters(first).group(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(std::ranges::all_of(groups, [&](const auto& group) { return group && group == first.group(); }));
}

}  // namespace
}  // namespace keystrand::test
