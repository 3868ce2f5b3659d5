// AES in CBC with padding over 1 MB: ours through the device, with a key on its token, beside OpenSSL's EVP. Ours
// stands on OpenSSL's plain block functions, which do not use the AES instructions of the processor.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <memory>
#include <vector>

#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"
#include "keystrand/der/Buffer.h"

namespace keystrand {
namespace {

constexpr std::size_t kLength = 1 << 20;
constexpr unsigned long kAES = 0x1F;  // CKK_AES
const std::vector<unsigned char> kText(kLength, 't');
const unsigned char kVector[16] = {};

void countBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLength));
}

void aesCBC(benchmark::State& state, bool encrypts) {
  CryptoKi ki;
  CryptoDevice device(&ki);
  Buffer sealed;
  Buffer out;
  if (!device.open(0, nullptr, 0) || !device.generateSecret(kAES, 32) ||
      !device.encryptSecret(kText.data(), kLength, kVector, sizeof kVector, sealed)) {
    return state.SkipWithError("no key");
  }
  const auto octets = sealed.range(0, sealed.size());
  for (auto _ : state) {
    const bool done = encrypts ? device.encryptSecret(kText.data(), kLength, kVector, sizeof kVector, out)
                               : device.decryptSecret(octets.data(), octets.size(), kVector, sizeof kVector, out);
    if (!done) state.SkipWithError("failed");
  }
  countBytes(state);
}

void opensslAesCBC(benchmark::State& state, int encrypts) {
  const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                                EVP_CIPHER_CTX_free);
  const unsigned char key[32] = {};
  const auto run = [&](int direction, const std::vector<unsigned char>& in) {
    std::vector<unsigned char> out(in.size() + 16);
    int n = 0;
    int last = 0;
    const bool done = EVP_CipherInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, key, kVector, direction) == 1 &&
                      EVP_CipherUpdate(context.get(), out.data(), &n, in.data(), static_cast<int>(in.size())) == 1 &&
                      EVP_CipherFinal_ex(context.get(), out.data() + n, &last) == 1;
    out.resize(done ? static_cast<std::size_t>(n + last) : 0);
    return out;
  };
  const std::vector<unsigned char> sealed = run(1, kText);
  for (auto _ : state) {
    if (run(encrypts, encrypts != 0 ? kText : sealed).empty()) state.SkipWithError("failed");
  }
  countBytes(state);
}

BENCHMARK_CAPTURE(aesCBC, encrypt, true)->Name("aes_cbc/ours/encrypt");
BENCHMARK_CAPTURE(opensslAesCBC, encrypt, 1)->Name("aes_cbc/openssl/encrypt");
BENCHMARK_CAPTURE(aesCBC, decrypt, false)->Name("aes_cbc/ours/decrypt");
BENCHMARK_CAPTURE(opensslAesCBC, decrypt, 0)->Name("aes_cbc/openssl/decrypt");

}  // namespace
}  // namespace keystrand
