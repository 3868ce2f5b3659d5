// Algorithm identifiers with their parameters, and SubjectPublicKeyInfo: what comes back, what stays unread, and what
// is refused; no key is taken for another.
#include <gtest/gtest.h>

#include <functional>

#include "crypto/Coding.h"
#include "crypto/RSASSA_PSSParameters.h"
#include "crypto/hvECDSA.h"
#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/ECDSAPublicKey.h"
#include "keystrand/crypto/ECParameters.h"
#include "keystrand/crypto/KeyInfo.h"
#include "keystrand/crypto/RSAPublicKey.h"
#include "keystrand/crypto/Signature.h"

namespace keystrand::test {
namespace {

const ByteString kPSS = oid("1.2.840.113549.1.1.10");
const ByteString kMGF1 = oid("1.2.840.113549.1.1.8");
const ByteString kPBM = oid("1.2.840.113533.7.66.13");
const ByteString kEC = oid("1.2.840.10045.2.1");
const ByteString kSHA1 = sequence({oid("1.3.14.3.2.26"), kNull});
const ByteString kSHA256 = sequence({oid("2.16.840.1.101.3.4.2.1")});

ByteString saltLength(const char* hex) {
  return withChildren(0xA2, {integer(hex)});
}

TEST(AlgorithmIdentifier, ComesBackAsItWas) {
  using Row = std::pair<const char*, std::vector<ByteString>>;
  const ByteString pbe = sequence({octets("0102030405060708"), integer("0800")});
  for (const auto& [name, content] : {
           Row{"absent", {oid("1.2.840.113549.1.1.11")}},
           Row{"NULL", {oid("1.2.840.113549.1.1.11"), kNull}},
           Row{"unknown, absent", {oid("1.3.101.112")}},
           Row{"unknown, NULL", {oid("1.3.101.112"), kNull}},
           Row{"PBE with MD5 and DES", {oid("1.2.840.113549.1.5.3"), pbe}},
           Row{"PBE, the first of PKCS #12", {oid("1.2.840.113549.1.12.1.1"), pbe}},
           Row{"PBE, the last of PKCS #12", {oid("1.2.840.113549.1.12.1.6"), pbe}},
           Row{"PBE, empty salt", {oid("1.2.840.113549.1.12.1.3"), sequence({octets(""), integer("01")})}},
           Row{"PBE, absent salt", {oid("1.2.840.113549.1.12.1.3"), sequence({kNull, integer("01")})}},
           Row{"DES-CBC", {oid("1.3.14.3.2.7"), octets("0102030405060708")}},
           Row{"DES-EDE3-CBC", {oid("1.2.840.113549.3.7"), octets("0102030405060708")}},
           Row{"AES-128-CBC", {oid("2.16.840.1.101.3.4.1.2"), octets("000102030405060708090A0B0C0D0E0F")}},
           Row{"AES-256-CBC, empty vector", {oid("2.16.840.1.101.3.4.1.42"), octets("")}},
           Row{"rsa with its key size", {oid("2.5.8.1.1"), integer("0800")}},
           Row{"DSA", {oid("1.2.840.10040.4.1"), sequence({integer("17"), integer("0B"), integer("04")})}},
           Row{"DSA, odd content", {oid("1.2.840.10040.4.1"), sequence({kNull})}},
           Row{"MGF1", {kMGF1, kSHA1}},
           Row{"PSS, all absent", {kPSS, sequence({})}},
           Row{"PSS, NULL", {kPSS, kNull}},
           Row{"PSS, salt length alone", {kPSS, sequence({saltLength("14")})}},
           Row{"PSS, defaults written out",
               {kPSS, sequence({withChildren(0xA0, {kSHA1}), withChildren(0xA1, {sequence({kMGF1, kSHA1})}),
                                saltLength("14"), withChildren(0xA3, {integer("01")})})}},
           Row{"EC, named curve", {kEC, oid("1.2.840.10045.3.1.7")}},
           Row{"EC, unknown curve", {kEC, oid("1.2.3.4.5")}},
           Row{"EC, implicit", {kEC, kNull}},
           Row{"EC, explicit of any content", {kEC, sequence({kNull, octets("FF")})}},
           Row{"PBM", {kPBM, sequence({octets("01020304"), kSHA1, integer("2710"), kSHA256})}},
       }) {
    const ByteString der = sequence(content);
    AlgorithmIdentifier algorithm;
    EXPECT_TRUE(coded(algorithm, der).isExact(der)) << name;
  }
  // Parameters without a class stay unread and the answer is true: it is the enclosing structure that then fails.
  AlgorithmIdentifier unknown;
  const ByteString identifier = oid("1.2.3.4");
  const Coded result = coded(unknown, sequence({identifier, octets("AABB")}));
  EXPECT_TRUE(result.read);
  EXPECT_EQ(result.position, 2 + identifier.size());
  EXPECT_TRUE(unknown.hasParameters() && !unknown.hasParameter());
}

TEST(AlgorithmIdentifier, RefusesWhatItCannotRead) {
  using Row = std::pair<const char*, ByteString>;
  for (const auto& [name, der] : {
           Row{"empty input", {}},
           Row{"a SET", withChildren(0x31, {kPSS})},
           Row{"no identifier", sequence({kNull})},
           Row{"PBE parameters that are octets", sequence({oid("1.2.840.113549.1.5.3"), octets("00")})},
           Row{"iteration count of five octets",
               sequence({oid("1.2.840.113549.1.5.3"), sequence({octets("00"), integer("0100000000")})})},
           Row{"salt longer than the input", fromHex("301A06092A864886F70D010503300D047F0102")},
           Row{"PSS hash that is no algorithm", sequence({kPSS, sequence({withChildren(0xA0, {kNull})})})},
           Row{"key size with a redundant sign octet", sequence({oid("2.5.8.1.1"), integer("0001")})},
           Row{"EC parameters that are octets", sequence({kEC, octets("00")})},
           Row{"explicit parameters of indefinite length", sequence({kEC, fromHex("308005000000")})},
           Row{"explicit parameters longer than the input", fromHex("300D06072A8648CE3D020130820400")},
           Row{"DSA parameters cut off", fromHex("300B06072A8648CE3804013009")},
       }) {
    AlgorithmIdentifier algorithm;
    EXPECT_FALSE(coded(algorithm, der).read) << name;
  }
}

TEST(AlgorithmIdentifier, TakesItsParameterWithItsIdentifier) {
  AlgorithmIdentifier algorithm("1.2.840.10045.2.1", false);
  EXPECT_EQ(encode(algorithm), sequence({kEC}));
  const ECParameters curve(OID("1.2.840.10045.3.1.7"));
  algorithm.setParameter(&curve);
  EXPECT_EQ(encode(algorithm), sequence({kEC, oid("1.2.840.10045.3.1.7")}));
  algorithm.setHasParameters(false);
  EXPECT_EQ(encode(algorithm), sequence({kEC}));
  algorithm.setOID("1.3.14.3.2.26");  // the curve does not follow the identifier of a digest
  EXPECT_EQ(encode(algorithm), kSHA1);
  algorithm.setParameter(nullptr);
  EXPECT_EQ(encode(algorithm), kSHA1);
}

TEST(AlgorithmIdentifier, WithoutIdentifierEqualsNothing) {
  const AlgorithmIdentifier empty;
  const AlgorithmIdentifier sha1("1.3.14.3.2.26");
  EXPECT_FALSE(empty.equals(empty));
  EXPECT_FALSE(sha1.equals(empty));
  EXPECT_TRUE(sha1.equals(AlgorithmIdentifier("1.3.14.3.2.26", false)));
  EXPECT_EQ(empty.oidText(), nullptr);
}

TEST(PSSParameters, TakeTheirDefaults) {
  AlgorithmIdentifier algorithm;
  ASSERT_TRUE(coded(algorithm, sequence({kPSS, sequence({})})).read);
  const auto& pss = dynamic_cast<const RSASSA_PSSParameters&>(*algorithm.parameterView());
  EXPECT_TRUE(pss.hashView() == nullptr && pss.maskGenView() == nullptr);
  EXPECT_EQ(pss.saltLength(), 20);
  EXPECT_EQ(pss.trailerField(), 1);
}

TEST(AlgorithmIdentifier, EndsWhereItNestsTooDeep) {
  const ByteString pbmHead = octets("00") + sequence({oid("1.3.14.3.2.26")}) + integer("01");
  const std::pair<const char*, std::function<ByteString(const ByteString&)>> rows[] = {
      {"mask generation",
       [](const ByteString& inner) {
         return sequence({kMGF1, inner});
       }},
      {"PSS, as its own hash",
       [](const ByteString& inner) {
         return sequence({kPSS, sequence({withChildren(0xA0, {inner})})});
       }},
      {"PSS, as its own mask generation",
       [](const ByteString& inner) {
         return sequence({kPSS, sequence({withChildren(0xA1, {inner})})});
       }},
      {"MAC of a MAC", [&](const ByteString& inner) {
         return sequence({kPBM, sequence({pbmHead, inner})});
       }}};
  for (const auto& [name, wrap] : rows) {
    ByteString der = kSHA1;
    for (int levels = 1; levels <= 1000; ++levels) {
      der = wrap(der);
      if (levels != 15 && levels != 16 && levels != 1000) continue;
      AlgorithmIdentifier algorithm;
      const Coded result = coded(algorithm, der);
      EXPECT_EQ(result.read, levels == 15) << name << ", levels: " << levels;
      EXPECT_TRUE(!result.read || result.rewritten == der) << name;
    }
  }
}

ByteString bits(const ByteString& content) {
  return withChildren(0x03, {{0x00}, content});
}

const ByteString kRSAKey = sequence({integer("00C1"), integer("03")});
const ByteString kPoint = fromHex("04AABB");
const ByteString kRSA = sequence({oid("1.2.840.113549.1.1.1"), kNull});
const ByteString kP256 = sequence({oid("1.2.840.10045.2.1"), oid("1.2.840.10045.3.1.7")});

TEST(KeyInfo, ReadsTheKindsThatItHasAndTellsThem) {
  struct Row {
    const char* name;
    ByteString der;
    KeyKind kind;
    bool isRSA;
    std::uint32_t length, bits;
    bool stripped;  // an EC key, and a secret one, has no integers to answer for
  };
  const auto made = [](const char* kind) { return publicKeyInfo(privateKey(kind)); };
  const auto of = [](const char* algorithm, const ByteString& key) {
    return sequence({sequence({oid(algorithm)}), bits(key)});
  };
  const char* des = "0102030405060708";
  const ByteString tripleDES = octets("0102030405060708090A0B0C0D0E0F101112131415161718");
  const ByteString sized = sequence({sequence({oid("2.5.8.1.1"), integer("0400")}), bits(kRSAKey)});
  const ByteString withVector = sequence({sequence({oid("1.3.14.3.2.7"), octets(des)}), bits(octets(des))});
  for (const Row& row :
       {Row{"RSA-2048", made("RSA-2048"), KeyKind::kRSAPublic, true, 256, 2048, true},
        Row{"whole octets of the modulus", made("RSA-1025"), KeyKind::kRSAPublic, true, 129, 1032, true},
        Row{"rsa of X.509", of("2.5.8.1.1", kRSAKey), KeyKind::kRSAPublic, true, 1, 8, true},
        Row{"rsa of X.509, its key size", sized, KeyKind::kRSAPublic, true, 1, 8, true},
        Row{"RSASSA-PSS", of("1.2.840.113549.1.1.10", kRSAKey), KeyKind::kRSAPublic, true, 1, 8, true},
        Row{"the field, in bits, from both", made("P-256"), KeyKind::kECPublic, false, 256, 256, false},
        Row{"P-521", made("P-521"), KeyKind::kECPublic, false, 521, 521, false},
        Row{"EC, no octets", sequence({kP256, fromHex("030100")}), KeyKind::kECPublic, false, 256, 256, false},
        Row{"EC, NULL for the point", sequence({kP256, kNull}), KeyKind::kECPublic, false, 256, 256, false},
        Row{"EC, unused bits", sequence({kP256, fromHex("0303040440")}), KeyKind::kECPublic, false, 256, 256, false},
        Row{"DSA", of("1.2.840.10040.4.1", integer("0102")), KeyKind::kDSAPublic, false, 2, 16, true},
        Row{"DES", of("1.3.14.3.2.6", octets(des)), KeyKind::kSecret, false, 8, 64, false},
        Row{"DES, its vector", withVector, KeyKind::kSecret, false, 8, 64, false},
        Row{"three keys joined", of("1.2.840.113549.3.8", tripleDES), KeyKind::kSecret, false, 24, 192, false}}) {
    KeyInfo key;
    ASSERT_TRUE(coded(key, row.der).isExact(row.der)) << row.name;
    EXPECT_EQ(key.keyView()->kind(), row.kind) << row.name;
    EXPECT_EQ(key.isRSA(), row.isRSA) << row.name;
    EXPECT_EQ(key.keyBytesLength(), row.length) << row.name;
    EXPECT_EQ(key.keyBitLength(), row.bits) << row.name;
    EXPECT_EQ(key.keyView()->isStripped(), row.stripped) << row.name;
    EXPECT_EQ(std::unique_ptr<unsigned char[]>(key.keyBytes()) == nullptr, slice(row.der, row.der.size() - 2) == kNull)
        << row.name;
  }
  for (const auto& [name, der, kind] :
       {std::tuple{"triple DES of eight octets", of("1.2.840.113549.3.7", octets(des)), KeyKind::kSecret},
        {"EC point with the identifier of RSA", sequence({kRSA, bits(kPoint)}), KeyKind::kRSAPublic},
        {"RSA key with the identifier of DSA", of("1.2.840.10040.4.1", kRSAKey), KeyKind::kDSAPublic},
        {"RSA modulus with a redundant octet", sequence({kRSA, bits(sequence({integer("0041"), integer("03")}))}),
         KeyKind::kRSAPublic},
        {"Ed25519", of("1.3.101.112", kPoint), KeyKind::kNone},
        {"nothing behind the algorithm", sequence({kRSA}), KeyKind::kRSAPublic}}) {
    KeyInfo key;
    EXPECT_FALSE(coded(key, der).read) << name;
    EXPECT_EQ(key.keyView() != nullptr ? key.keyView()->kind() : KeyKind::kNone, kind) << name;
  }
}

// Whatever stands in the BIT STRING is a point as far as reading goes; it is on no curve when it comes to verifying.
TEST(KeyInfo, WithAnRSAKeyUnderAnECIdentifierVerifiesNothing) {
  KeyInfo key;
  ASSERT_TRUE(coded(key, sequence({kP256, bits(kRSAKey)})).read);
  const auto* point = dynamic_cast<const ECDSAPublicKey*>(key.keyView());
  ASSERT_NE(point, nullptr);
  hvECDSA verifier;
  EXPECT_FALSE(verifier.setKey(*point));
  EXPECT_FALSE(verifier.verify(ByteString(32), ByteString(64)));
}

// A caller may put together what no decoder would.
TEST(KeyInfo, WithMismatchedPartsIsWrittenAndMeasuredAllTheSame) {
  KeyInfo mixed;
  EXPECT_EQ(encode(mixed), sequence({}));
  const AlgorithmIdentifier ec("1.2.840.10045.2.1");
  const RSAPublicKey rsa(BigInteger(193), BigInteger(3));
  mixed.setAlgorithm(&ec);
  mixed.setKey(&rsa);
  EXPECT_EQ(encode(mixed), sequence({sequence({oid("1.2.840.10045.2.1"), kNull}), bits(kRSAKey)}));
  EXPECT_EQ(mixed.keyBytesLength(), 0U) << "no parameters, no field";
  EXPECT_EQ(mixed.keyBitLength(), 0U);
}

TEST(Signature, KeepsAbsentAndEmptyApart) {
  for (const char* hex : {"0500", "030100", "030200FF", "030204F0"}) {
    const ByteString der = fromHex(hex);
    Signature signature;
    EXPECT_TRUE(coded(signature, der).isExact(der)) << hex;
    EXPECT_EQ(std::unique_ptr<unsigned char[]>(signature.bytes()) == nullptr, der[0] == 0x05) << hex;
  }
  for (const char* hex : {"0300", "030101", "0400", "030500AA", "0384FFFFFFFF00"}) {
    Signature signature;
    EXPECT_FALSE(coded(signature, fromHex(hex)).read) << hex;
  }
}

}  // namespace
}  // namespace keystrand::test
