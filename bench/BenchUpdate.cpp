// The update of an empty table from the distribution points of 200 CAs, whose CRLs lie on a web server of the same
// machine. Beside it the same downloads in a plain loop over libcurl, on a connection each and on one that is kept,
// with OpenSSL's decoding and check of each signature.
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "BenchContext.h"
#include "LargeCRL.h"
#include "cache/Library.h"
#include "keystrand/keystrand.h"
#include "support/Builders.h"
#include "support/NginxServer.h"

namespace keystrand::bench {

namespace {

template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};
using CertificateHandle = std::unique_ptr<X509, Releaser<&X509_free>>;
using CRLHandle = std::unique_ptr<X509_CRL, Releaser<&X509_CRL_free>>;
using CurlHandle = std::unique_ptr<CURL, Releaser<&curl_easy_cleanup>>;

constexpr int kIssuers = 200;
constexpr int kEntries = 300;

void require(bool condition) {
  if (!condition) std::abort();
}

// The server and what it publishes.
class Scene {
 public:
  Scene() {
    test::CRLSpec crl;
    for (std::uint64_t i = 0; i < kEntries; ++i) crl.entries.push_back({.serial = serialText(i)});
    for (int i = 0; i < kIssuers; ++i) publish(i, crl);
  }
  [[nodiscard]] std::string url(int number) const { return server_.url(path(number)); }
  [[nodiscard]] const std::vector<ByteString>& certificates() const { return certificates_; }

 private:
  static std::string path(int number) { return "/" + std::to_string(number) + ".crl"; }
  void publish(int number, const test::CRLSpec& crl) {
    test::AuthoritySpec wanted{.key = test::privateKey("RSA-2048")};
    wanted.subject.back().value = "CA " + std::to_string(number);
    wanted.extensions.push_back({"crlDistributionPoints", "URI:" + url(number)});
    const test::Authority ca = test::makeAuthority(wanted);
    server_.put(path(number), test::makeCRL(ca, crl));
    certificates_.push_back(ca.certificate);
  }
  test::NginxServer server_;
  std::vector<ByteString> certificates_;
};

// Null where there is no such server.
const Scene* scene() {
  static const auto made = test::NginxServer::installed() ? std::make_unique<Scene>() : nullptr;
  return made.get();
}

void updateOurs(benchmark::State& state) {
  if (scene() == nullptr) return state.SkipWithError(test::NginxServer::kNotInstalled);
  constexpr unsigned char kOncePerSession = 1;
  cache_setDownloadCRL(kOncePerSession);
  context().clean();
  for (const ByteString& der : scene()->certificates()) require(context().addCertificateDER(der));
  for (auto _ : state) {
    state.PauseTiming();
    library().crlTable.clear();
    state.ResumeTiming();
    require(cache_updateCRLCache(&context()) == 1);
  }
  CRLTable& table = library().crlTable;
  require(table.count() == kIssuers);
  for (int i = 0; i < kIssuers; ++i) require(table.row(i).snapshot()->crl != nullptr);
  table.clear();
  context().clean();
}

std::size_t append(char* data, std::size_t size, std::size_t count, void* body) {
  auto* bytes = reinterpret_cast<unsigned char*>(data);
  static_cast<ByteString*>(body)->insert(static_cast<ByteString*>(body)->end(), bytes, bytes + size * count);
  return size * count;
}

CRLHandle downloaded(CURL* handle, const std::string& url) {
  ByteString body;
  curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &append);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
  require(curl_easy_perform(handle) == CURLE_OK);
  const unsigned char* at = body.data();
  return CRLHandle(d2i_X509_CRL(nullptr, &at, static_cast<long>(body.size())));
}

std::vector<CertificateHandle> decodedIssuers() {
  std::vector<CertificateHandle> issuers;
  for (const ByteString& der : scene()->certificates()) {
    const unsigned char* at = der.data();
    issuers.emplace_back(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
  }
  return issuers;
}

void updateByHand(benchmark::State& state, bool keepConnection) {
  if (scene() == nullptr) return state.SkipWithError(test::NginxServer::kNotInstalled);
  const std::vector<CertificateHandle> issuers = decodedIssuers();
  for (auto _ : state) {
    std::vector<CRLHandle> table;
    CurlHandle handle;
    for (int i = 0; i < kIssuers; ++i) {
      if (!handle || !keepConnection) handle.reset(curl_easy_init());
      table.push_back(downloaded(handle.get(), scene()->url(i)));
      EVP_PKEY* key = X509_get0_pubkey(issuers[static_cast<std::size_t>(i)].get());
      require(table.back() && X509_CRL_verify(table.back().get(), key) == 1);
    }
  }
}

BENCHMARK(updateOurs)->Name("crl_update/ours")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(updateByHand, connection_each, false)
    ->Name("crl_update/by_hand")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(updateByHand, connection_kept, true)
    ->Name("crl_update/by_hand_one_connection")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

}  // namespace keystrand::bench
