// SubjectPublicKeyInfo: every key of the certificates at hand comes back byte for byte, and no key is taken for
// another.
#include <gtest/gtest.h>
#include <openssl/pem.h>

#include <map>

#include "crypto/Coding.h"
#include "crypto/hvECDSA.h"
#include "keystrand/crypto/ECDSAPublicKey.h"
#include "keystrand/crypto/KeyInfo.h"
#include "keystrand/crypto/RSAPublicKey.h"
#include "keystrand/crypto/Signature.h"

namespace keystrand::test {
namespace {

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
