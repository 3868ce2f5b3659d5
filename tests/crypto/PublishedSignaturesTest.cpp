// Signatures published by others, through the device: NIST's CAVP, the vectors of PKCS #1, Wycheproof. Where the device
// answers otherwise than the publisher, the reason stands beside it.
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "OpenDevice.h"
#include "crypto/Vectors.h"
#include "keystrand/crypto/ECDSAPublicKey.h"
#include "keystrand/crypto/RSAPublicKey.h"

namespace keystrand::test {
namespace {

constexpr const char* kRSA = "1.2.840.113549.1.1.1";

// Digest, and the algorithms that sign with it.
struct HashRow {
  std::string name;
  const char *digest, *ecdsa;
  bool pss;  // whether RSASSA-PSS is done with it
};
const HashRow kHashes[] = {
    {"SHA1", "1.3.14.3.2.26", "1.2.840.10045.4.1", true},
    {"SHA224", "2.16.840.1.101.3.4.2.4", "1.2.840.10045.4.3.1", false},
    {"SHA256", "2.16.840.1.101.3.4.2.1", "1.2.840.10045.4.3.2", true},
    {"SHA384", "2.16.840.1.101.3.4.2.2", "1.2.840.10045.4.3.3", true},
    {"SHA512", "2.16.840.1.101.3.4.2.3", "1.2.840.10045.4.3.4", true},
};

const HashRow& hashNamed(std::string name) {
  std::erase(name, '-');
  for (const HashRow& row : kHashes) {
    if (row.name == name) return row;
  }
  throw std::out_of_range(name);
}

struct CurveRow {
  const char *name, *oid;
  std::size_t octets;  // of a coordinate
};
const CurveRow kCurves[] = {
    {"P-192", "1.2.840.10045.3.1.1", 24}, {"P-224", "1.3.132.0.33", 28}, {"P-256", "1.2.840.10045.3.1.7", 32},
    {"P-384", "1.3.132.0.34", 48},        {"P-521", "1.3.132.0.35", 66}, {"K-163", "1.3.132.0.1", 21},
    {"K-233", "1.3.132.0.26", 30},        {"K-283", "1.3.132.0.16", 36}, {"K-409", "1.3.132.0.36", 52},
    {"K-571", "1.3.132.0.38", 72},        {"B-163", "1.3.132.0.15", 21}, {"B-233", "1.3.132.0.27", 30},
    {"B-283", "1.3.132.0.17", 36},        {"B-409", "1.3.132.0.37", 52}, {"B-571", "1.3.132.0.39", 72},
};

ByteString evenHex(const std::string& digits) {
  return fromHex(digits.size() % 2 == 0 ? digits : "0" + digits);
}

ByteString padded(const ByteString& octets, std::size_t length) {
  ByteString out(length > octets.size() ? length - octets.size() : 0, 0);
  out.insert(out.end(), octets.begin(), octets.end());
  return out;
}

std::unique_ptr<KeyInfo> rsaKey(const ByteString& modulus, const ByteString& exponent) {
  const RSAPublicKey key(BigInteger{std::span<const unsigned char>(modulus)},
                         BigInteger{std::span<const unsigned char>(exponent)});
  auto info = std::make_unique<KeyInfo>();
  info->setKey(&key);
  return info;
}

std::unique_ptr<KeyInfo> ecKey(const CurveRow& curve, const ByteString& x, const ByteString& y) {
  ByteString point = {4};
  for (const ByteString& coordinate : {padded(x, curve.octets), padded(y, curve.octets)}) {
    point.insert(point.end(), coordinate.begin(), coordinate.end());
  }
  ECDSAPublicKey key;
  const ECParameters parameters{OID(curve.oid)};
  key.setParameters(&parameters);
  key.setPoint(point);
  auto info = std::make_unique<KeyInfo>();
  info->setKey(&key);
  return info;
}

// Ecdsa-Sig-Value of two numbers.
ByteString ecdsaSignature(const ByteString& r, const ByteString& s) {
  Buffer out;
  const BigInteger first{std::span<const unsigned char>(r)};
  const BigInteger second{std::span<const unsigned char>(s)};
  out.putSequence(first.size(out) + second.size(out));
  first.put(out);
  second.put(out);
  const auto octets = out.range(0, out.size());
  return {octets.begin(), octets.end()};
}

struct Tally {
  int good = 0;
  int bad = 0;
  void count(bool verified) { ++(verified ? good : bad); }
  bool operator==(const Tally&) const = default;
};
void PrintTo(const Tally& tally, std::ostream* out) {
  *out << tally.good << " good, " << tally.bad << " bad";
}

bool verifiesPKCS1(CryptoDevice& device, const HashRow& hash, const ByteString& data, const ByteString& signature,
                   const KeyInfo& key) {
  return device.setDigest(hash.digest) && device.setCipher(kRSA) && verifies(device, data, signature, key);
}

bool verifiesPSS(CryptoDevice& device, const HashRow& hash, const ByteString& data, const ByteString& signature,
                 const KeyInfo& key) {
  return device.setDigest(hash.digest) && device.setSignatureAlgorithm(kPSS) &&
         verifies(device, data, signature, key, true);
}

const std::filesystem::path kAsymmetric = publishedVectors() / "asymmetric";

}  // namespace

TEST(PublishedSignatures, NISTRSAWithPKCS1Padding) {
  OpenDevice open;
  for (const auto& [file, expected] : {std::pair("RSA/FIPS_186-2/SigVer15_186-3.rsp", Tally{75, 375}),
                                       std::pair("RSA/SigVer15EMTest.txt", Tally{0, 150})}) {
    Tally tally;
    forEachVector(kAsymmetric / file, "Result", [&](Fields& v) {
      const auto key = rsaKey(evenHex(v["n"]), evenHex(v["e"]));
      const bool verified =
          verifiesPKCS1(open.device, hashNamed(v["SHAAlg"]), evenHex(v["Msg"]), evenHex(v["S"]), *key);
      EXPECT_EQ(verified, v["Result"].starts_with('P')) << file << " " << v["Msg"];
      tally.count(verified);
    });
    EXPECT_EQ(tally, expected) << file;
  }
}

// Deviation: the salt of these is of 10 octets, or of 20 with every hash, and the device takes a salt as long as the
// hash alone. So of the good ones only those with SHA-1 and 20 octets are verified.
TEST(PublishedSignatures, NISTRSASSAPSS) {
  OpenDevice open;
  Tally tally;
  forEachVector(kAsymmetric / "RSA/FIPS_186-2/SigVerPSS_186-3.rsp", "Result", [&](Fields& v) {
    const auto key = rsaKey(evenHex(v["n"]), evenHex(v["e"]));
    tally.count(verifiesPSS(open.device, hashNamed(v["SHAAlg"]), evenHex(v["Msg"]), evenHex(v["S"]), *key));
  });
  EXPECT_EQ(tally, (Tally{0, 450}));
  tally = {};
  forEachVector(kAsymmetric / "RSA/FIPS_186-2/SigGenPSS_186-2.rsp", "S", [&](Fields& v) {
    const auto key = rsaKey(evenHex(v["n"]), evenHex(v["e"]));
    const bool verified = verifiesPSS(open.device, hashNamed(v["SHAAlg"]), evenHex(v["Msg"]), evenHex(v["S"]), *key);
    EXPECT_EQ(verified, v["SHAAlg"] == "SHA1") << v["Msg"];
    tally.count(verified);
  });
  EXPECT_EQ(tally, (Tally{50, 200}));
}

// Ten keys of 1024 to 2048 bits, among them those whose encoding is an octet shorter than the modulus.
TEST(PublishedSignatures, PKCS1RSASSAPSS) {
  std::ifstream in(kAsymmetric / "RSA/pkcs-1v2-1d2-vec/pss-vect.txt");
  ASSERT_TRUE(in);
  OpenDevice open;
  std::map<std::string, ByteString> fields;
  std::string field;
  Tally tally;
  const auto check = [&] {
    const auto key = rsaKey(fields["Modulus"], fields["Public exponent"]);
    tally.count(verifiesPSS(open.device, hashNamed("SHA1"), fields["Message to be signed"], fields["Signature"], *key));
    EXPECT_FALSE(verifiesPSS(open.device, hashNamed("SHA1"), fields["Message to be signed"],
                             withBitFlipped(fields["Signature"]), *key));
  };
  for (std::string line; std::getline(in, line);) {
    line.erase(line.find_last_not_of("\r ") + 1);
    if (line.starts_with("# ") && line.ends_with(':')) {
      field = line.substr(2, line.size() - 3);
      fields[field].clear();
    } else if (!line.empty() && line[0] != '#' && !field.empty()) {
      std::erase(line, ' ');
      const ByteString octets = fromHex(line);
      fields[field].insert(fields[field].end(), octets.begin(), octets.end());
    } else if (line.empty()) {
      if (field == "Signature" && !fields[field].empty()) check();
      field.clear();
    }
  }
  EXPECT_EQ(tally, (Tally{60, 0}));
}

TEST(PublishedSignatures, NISTECDSA) {
  OpenDevice open;
  Tally tally;
  for (const char* file : {"ECDSA/FIPS_186-3/SigVer.rsp", "ECDSA/FIPS_186-2/SigVer.rsp"}) {
    forEachVector(kAsymmetric / file, "Result", [&](Fields& v) {
      const std::string section = v["section"];
      const auto comma = section.find(',');
      const HashRow& hash = hashNamed(comma == std::string::npos ? "SHA1" : section.substr(comma + 1));
      const std::string curve = section.substr(0, comma);
      const auto row = std::ranges::find(kCurves, curve, &CurveRow::name);
      ASSERT_NE(row, std::end(kCurves)) << section;
      const auto key = ecKey(*row, evenHex(v["Qx"]), evenHex(v["Qy"]));
      ASSERT_TRUE(open.device.setSignatureAlgorithm(hash.ecdsa));
      const bool verified =
          verifies(open.device, evenHex(v["Msg"]), ecdsaSignature(evenHex(v["R"]), evenHex(v["S"])), *key);
      EXPECT_EQ(verified, v["Result"].starts_with('P')) << section << " " << v["Msg"];
      tally.count(verified);
    });
  }
  EXPECT_GT(tally.good, 200);
  EXPECT_GT(tally.bad, 700);
}

// No deviation: what is invalid is refused, the encodings that are not DER included. The one case that is "acceptable"
// leaves the NULL of the DigestInfo out, and is accepted.
TEST(PublishedSignatures, Wycheproof) {
  struct Row {
    const char *file, *algorithm;
    bool pss;
  };
  OpenDevice open;
  for (const Row& row : {Row{"rsa_signature_2048_sha256_test.json", "1.2.840.113549.1.1.11", false},
                         Row{"rsa_pss_2048_sha256_mgf1_32_test.json", kPSS, true},
                         Row{"ecdsa_secp256r1_sha256_test.json", "1.2.840.10045.4.3.2", false},
                         Row{"ecdsa_brainpoolP256r1_sha256_test.json", "1.2.840.10045.4.3.2", false}}) {
    const auto path = testData(std::string("vectors/wycheproof/") + row.file);
    if (!path) GTEST_SKIP() << kNoTestData;
    std::ifstream in(*path);
    const auto vectors = nlohmann::json::parse(in);
    int tests = 0;
    for (const auto& group : vectors["testGroups"]) {
      const auto key = keyInfoFrom(fromHex(group["publicKeyDer"]));
      ASSERT_NE(key, nullptr) << row.file;
      for (const auto& test : group["tests"]) {
        ++tests;
        ASSERT_TRUE(open.device.setDigest("2.16.840.1.101.3.4.2.1"));
        ASSERT_TRUE(open.device.setSignatureAlgorithm(row.algorithm));
        const bool verified = verifies(open.device, fromHex(test["msg"]), fromHex(test["sig"]), *key, row.pss);
        EXPECT_EQ(verified, test["result"] != "invalid") << row.file << " " << test["tcId"] << " " << test["comment"];
      }
    }
    EXPECT_EQ(tests, vectors["numberOfTests"]) << row.file;
  }
}

}  // namespace keystrand::test
