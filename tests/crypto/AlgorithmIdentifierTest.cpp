// Algorithm identifiers and their parameters: what comes back, what stays unread, and what is refused.
#include <gtest/gtest.h>

#include <algorithm>

#include "crypto/Coding.h"
#include "crypto/MGF1Parameters.h"
#include "crypto/RSASSA_PSSParameters.h"
#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/ECParameters.h"

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
  struct Row {
    const char* name;
    std::vector<ByteString> content;
  };
  const ByteString pbe = sequence({octets("0102030405060708"), integer("0800")});
  for (const Row& row : {
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
    const ByteString der = sequence(row.content);
    AlgorithmIdentifier algorithm;
    EXPECT_TRUE(coded(algorithm, der).isExact(der)) << row.name;
    const std::unique_ptr<AlgorithmIdentifier> copy(algorithm.clone());
    EXPECT_EQ(encode(*copy), der) << row.name;
  }
}

// Parameters without a class stay unread and the answer is true: it is the enclosing structure that then fails.
TEST(AlgorithmIdentifier, LeavesParametersOfUnknownAlgorithms) {
  const ByteString identifier = oid("1.2.3.4");
  const ByteString der = sequence({identifier, octets("AABB")});
  AlgorithmIdentifier algorithm;
  const Coded result = coded(algorithm, der);
  EXPECT_TRUE(result.read);
  EXPECT_EQ(result.position, 2 + identifier.size());
  EXPECT_FALSE(algorithm.hasParameter());
  EXPECT_TRUE(algorithm.hasParameters());
}

TEST(AlgorithmIdentifier, RefusesWhatItCannotRead) {
  struct Row {
    const char* name;
    ByteString der;
  };
  for (const Row& row : {
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
    EXPECT_FALSE(coded(algorithm, row.der).read) << row.name;
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
  const auto* pss = dynamic_cast<const RSASSA_PSSParameters*>(algorithm.parameterView());
  ASSERT_NE(pss, nullptr);
  EXPECT_EQ(pss->hashView(), nullptr);
  EXPECT_EQ(pss->maskGenView(), nullptr);
  EXPECT_EQ(pss->saltLength(), 20);
  EXPECT_EQ(pss->trailerField(), 1);
}

// Each level wraps the one before: headers are laid down innermost first and turned round at the end.
ByteString nested(const std::vector<ByteString>& heads, int levels, std::size_t content) {
  ByteString reversed;
  const auto wrap = [&](unsigned char tag) {
    ByteString header;
    Buffer out;
    out.putHeader(tag, static_cast<std::uint32_t>(reversed.size() + content));
    std::uint32_t n = 0;
    const unsigned char* bytes = out.data(n);
    reversed.insert(reversed.end(), std::reverse_iterator(bytes + n), std::reverse_iterator(bytes));
  };
  for (int i = 0; i < levels; ++i) {
    for (const ByteString& head : heads) {
      if (head.size() == 1) {
        wrap(head[0]);
      } else {
        reversed.insert(reversed.end(), head.rbegin(), head.rend());
      }
    }
  }
  std::ranges::reverse(reversed);
  return reversed;
}

TEST(AlgorithmIdentifier, EndsWhereItNestsTooDeep) {
  struct Row {
    const char* name;
    std::vector<ByteString> heads;  // one octet: the tag of a wrapper
  };
  const ByteString pbmHead = [] {
    ByteString head = octets("00");
    const ByteString owf = sequence({oid("1.3.14.3.2.26")});
    const ByteString count = integer("01");
    head.insert(head.end(), owf.begin(), owf.end());
    head.insert(head.end(), count.begin(), count.end());
    return head;
  }();
  for (const Row& row :
       {Row{"mask generation", {kMGF1, {0x30}}}, Row{"PSS, as its own hash", {{0xA0}, {0x30}, kPSS, {0x30}}},
        Row{"PSS, as its own mask generation", {{0xA1}, {0x30}, kPSS, {0x30}}},
        Row{"MAC of a MAC", {pbmHead, {0x30}, kPBM, {0x30}}}}) {
    for (const auto& [levels, ok] : {std::pair{15, true}, {16, false}, {1000, false}, {50000, false}}) {
      ByteString der = nested(row.heads, levels, kSHA1.size());
      der.insert(der.end(), kSHA1.begin(), kSHA1.end());
      AlgorithmIdentifier algorithm;
      const Coded result = coded(algorithm, der);
      EXPECT_EQ(result.read, ok) << row.name << ", levels: " << levels;
      if (ok) {
        EXPECT_EQ(result.rewritten, der) << row.name;
      }
    }
  }
}

}  // namespace
}  // namespace keystrand::test
