// Signatures published by others, through the device: NIST's CAVP, the vectors of PKCS #1, Wycheproof. Where the device
// answers otherwise than the publisher, the reason stands beside it.
#include <fstream>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>

#include "OpenDevice.h"
#include "crypto/Vectors.h"
#include "keystrand/crypto/ECDSAPublicKey.h"
#include "keystrand/crypto/RSAPublicKey.h"
#include "support/Coding.h"
#include "support/Der.h"

namespace keystrand::test {
namespace {

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
  return ByteString(length > octets.size() ? length - octets.size() : 0) + octets;
}

std::unique_ptr<KeyInfo> infoOf(const Key& key) {
  auto info = std::make_unique<KeyInfo>();
  info->setKey(&key);
  return info;
}

std::unique_ptr<KeyInfo> rsaKey(const ByteString& modulus, const ByteString& exponent) {
  return infoOf(RSAPublicKey(BigInteger(modulus), BigInteger(exponent)));
}

std::unique_ptr<KeyInfo> ecKey(const CurveRow& curve, const ByteString& x, const ByteString& y) {
  ECDSAPublicKey key;
  const ECParameters parameters{OID(curve.oid)};
  key.setParameters(&parameters);
  key.setPoint(ByteString{4} + padded(x, curve.octets) + padded(y, curve.octets));
  return infoOf(key);
}

// Ecdsa-Sig-Value of two numbers.
ByteString ecdsaSignature(const ByteString& r, const ByteString& s) {
  return withChildren(0x30, {encode(BigInteger(r)), encode(BigInteger(s))});
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

// The fields of a vector of NIST's, or of others named alike.
bool verifiesRSA(CryptoDevice& device, Fields& v, bool pss) {
  const auto key = rsaKey(evenHex(v["n"]), evenHex(v["e"]));
  return device.setDigest(hashNamed(v["SHAAlg"]).digest) &&
         (pss ? device.setSignatureAlgorithm(kPSS) : device.setCipher("1.2.840.113549.1.1.1")) &&
         verifies(device, evenHex(v["Msg"]), evenHex(v["S"]), *key, pss);
}

const std::filesystem::path kAsymmetric = publishedVectors() / "asymmetric";

}  // namespace

// Deviation: the salt of RSASSA-PSS is of 10 octets, or of 20 with every hash, and the device takes a salt as long as
// the hash alone. So of the good ones only those with SHA-1 and 20 octets are verified.
TEST(PublishedSignatures, NISTRSA) {
  OpenDevice open;
  struct Row {
    const char *file, *last;
    bool pss;
    std::function<bool(Fields&)> good;
    Tally tally;
  };
  const auto passed = [](Fields& v) { return v["Result"].starts_with('P'); };
  for (const Row& row :
       {Row{"RSA/FIPS_186-2/SigVer15_186-3.rsp", "Result", false, passed, {75, 375}},
        Row{"RSA/SigVer15EMTest.txt", "Result", false, passed, {0, 150}},
        Row{"RSA/FIPS_186-2/SigVerPSS_186-3.rsp", "Result", true, [](Fields&) { return false; }, {0, 450}},
        Row{"RSA/FIPS_186-2/SigGenPSS_186-2.rsp",
            "S",
            true,
            [](Fields& v) { return v["SHAAlg"] == "SHA1"; },
            {50, 200}}}) {
    Tally tally;
    forEachVector(kAsymmetric / row.file, row.last, [&](Fields& v) {
      const bool verified = verifiesRSA(open.device, v, row.pss);
      EXPECT_EQ(verified, row.good(v)) << row.file << " " << v["Msg"];
      tally.count(verified);
    });
    EXPECT_EQ(tally, row.tally) << row.file;
  }
}

// Ten keys of 1024 to 2048 bits, among them those whose encoding is an octet shorter than the modulus.
TEST(PublishedSignatures, PKCS1RSASSAPSS) {
  const std::map<std::string, std::string> names = {
      {"Modulus", "n"}, {"Public exponent", "e"}, {"Message to be signed", "Msg"}, {"Signature", "S"}};
  std::ifstream in(kAsymmetric / "RSA/pkcs-1v2-1d2-vec/pss-vect.txt");
  ASSERT_TRUE(in);
  OpenDevice open;
  Fields fields = {{"SHAAlg", "SHA1"}};
  std::string field;
  Tally tally;
  for (std::string line; std::getline(in, line);) {
    line.erase(line.find_last_not_of("\r ") + 1);
    if (line.starts_with("# ") && line.ends_with(':')) {
      const auto name = names.find(line.substr(2, line.size() - 3));
      field = name != names.end() ? name->second : "";
      fields[field].clear();
    } else if (line.empty() && field == "S" && !fields["S"].empty()) {
      tally.count(verifiesRSA(open.device, fields, true));
      fields["S"].back() = fields["S"].ends_with('0') ? '1' : '0';
      EXPECT_FALSE(verifiesRSA(open.device, fields, true));
      field.clear();
    } else if (!line.empty() && line[0] != '#') {
      std::erase(line, ' ');
      fields[field] += line;
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
  using Row = std::tuple<const char*, const char*, bool>;
  OpenDevice open;
  for (const auto& [file, algorithm, pss] :
       {Row{"rsa_signature_2048_sha256_test.json", "1.2.840.113549.1.1.11", false},
        Row{"rsa_pss_2048_sha256_mgf1_32_test.json", kPSS, true},
        Row{"ecdsa_secp256r1_sha256_test.json", "1.2.840.10045.4.3.2", false},
        Row{"ecdsa_brainpoolP256r1_sha256_test.json", "1.2.840.10045.4.3.2", false}}) {
    const auto path = testData(std::string("vectors/wycheproof/") + file);
    if (!path) GTEST_SKIP() << kNoTestData;
    std::ifstream in(*path);
    const auto vectors = nlohmann::json::parse(in);
    int tests = 0;
    for (const auto& group : vectors["testGroups"]) {
      const auto key = keyInfoFrom(fromHex(group["publicKeyDer"]));
      ASSERT_NE(key, nullptr) << file;
      for (const auto& test : group["tests"]) {
        ++tests;
        ASSERT_TRUE(open.device.setDigest("2.16.840.1.101.3.4.2.1"));
        ASSERT_TRUE(open.device.setSignatureAlgorithm(algorithm));
        const bool verified = verifies(open.device, fromHex(test["msg"]), fromHex(test["sig"]), *key, pss);
        EXPECT_EQ(verified, test["result"] != "invalid") << file << " " << test["tcId"] << " " << test["comment"];
      }
    }
    EXPECT_EQ(tests, vectors["numberOfTests"]) << file;
  }
}

}  // namespace keystrand::test
