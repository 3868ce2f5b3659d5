// Domain parameters: named, explicit, implicit and unacceptable ones.
#include <gtest/gtest.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/err.h>

#include <algorithm>
#include <thread>

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

TEST(ECParameters, WithoutAnAcceptableGroupDecodeButVerifyNothing) {
  struct Row {
    const char* name;
    ByteString parameters;
  };
  // The parts of a domain: P-256, each row spoiling one of them.
  const ByteString p = integer("00FFFFFFFF00000001000000000000000000000000FFFFFFFFFFFFFFFFFFFFFFFF");
  const ByteString a = octets("FFFFFFFF00000001000000000000000000000000FFFFFFFFFFFFFFFFFFFFFFFC");
  const ByteString b = octets("5AC635D8AA3A93E7B3EBBD55769886BC651D06B0CC53B0F63BCE3C3E27D2604B");
  const ByteString g = octets(
      "046B17D1F2E12C4247F8BCE6E563A440F277037D812DEB33A0F4A13945D898C296"
      "4FE342E2FE1A7F9B8EE7EB4A7C0F9E162BCE33576B315ECECBB6406837BF51F5");
  const ByteString n = integer("00FFFFFFFF00000000FFFFFFFFFFFFFFFFBCE6FAADA7179E84F3B9CAC2FC632551");
  const ByteString one = integer("01");
  const auto prime = [](const ByteString& modulus) { return sequence({oid("1.2.840.10045.1.1"), modulus}); };
  const auto two = [](const char* basis, const ByteString& m, const ByteString& k) {
    return sequence({oid("1.2.840.10045.1.2"), sequence({m, oid(basis), k})});
  };
  const auto domain = [&](const ByteString& field, const ByteString& base, const ByteString& order,
                          const std::vector<ByteString>& cofactor) {
    std::vector<ByteString> parts = {one, field, sequence({a, b}), base, order};
    parts.insert(parts.end(), cofactor.begin(), cofactor.end());
    return sequence(parts);
  };
  ByteString offCurve = g;
  offCurve.back() ^= 1;
  const ByteString huge = withChildren(0x02, {{0x00}, ByteString(8192, 0xFF)});
  const PrivateKey key = privateKey("P-256");
  KeyInfo named;
  ASSERT_TRUE(coded(named, publicKeyInfo(key)).read);
  const auto view = dynamic_cast<const ECDSAPublicKey*>(named.keyView())->pointView();
  const ByteString point = withChildren(0x03, {{0x00}, {view.begin(), view.end()}});
  const auto keyInfo = [&](const std::vector<ByteString>& parameters) {
    std::vector<ByteString> algorithm = {oid("1.2.840.10045.2.1")};
    algorithm.insert(algorithm.end(), parameters.begin(), parameters.end());
    return sequence({sequence(algorithm), point});
  };

  ASSERT_TRUE(verifies(keyInfo({domain(prime(p), g, n, {one})}), key)) << "unspoilt";
  for (const Row& row : {
           Row{"an unknown curve", oid("1.2.3.4")},
           Row{"the identifier of a digest", oid("2.16.840.1.101.3.4.2.1")},
           Row{"implicit", kNull},
           Row{"empty", sequence({})},
           Row{"a field of 65,536 bits", domain(prime(huge), g, n, {one})},
           Row{"a negative prime", domain(prime(integer("FF01")), g, n, {one})},
           Row{"an even prime", domain(prime(integer("10")), g, n, {one})},
           Row{"zero for a prime", domain(prime(integer("00")), g, n, {one})},
           Row{"an unknown field", domain(sequence({oid("1.2.3"), p}), g, n, {one})},
           Row{"a polynomial of 65,536 bits",
               domain(two("1.2.840.10045.1.2.3.2", integer("010000"), one), g, n, {one})},
           Row{"a trinomial whose middle lies above",
               domain(two("1.2.840.10045.1.2.3.2", integer("10"), integer("7FFFFFFF")), g, n, {one})},
           Row{"a polynomial with negative exponents",
               domain(two("1.2.840.10045.1.2.3.3", integer("10"), sequence({integer("FF"), one, one})), g, n, {one})},
           Row{"a Gaussian basis", domain(two("1.2.840.10045.1.2.3.1", integer("10"), kNull), g, n, {one})},
           Row{"a generator off the curve", domain(prime(p), offCurve, n, {one})},
           Row{"infinity for a generator", domain(prime(p), octets("00"), n, {one})},
           Row{"NULL for a generator", domain(prime(p), kNull, n, {one})},
           Row{"a generator that is too short", domain(prime(p), octets("0401"), n, {one})},
           Row{"zero for an order", domain(prime(p), g, integer("00"), {one})},
           Row{"a negative order", domain(prime(p), g, integer("81"), {one})},
           Row{"an oversized order", domain(prime(p), g, huge, {one})},
           Row{"no cofactor", domain(prime(p), g, n, {})},
           Row{"zero for a cofactor", domain(prime(p), g, n, {integer("00")})},
           Row{"an oversized cofactor", domain(prime(p), g, n, {huge})},
       }) {
    const ByteString der = keyInfo({row.parameters});
    KeyInfo info;
    ERR_clear_error();
    EXPECT_TRUE(coded(info, der).isExact(der)) << row.name;
    EXPECT_EQ(info.keyBitLength(), 0U) << row.name;
    EXPECT_FALSE(verifies(der, key)) << row.name;
    EXPECT_EQ(ERR_peek_error(), 0UL) << row.name << ": the error queue belongs to the application, too";
  }
  EXPECT_FALSE(verifies(keyInfo({}), key)) << "absent";
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
