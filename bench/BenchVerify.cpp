// Signature checks from the bytes of a SubjectPublicKeyInfo: ours through the device, OpenSSL's from the same bytes,
// and OpenSSL's with a key prepared once. All over the same digest and signature. And the device's digest of a small
// body.
#include <benchmark/benchmark.h>
#include <openssl/x509.h>

#include "BenchKeys.h"
#include "der/BorrowedBuffer.h"

namespace keystrand {
namespace {

// A message digest signed with a new key.
struct Signed {
  explicit Signed(const Algorithm& chosen) : algorithm(chosen), md(EVP_get_digestbyname(chosen.digest)) {
    const KeyHandle key = algorithm.generate();
    keyBytes.resize(static_cast<std::size_t>(i2d_PUBKEY(key.get(), nullptr)));
    unsigned char* out = keyBytes.data();
    i2d_PUBKEY(key.get(), &out);
    digest.resize(static_cast<std::size_t>(EVP_MD_get_size(md)));
    EVP_Digest(message.data(), message.size(), digest.data(), nullptr, md, nullptr);
    const KeyContext context(EVP_PKEY_CTX_new(key.get(), nullptr));
    std::size_t length = 1024;
    signature.resize(length);
    EVP_PKEY_sign_init(context.get());
    EVP_PKEY_CTX_set_signature_md(context.get(), md);
    EVP_PKEY_sign(context.get(), signature.data(), &length, digest.data(), digest.size());
    signature.resize(length);
  }

  [[nodiscard]] KeyHandle decodedKey() const {
    const unsigned char* in = keyBytes.data();
    return KeyHandle(d2i_PUBKEY(nullptr, &in, static_cast<long>(keyBytes.size())));
  }
  [[nodiscard]] bool verifiedBy(EVP_PKEY* key) const {
    const KeyContext context(EVP_PKEY_CTX_new(key, nullptr));
    EVP_PKEY_verify_init(context.get());
    EVP_PKEY_CTX_set_signature_md(context.get(), md);
    return EVP_PKEY_verify(context.get(), signature.data(), signature.size(), digest.data(), digest.size()) == 1;
  }

  const Algorithm& algorithm;
  const EVP_MD* md;
  Octets message = Octets(1024, 'm');
  Octets keyBytes;
  Octets digest;
  Octets signature;
};

bool verifiedFromKeyBytes(CryptoDevice& device, const Signed& made, const Signature& signature,
                          const DigestInfo& digest) {
  BorrowedBuffer in(made.keyBytes);
  KeyInfo key;
  return key.get(in) && device.verify(signature, digest, key);
}

void verifyFromKeyBytes(benchmark::State& state, const Algorithm& algorithm) {
  const Signed made(algorithm);
  OpenDevice open;
  open.device.setSignatureAlgorithm(algorithm.oid);
  const std::unique_ptr<DigestInfo> digest(open.device.digest(made.message.data(), made.message.size()));
  const Signature signature(made.signature);
  if (!digest || !verifiedFromKeyBytes(open.device, made, signature, *digest)) state.SkipWithError("not verified");
  for (auto _ : state) benchmark::DoNotOptimize(verifiedFromKeyBytes(open.device, made, signature, *digest));
  state.SetItemsProcessed(state.iterations());
}

void opensslFromKeyBytes(benchmark::State& state, const Algorithm& algorithm) {
  const Signed made(algorithm);
  if (!made.verifiedBy(made.decodedKey().get())) state.SkipWithError("not verified");
  for (auto _ : state) benchmark::DoNotOptimize(made.verifiedBy(made.decodedKey().get()));
  state.SetItemsProcessed(state.iterations());
}

void opensslPreparedKey(benchmark::State& state, const Algorithm& algorithm) {
  const Signed made(algorithm);
  const KeyHandle key = made.decodedKey();
  if (!made.verifiedBy(key.get())) state.SkipWithError("not verified");
  for (auto _ : state) benchmark::DoNotOptimize(made.verifiedBy(key.get()));
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK_CAPTURE(verifyFromKeyBytes, RSA2048, kRSA2048)->Name("verify/ours/RSA2048");
BENCHMARK_CAPTURE(opensslFromKeyBytes, RSA2048, kRSA2048)->Name("verify/openssl/RSA2048");
BENCHMARK_CAPTURE(opensslPreparedKey, RSA2048, kRSA2048)->Name("verify/openssl_prepared_key/RSA2048");
BENCHMARK_CAPTURE(verifyFromKeyBytes, RSA4096, kRSA4096)->Name("verify/ours/RSA4096");
BENCHMARK_CAPTURE(opensslFromKeyBytes, RSA4096, kRSA4096)->Name("verify/openssl/RSA4096");
BENCHMARK_CAPTURE(opensslPreparedKey, RSA4096, kRSA4096)->Name("verify/openssl_prepared_key/RSA4096");
BENCHMARK_CAPTURE(verifyFromKeyBytes, P256, kP256)->Name("verify/ours/P256");
BENCHMARK_CAPTURE(opensslFromKeyBytes, P256, kP256)->Name("verify/openssl/P256");
BENCHMARK_CAPTURE(opensslPreparedKey, P256, kP256)->Name("verify/openssl_prepared_key/P256");
BENCHMARK_CAPTURE(verifyFromKeyBytes, P384, kP384)->Name("verify/ours/P384");
BENCHMARK_CAPTURE(opensslFromKeyBytes, P384, kP384)->Name("verify/openssl/P384");
BENCHMARK_CAPTURE(opensslPreparedKey, P384, kP384)->Name("verify/openssl_prepared_key/P384");

// What decoding a certificate asks of the device: an algorithm selected by its identifier, a digest of the body.
void digestOfBody(benchmark::State& state) {
  OpenDevice open;
  const AlgorithmIdentifier algorithm("1.2.840.113549.1.1.11");
  const Octets body(static_cast<std::size_t>(state.range(0)), 'b');
  for (auto _ : state) {
    open.device.setSignatureAlgorithm(algorithm);
    const std::unique_ptr<DigestInfo> digest(open.device.digest(body.data(), body.size()));
    benchmark::DoNotOptimize(digest.get());
  }
}
BENCHMARK(digestOfBody)->Name("digest_of_body/ours")->Arg(64)->Arg(1024);

}  // namespace
}  // namespace keystrand
