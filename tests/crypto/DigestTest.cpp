// The digests against published vectors, OpenSSL and each other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <p11-kit/pkcs11.h>

#include <fstream>
#include <map>
#include <random>

#include "crypto/BlockFunctions.h"
#include "crypto/Coding.h"
#include "crypto/Digests.h"
#include "keystrand/der/Buffer.h"

namespace keystrand::test {
namespace {

struct Algorithm {
  const char* name;
  CK_MECHANISM_TYPE mechanism;
  const char* oid;
  const char* folder;
  std::vector<const char*> files;
  const char* monte;
};

const std::vector<Algorithm>& algorithms() {
  static const std::vector<Algorithm> kAll = {
      {"MD5", CKM_MD5, "1.2.840.113549.2.5", "MD5", {"rfc-1321.txt"}, nullptr},
      {"RIPEMD160", CKM_RIPEMD160, "1.3.36.3.2.1", "ripemd160", {"ripevectors.txt"}, nullptr},
      {"SHA1", CKM_SHA_1, "1.3.14.3.2.26", "SHA1", {"SHA1ShortMsg.rsp", "SHA1LongMsg.rsp"}, "SHA1Monte.rsp"},
      {"SHA224",
       CKM_SHA224,
       "2.16.840.1.101.3.4.2.4",
       "SHA2",
       {"SHA224ShortMsg.rsp", "SHA224LongMsg.rsp"},
       "SHA224Monte.rsp"},
      {"SHA256",
       CKM_SHA256,
       "2.16.840.1.101.3.4.2.1",
       "SHA2",
       {"SHA256ShortMsg.rsp", "SHA256LongMsg.rsp"},
       "SHA256Monte.rsp"},
      {"SHA384",
       CKM_SHA384,
       "2.16.840.1.101.3.4.2.2",
       "SHA2",
       {"SHA384ShortMsg.rsp", "SHA384LongMsg.rsp"},
       "SHA384Monte.rsp"},
      {"SHA512",
       CKM_SHA512,
       "2.16.840.1.101.3.4.2.3",
       "SHA2",
       {"SHA512ShortMsg.rsp", "SHA512LongMsg.rsp"},
       "SHA512Monte.rsp"}};
  return kAll;
}

// What a line "Key = value" says; empty for any other line.
std::pair<std::string, std::string> keyAndValue(std::string line) {
  line.erase(line.find_last_not_of("\r ") + 1);
  const std::size_t sign = line.find(" = ");
  if (sign == std::string::npos) return {};
  return {line.substr(0, sign), line.substr(sign + 3)};
}

// Each case ends with its digest; a seed stays in force for those behind it.
std::vector<std::map<std::string, std::string>> readVectors(const Algorithm& algorithm, const char* file) {
  std::vector<std::map<std::string, std::string>> cases;
  std::map<std::string, std::string> now;
  std::ifstream in(publishedVectors() / "hashes" / algorithm.folder / file);
  for (std::string line; std::getline(in, line);) {
    const auto [key, value] = keyAndValue(line);
    if (!key.empty()) now[key] = value;
    if (key == "MD") cases.push_back(now);
  }
  return cases;
}

ByteString finished(MessageDigest& digest) {
  ByteString value(digest.digestLength());
  EXPECT_EQ(digest.final(value), value.size());
  return value;
}

ByteString random(std::size_t n) {
  std::mt19937 generator(7);
  ByteString bytes(n);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(generator());
  return bytes;
}

TEST(Digest, GivesThePublishedValues) {
  for (const Algorithm& algorithm : algorithms()) {
    const auto digest = makeDigest(algorithm.mechanism);
    std::size_t count = 0;
    for (const char* file : algorithm.files) {
      for (auto& vector : readVectors(algorithm, file)) {
        const ByteString message = fromHex(vector["Msg"]);
        digest->update(message.data(), vector["Len"] == "0" ? 0 : message.size());
        ASSERT_EQ(finished(*digest), fromHex(vector["MD"])) << algorithm.name << " Len " << vector["Len"];
        ++count;
      }
    }
    EXPECT_GE(count, 7U) << algorithm.name;
  }
}

// A hundred thousand digests, each of the three before it: any state left over from one would spoil all that follow.
TEST(Digest, SurvivesTheMonteCarloTest) {
  for (const Algorithm& algorithm : algorithms()) {
    if (algorithm.monte == nullptr) continue;
    const auto digest = makeDigest(algorithm.mechanism);
    auto vectors = readVectors(algorithm, algorithm.monte);
    ASSERT_EQ(vectors.size(), 100U) << algorithm.name;
    ByteString seed = fromHex(vectors.front()["Seed"]);
    for (auto& vector : vectors) {
      std::array<ByteString, 3> last = {seed, seed, seed};
      for (int i = 0; i < 1000; ++i) {
        for (const ByteString& part : last) digest->update(part.data(), part.size());
        last = {last[1], last[2], finished(*digest)};
      }
      seed = last[2];
      ASSERT_EQ(seed, fromHex(vector["MD"])) << algorithm.name << " COUNT " << vector["COUNT"];
    }
  }
}

TEST(Digest, AgreesWithOpenSSLAtEveryLengthAndSplit) {
  const ByteString data = random(300);
  for (const Algorithm& algorithm : algorithms()) {
    const auto digest = makeDigest(algorithm.mechanism);
    for (std::size_t n = 0; n <= data.size(); ++n) {
      const ByteString expected = digestOf(algorithm.name, {data.begin(), data.begin() + static_cast<long>(n)});
      for (const std::size_t split : {n, std::size_t{0}, n / 2, n - n / 3, n - std::min<std::size_t>(n, 1)}) {
        digest->update(data.data(), split);
        digest->update(data.data() + split, n - split);
        ASSERT_EQ(finished(*digest), expected) << algorithm.name << " " << split << " of " << n;
      }
    }
  }
}

TEST(Digest, OfOneByteAtATimeIsTheSame) {
  const ByteString data = random(1000);
  for (const Algorithm& algorithm : algorithms()) {
    const auto digest = makeDigest(algorithm.mechanism);
    for (const unsigned char& byte : data) digest->update(&byte, 1);
    EXPECT_EQ(finished(*digest), digestOf(algorithm.name, data)) << algorithm.name;
  }
}

TEST(Digest, ComesAsADigestInfoWithItsAlgorithm) {
  const ByteString message = {'a', 'b', 'c'};
  for (const Algorithm& algorithm : algorithms()) {
    const auto digest = makeDigest(algorithm.mechanism);
    digest->update(message.data(), 2);  // an unfinished computation does not leak into the next
    const std::unique_ptr<DigestInfo> info(digest->digest(message.data(), message.size()));
    const auto value = info->valueView();
    EXPECT_EQ(ByteString(value.begin(), value.end()), digestOf(algorithm.name, message)) << algorithm.name;
    EXPECT_TRUE(info->algorithmView()->equals(algorithm.oid)) << algorithm.name;
    EXPECT_EQ(info->length(), digest->digestLength()) << algorithm.name;
  }
}

TEST(Digest, KeepsItsStateWhenThereIsNoRoomForTheValue) {
  const auto digest = makeDigest(CKM_SHA256);
  const ByteString message = {'a', 'b', 'c'};
  digest->update(message.data(), message.size());
  ByteString room(31);
  EXPECT_EQ(digest->final(room), 0U);
  EXPECT_EQ(room, ByteString(31));
  EXPECT_EQ(finished(*digest), digestOf("SHA256", message));
}

template <class Word>
void compareBlocks(void (*portable)(Word*, const unsigned char*, std::size_t),
                   void (*accelerated)(Word*, const unsigned char*, std::size_t), const char* name) {
  if (accelerated == nullptr) GTEST_SKIP() << "this processor has no instructions for " << name;
  constexpr std::size_t kBlock = 16 * sizeof(Word);
  const ByteString data = random(kBlock * 9 + 1);
  for (std::size_t count = 0; count <= 9; ++count) {
    std::array<Word, 8> one;
    for (std::size_t i = 0; i < one.size(); ++i) one[i] = static_cast<Word>(0x9E3779B97F4A7C15U * (i + count + 1));
    std::array<Word, 8> other = one;
    portable(one.data(), data.data() + 1, count);  // not aligned
    accelerated(other.data(), data.data() + 1, count);
    ASSERT_EQ(one, other) << name << ", blocks: " << count;
  }
}

TEST(Blocks, OfSHA1AreTheSameOnBothRoads) {
  compareBlocks(&sha1Portable, sha1Accelerated(), "SHA-1");
}
TEST(Blocks, OfSHA256AreTheSameOnBothRoads) {
  compareBlocks(&sha256Portable, sha256Accelerated(), "SHA-256");
}
TEST(Blocks, OfSHA512AreTheSameOnBothRoads) {
  compareBlocks(&sha512Portable, sha512Accelerated(), "SHA-512");
}

// The two codings that signers use (RFC 8017 section 9.2, note 1).
TEST(DigestInfoCoding, WithNullParametersAndWithout) {
  const ByteString value = digestOf("SHA256", {'a'});
  const auto with = [&](const char* head) {
    ByteString der = fromHex(head);
    der.insert(der.end(), value.begin(), value.end());
    return der;
  };
  const ByteString null = with("3031300D060960864801650304020105000420");
  const ByteString absent = with(
      "302F300B0609608648016503040201"
      "0420");
  DigestInfo info(AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"), value);
  EXPECT_EQ(encoded(info), null);
  info.setHasParameters(false);
  EXPECT_EQ(encoded(info), absent);
  for (const ByteString& der : {null, absent,
                                fromHex("3011300D06096086480165030402010500"
                                        "0400"),
                                fromHex("3011300D06096086480165030402010500"
                                        "0500")}) {
    EXPECT_TRUE(coded(info, der).isExact(der));
  }
  EXPECT_FALSE(coded(info, fromHex("3030300D060960864801650304020105000420AA")).read) << "cut off";
}

// A digest is found by its octets, whatever its algorithm is called.
TEST(DigestInfoCoding, IsEqualByTheOctetsAlone) {
  const ByteString value = digestOf("SHA256", {'a'});
  const DigestInfo info(AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"), value);
  EXPECT_TRUE(info.equals(DigestInfo(AlgorithmIdentifier("1.3.14.3.2.26", false), value)));
  EXPECT_FALSE(info.equals(DigestInfo(*info.algorithmView(), withBitFlipped(value))));
  EXPECT_FALSE(info.equals(DigestInfo(*info.algorithmView(), std::span(value).first(31))));
  EXPECT_FALSE(info.equals(DigestInfo()));
}

}  // namespace
}  // namespace keystrand::test
