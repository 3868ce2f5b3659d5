// The digests over 1 MB: ours beside OpenSSL's, on the same bytes, and the portable block functions alone.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <p11-kit/pkcs11.h>

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "crypto/BlockFunctions.h"
#include "crypto/Digests.h"

namespace keystrand {
namespace {

constexpr std::size_t kLength = 1 << 20;
using Value = std::array<unsigned char, EVP_MAX_MD_SIZE>;

const std::vector<unsigned char>& input() {
  static const std::vector<unsigned char> bytes = [] {
    std::vector<unsigned char> made(kLength);
    for (std::size_t i = 0; i < made.size(); ++i) made[i] = static_cast<unsigned char>((i * 167) ^ (i >> 8));
    return made;
  }();
  return bytes;
}

void countBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLength));
}

std::span<const unsigned char> evpDigest(const EVP_MD* algorithm, Value& value) {
  unsigned int length = 0;
  EVP_Digest(input().data(), kLength, value.data(), &length, algorithm, nullptr);
  return std::span(value).first(length);
}

std::span<const unsigned char> ourDigest(MessageDigest& digest, Value& value) {
  digest.update(input().data(), kLength);
  return std::span(value).first(digest.final(value));
}

void ours(benchmark::State& state, CK_MECHANISM_TYPE mechanism, const EVP_MD* peer) {
  const auto digest = makeDigest(mechanism);
  Value value;
  Value expected;
  if (!std::ranges::equal(ourDigest(*digest, value), evpDigest(peer, expected))) state.SkipWithError("wrong digest");
  for (auto _ : state) benchmark::DoNotOptimize(ourDigest(*digest, value));
  countBytes(state);
}

void openssl(benchmark::State& state, const char* name) {
  EVP_MD* algorithm = EVP_MD_fetch(nullptr, name, nullptr);
  Value value;
  for (auto _ : state) benchmark::DoNotOptimize(evpDigest(algorithm, value));
  EVP_MD_free(algorithm);
  countBytes(state);
}

template <class Word>
void portable(benchmark::State& state, void (*function)(Word*, const unsigned char*, std::size_t)) {
  std::array<Word, 8> chaining{};
  for (auto _ : state) function(chaining.data(), input().data(), kLength / (16 * sizeof(Word)));
  benchmark::DoNotOptimize(chaining);
  countBytes(state);
}

constexpr auto portable32 = &portable<std::uint32_t>;
constexpr auto portable64 = &portable<std::uint64_t>;

BENCHMARK_CAPTURE(ours, sha1, CKM_SHA_1, EVP_sha1())->Name("digest/ours/sha1");
BENCHMARK_CAPTURE(openssl, sha1, "SHA1")->Name("digest/openssl/sha1");
BENCHMARK_CAPTURE(ours, sha256, CKM_SHA256, EVP_sha256())->Name("digest/ours/sha256");
BENCHMARK_CAPTURE(openssl, sha256, "SHA256")->Name("digest/openssl/sha256");
BENCHMARK_CAPTURE(ours, sha384, CKM_SHA384, EVP_sha384())->Name("digest/ours/sha384");
BENCHMARK_CAPTURE(openssl, sha384, "SHA384")->Name("digest/openssl/sha384");
BENCHMARK_CAPTURE(ours, md5, CKM_MD5, EVP_md5())->Name("digest/ours/md5");
BENCHMARK_CAPTURE(openssl, md5, "MD5")->Name("digest/openssl/md5");
BENCHMARK_CAPTURE(ours, ripemd160, CKM_RIPEMD160, EVP_ripemd160())->Name("digest/ours/ripemd160");
BENCHMARK_CAPTURE(openssl, ripemd160, "RIPEMD160")->Name("digest/openssl/ripemd160");
BENCHMARK_CAPTURE(portable32, sha1, &sha1Portable)->Name("digest/portable/sha1");
BENCHMARK_CAPTURE(portable32, sha256, &sha256Portable)->Name("digest/portable/sha256");
BENCHMARK_CAPTURE(portable64, sha512, &sha512Portable)->Name("digest/portable/sha512");

}  // namespace
}  // namespace keystrand
