// Signatures over a digest: ours through the device, with a private key on its token, and OpenSSL's with a key prepared
// once.
#include <benchmark/benchmark.h>
#include <openssl/x509.h>

#include "BenchKeys.h"
#include "crypto/PrivateKeyInfo.h"

namespace keystrand {
namespace {

const Octets kMessage(1024, 'm');

bool import(CryptoDevice& device, EVP_PKEY* key) {
  const std::unique_ptr<PKCS8_PRIV_KEY_INFO, Releaser<&PKCS8_PRIV_KEY_INFO_free>> info(EVP_PKEY2PKCS8(key));
  Octets der(static_cast<std::size_t>(i2d_PKCS8_PRIV_KEY_INFO(info.get(), nullptr)));
  unsigned char* out = der.data();
  i2d_PKCS8_PRIV_KEY_INFO(info.get(), &out);
  const auto own = getPrivateKeyInfo(der);
  return own != nullptr && device.importKey(*own);
}

void sign(benchmark::State& state, const Algorithm& algorithm) {
  OpenDevice open;
  const KeyHandle key = algorithm.generate();
  open.device.setSignatureAlgorithm(algorithm.oid);
  const std::unique_ptr<DigestInfo> digest(open.device.digest(kMessage.data(), kMessage.size()));
  if (!import(open.device, key.get()) || !digest) return state.SkipWithError("no key");
  for (auto _ : state) {
    const std::unique_ptr<Signature> made(open.device.signDigestInfo(*digest));
    if (made == nullptr) state.SkipWithError("not signed");
  }
  state.SetItemsProcessed(state.iterations());
}

void opensslSign(benchmark::State& state, const Algorithm& algorithm) {
  const KeyHandle key = algorithm.generate();
  const EVP_MD* md = EVP_get_digestbyname(algorithm.digest);
  Octets digest(static_cast<std::size_t>(EVP_MD_get_size(md)));
  EVP_Digest(kMessage.data(), kMessage.size(), digest.data(), nullptr, md, nullptr);
  Octets signature(1024);
  for (auto _ : state) {
    const KeyContext context(EVP_PKEY_CTX_new(key.get(), nullptr));
    std::size_t length = signature.size();
    EVP_PKEY_sign_init(context.get());
    EVP_PKEY_CTX_set_signature_md(context.get(), md);
    if (EVP_PKEY_sign(context.get(), signature.data(), &length, digest.data(), digest.size()) != 1)
      state.SkipWithError("not signed");
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK_CAPTURE(sign, RSA2048, kRSA2048)->Name("sign/ours/RSA2048");
BENCHMARK_CAPTURE(opensslSign, RSA2048, kRSA2048)->Name("sign/openssl/RSA2048");
BENCHMARK_CAPTURE(sign, RSA4096, kRSA4096)->Name("sign/ours/RSA4096");
BENCHMARK_CAPTURE(opensslSign, RSA4096, kRSA4096)->Name("sign/openssl/RSA4096");
BENCHMARK_CAPTURE(sign, P256, kP256)->Name("sign/ours/P256");
BENCHMARK_CAPTURE(opensslSign, P256, kP256)->Name("sign/openssl/P256");
BENCHMARK_CAPTURE(sign, P384, kP384)->Name("sign/ours/P384");
BENCHMARK_CAPTURE(opensslSign, P384, kP384)->Name("sign/openssl/P384");

}  // namespace
}  // namespace keystrand
