// The digests against published vectors, OpenSSL and each other.
#include <gmock/gmock.h>
#include <malloc.h>
#include <p11-kit/pkcs11.h>

#include <random>

#include "crypto/BlockFunctions.h"
#include "crypto/Coding.h"
#include "crypto/Digests.h"
#include "crypto/Vectors.h"
#include "keystrand/der/Buffer.h"

namespace keystrand::test {
namespace {

struct Algorithm {
  std::string name;
  CK_MECHANISM_TYPE mechanism;
  const char* folder;
  const char* file = nullptr;  // of the vectors; null: those of NIST
};

const Algorithm kAll[] = {{"MD5", CKM_MD5, "MD5", "rfc-1321.txt"},
                          {"RIPEMD160", CKM_RIPEMD160, "ripemd160", "ripevectors.txt"},
                          {"SHA1", CKM_SHA_1, "SHA1"},
                          {"SHA224", CKM_SHA224, "SHA2"},
                          {"SHA256", CKM_SHA256, "SHA2"},
                          {"SHA384", CKM_SHA384, "SHA2"},
                          {"SHA512", CKM_SHA512, "SHA2"}};

std::filesystem::path fileOf(const Algorithm& algorithm, const std::string& name) {
  return publishedVectors() / "hashes" / algorithm.folder / name;
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
  for (const Algorithm& algorithm : kAll) {
    const auto digest = makeDigest(algorithm.mechanism);
    std::size_t count = 0;
    std::vector<std::string> files = {algorithm.name + "ShortMsg.rsp", algorithm.name + "LongMsg.rsp"};
    if (algorithm.file != nullptr) files = {algorithm.file};
    for (const std::string& file : files) {
      for (auto& vector : vectorsOf(fileOf(algorithm, file), "MD")) {
        const ByteString message = fromHex(vector["Msg"]);
        digest->update(message.data(), vector["Len"] == "0" ? 0 : message.size());
        ASSERT_EQ(finished(*digest), fromHex(vector["MD"])) << algorithm.name << " Len " << vector["Len"];
        ++count;
      }
    }
    EXPECT_GE(count, 7U) << algorithm.name;
  }
}

TEST(Digest, AgreesWithOpenSSLAtEveryLengthAndSplit) {
  const ByteString data = random(300);
  for (const Algorithm& algorithm : kAll) {
    const auto digest = makeDigest(algorithm.mechanism);
    for (std::size_t n = 0; n <= data.size(); ++n) {
      const ByteString expected = digestOf(algorithm.name, slice(data, 0, n));
      for (const std::size_t split : {n, std::size_t{0}, n / 2, n - n / 3, n - std::min<std::size_t>(n, 1)}) {
        digest->update(data.data(), split);
        digest->update(data.data() + split, n - split);
        ASSERT_EQ(finished(*digest), expected) << algorithm.name << " " << split << " of " << n;
      }
      const std::unique_ptr<DigestInfo> info(digest->digest(data.data(), n));
      ASSERT_TRUE(std::ranges::equal(info->valueView(), expected)) << algorithm.name << " of " << n;
    }
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

// Keys are digested too, and the instances of a session stay as long as the process.
TEST(Digest, KeepsNothingOfAMessage) {
  const ByteString key(24, 'k');
  for (const Algorithm& algorithm : kAll) {
    const auto digest = makeDigest(algorithm.mechanism);
    const auto holds =
        [memory = std::span(reinterpret_cast<const unsigned char*>(digest.get()), malloc_usable_size(digest.get())),
         &key] { return !std::ranges::search(memory, key).empty(); };
    digest->update(key.data(), key.size());
    EXPECT_TRUE(holds()) << algorithm.name;
    finished(*digest);
    EXPECT_FALSE(holds()) << algorithm.name;
    digest->update(key.data(), key.size());
    digest->reset();
    EXPECT_FALSE(holds()) << algorithm.name << ", given up";
  }
}

template <class Word>
void compareBlocks(void (*portable)(Word*, const unsigned char*, std::size_t),
                   void (*accelerated)(Word*, const unsigned char*, std::size_t), const char* name) {
  if (accelerated == nullptr) return;  // this processor has no instructions for it
  const ByteString data = random(16 * sizeof(Word) * 9 + 1);
  for (std::size_t count = 0; count <= 9; ++count) {
    std::array<Word, 8> one;
    for (std::size_t i = 0; i < one.size(); ++i) one[i] = static_cast<Word>(0x9E3779B97F4A7C15U * (i + count + 1));
    std::array<Word, 8> other = one;
    portable(one.data(), data.data() + 1, count);  // not aligned
    accelerated(other.data(), data.data() + 1, count);
    ASSERT_EQ(one, other) << name << ", blocks: " << count;
  }
}

TEST(Blocks, AreTheSameOnBothRoads) {
  compareBlocks(&sha1Portable, sha1Accelerated(), "SHA-1");
  compareBlocks(&sha256Portable, sha256Accelerated(), "SHA-256");
  compareBlocks(&sha512Portable, sha512Accelerated(), "SHA-512");
}

// The two codings that signers use (RFC 8017 section 9.2, note 1).
TEST(DigestInfoCoding, WithNullParametersAndWithout) {
  const ByteString value = digestOf("SHA256", {'a'});
  const ByteString null = fromHex("3031300D060960864801650304020105000420") + value;
  const ByteString absent = fromHex("302F300B06096086480165030402010420") + value;
  DigestInfo info(AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"), value);
  EXPECT_EQ(encode(info), null);
  info.setHasParameters(false);
  EXPECT_EQ(encode(info), absent);
  for (const ByteString& der : {null, absent, fromHex("3011300D060960864801650304020105000400"),
                                fromHex("3011300D060960864801650304020105000500")})
    EXPECT_TRUE(coded(info, der).isExact(der));
  EXPECT_FALSE(coded(info, slice(null, 0, null.size() - 1)).read) << "cut off";
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
