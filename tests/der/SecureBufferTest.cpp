#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <limits>

#include "der/BufferContents.h"
#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"
#include "keystrand/der/SecureBuffer.h"

namespace keystrand::test {
namespace {

constexpr std::uint32_t kChunk = 0x80000;

ByteString digestByOpenSSL(const ByteString& bytes, std::size_t from, std::size_t to) {
  ByteString digest(32);
  EVP_Digest(bytes.data() + from, to - from, digest.data(), nullptr, EVP_sha256(), nullptr);
  return digest;
}

// The digest of a result, which is released.
ByteString digestOf(DigestInfo* info) {
  const std::unique_ptr<DigestInfo> result(info);
  if (result == nullptr) return {};
  return {result->valueView().begin(), result->valueView().end()};
}

class SecureBufferTest : public ::testing::Test {
 protected:
  SecureBufferTest() {
    device_.open(0, nullptr, 0);
    EXPECT_TRUE(device_.setDigest("2.16.840.1.101.3.4.2.1"));
  }
  CryptoKi cryptoKi_;
  CryptoDevice device_{&cryptoKi_};
};

TEST_F(SecureBufferTest, DigestsRangesAtEverySizeAroundAPiece) {
  for (const std::uint32_t n : {1U, kChunk - 1, kChunk, kChunk + 1, 2 * kChunk, 2 * kChunk + 5}) {
    ByteString bytes(n);
    for (std::uint32_t i = 0; i < n; ++i) bytes[i] = static_cast<unsigned char>(i * 31 + i / 256);
    SecureBuffer buffer(&device_);
    fill(buffer, bytes);
    EXPECT_EQ(digestOf(buffer.digestAll()), digestByOpenSSL(bytes, 0, n)) << n;
    EXPECT_EQ(digestOf(buffer.digestRange(n / 3, n)), digestByOpenSSL(bytes, n / 3, n)) << n;
    EXPECT_EQ(digestOf(buffer.digestFrom(n / 2)), digestByOpenSSL(bytes, n / 2, n)) << n;
    EXPECT_EQ(digestOf(buffer.digestChunks(0, n, 1000)), digestByOpenSSL(bytes, 0, n)) << n;
    EXPECT_EQ(digestOf(buffer.digestChunks(0, n, 0)), digestByOpenSSL(bytes, 0, n)) << n;
    buffer.setReadPosition(n - 1);
    EXPECT_EQ(digestOf(buffer.digestUpToCursor()), digestByOpenSSL(bytes, 0, n - 1)) << n;
    EXPECT_EQ(digestOf(buffer.digestUpToCursor(n / 2)), digestByOpenSSL(bytes, n / 2, std::max(n / 2, n - 1))) << n;
  }
}

TEST_F(SecureBufferTest, RangesOutsideTheBlockAreClamped) {
  const ByteString bytes = hex("0102030405");
  SecureBuffer buffer(&device_);
  const ByteString nothing = digestByOpenSSL(bytes, 0, 0);
  EXPECT_EQ(digestOf(buffer.digestAll()), nothing) << "no block";
  fill(buffer, bytes);
  constexpr std::uint32_t kFar = std::numeric_limits<std::uint32_t>::max();
  EXPECT_EQ(digestOf(buffer.digestRange(1, kFar)), digestByOpenSSL(bytes, 1, 5));
  EXPECT_EQ(digestOf(buffer.digestChunks(1, kFar, 2)), digestByOpenSSL(bytes, 1, 5));
  for (DigestInfo* empty : {buffer.digestRange(4, 2), buffer.digestFrom(kFar), buffer.digestChunks(kFar, 3, 1)})
    EXPECT_EQ(digestOf(empty), nothing);

  SecureBuffer without(nullptr, 10);  // every operation fails
  without.putByte(1);
  const AlgorithmIdentifier sha1("1.3.14.3.2.26");
  EXPECT_FALSE(without.setDigestAlgorithm(sha1) || without.setSignatureAlgorithm(sha1));
  EXPECT_TRUE(without.digestAll() == nullptr && without.digestChunks(0, 1, 1) == nullptr);
  EXPECT_EQ(without.signAll(), nullptr);
}

}  // namespace
}  // namespace keystrand::test
