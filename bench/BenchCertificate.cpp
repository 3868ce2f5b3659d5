// A certificate read from its bytes, an RSA-2048 and a P-256 one in turn: ours, digest of the body included, beside
// OpenSSL's d2i_X509. "bytes_kept" is what one of them holds on the heap once it is read.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <openssl/x509.h>

#include <array>
#include <memory>
#include <vector>

#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"
#include "keystrand/pkix/Certificate.h"
#include "support/Builders.h"

namespace keystrand {
namespace {

using test::ByteString;

// As a qualified certificate has them.
test::CertificateSpec specOf(const char* keyKind) {
  return {.serial = "0F5C2D9A77E1B3C4D5E6F708192A3B4C",
          .subject = {{"C", "IT"},
                      {"O", "An organisation of some length"},
                      {"OU", "Department of certificates"},
                      {"serialNumber", "TINIT-ABCDEF80A01H501X"},
                      {"CN", "Somebody's name"}},
          .key = test::privateKey(keyKind, 7),
          .extensions = {
              {"subjectKeyIdentifier", "hash"},
              {"authorityKeyIdentifier", "keyid:always"},
              {"keyUsage", "critical,nonRepudiation"},
              {"basicConstraints", "critical,CA:FALSE"},
              {"certificatePolicies", "0.4.0.194112.1.2,1.3.76.16.6"},
              {"crlDistributionPoints", "URI:http://crl.example.org/qualified/ca7.crl"},
              {"authorityInfoAccess", "OCSP;URI:http://ocsp.example.org/ca7,caIssuers;URI:http://example.org/ca7.cer"},
              {"qcStatements",
               "DER:3021300806060400"
               "8E460101300B060604008E460103020114300806060400"
               "8E460104"}}};
}

const std::array<ByteString, 2>& certificates() {
  static const test::Authority ca =
      test::makeAuthority({.subject = {{"C", "IT"}, {"O", "A trust service provider"}, {"CN", "Qualified CA 7"}},
                           .key = test::privateKey("RSA-2048")});
  static const std::array made = {test::makeCertificate(ca, specOf("RSA-2048")),
                                  test::makeCertificate(ca, specOf("P-256"))};
  return made;
}

// Bytes in use on the heap that each of many objects takes, made by `make` from the certificates in turn.
template <class Make>
double bytesKept(Make make) {
  constexpr std::size_t kObjects = 1000;
  std::vector<decltype(make(certificates()[0]))> kept;
  kept.reserve(kObjects);
  const std::size_t before = mallinfo2().uordblks;
  for (std::size_t i = 0; i < kObjects; ++i) kept.push_back(make(certificates()[i % 2]));
  return static_cast<double>(mallinfo2().uordblks - before) / kObjects;
}

void oursCertificate(benchmark::State& state) {
  CryptoKi cryptoKi;
  CryptoDevice device(&cryptoKi);
  SecureBuffer buffer(&device, 4096);
  const auto read = [&](const ByteString& der) {
    auto certificate = std::make_unique<Certificate>();
    buffer.assign(der.data(), static_cast<std::uint32_t>(der.size()));
    if (!certificate->get(buffer) || certificate->digestView() == nullptr) state.SkipWithError("not read");
    return certificate;
  };
  if (!device.open(0, nullptr, 0)) state.SkipWithError("no device");
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(read(certificates()[i++ % 2]));
  state.counters["bytes_kept"] = bytesKept(read);
}

struct FreeX509 {
  void operator()(X509* certificate) const noexcept { X509_free(certificate); }
};

void opensslCertificate(benchmark::State& state) {
  const auto read = [&](const ByteString& der) {
    const unsigned char* at = der.data();
    std::unique_ptr<X509, FreeX509> certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
    if (!certificate) state.SkipWithError("not read");
    return certificate;
  };
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(read(certificates()[i++ % 2]));
  state.counters["bytes_kept"] = bytesKept(read);
}

BENCHMARK(oursCertificate)->Name("certificate/ours");
BENCHMARK(opensslCertificate)->Name("certificate/openssl");

}  // namespace
}  // namespace keystrand
