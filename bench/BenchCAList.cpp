// A list of 2,048 CAs: built from one PEM file, a row found by name, a certificate found by its bytes. Beside it an
// X509_STORE of the same certificates.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "BenchContext.h"
#include "cache/CATable.h"
#include "der/BorrowedBuffer.h"

namespace keystrand::bench {

namespace {

template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};
using X509Handle = std::unique_ptr<X509, Releaser<&X509_free>>;
using KeyHandle = std::unique_ptr<EVP_PKEY, Releaser<&EVP_PKEY_free>>;
using BioHandle = std::unique_ptr<BIO, Releaser<&BIO_free_all>>;
using StoreHandle = std::unique_ptr<X509_STORE, Releaser<&X509_STORE_free>>;
using StoreQuery = std::unique_ptr<X509_STORE_CTX, Releaser<&X509_STORE_CTX_free>>;
using Found = std::unique_ptr<X509_OBJECT, Releaser<&X509_OBJECT_free>>;

constexpr int kCertificates = CATable::kRows;
constexpr long kYear = 365 * 86400L;

void addEntry(X509_NAME* name, const char* field, const std::string& value) {
  X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(value.data()),
                             static_cast<int>(value.size()), -1, 0);
}

X509Handle makeCertificate(EVP_PKEY* key, int number) {
  X509Handle certificate(X509_new());
  X509* x = certificate.get();
  X509_set_version(x, X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(x), number + 1);
  X509_gmtime_adj(X509_getm_notBefore(x), -kYear);
  X509_gmtime_adj(X509_getm_notAfter(x), kYear);
  X509_NAME* subject = X509_get_subject_name(x);
  addEntry(subject, "C", "IT");
  addEntry(subject, "O", "Keystrand Trust Services S.p.A.");
  addEntry(subject, "OU", "Certification Authority");
  addEntry(subject, "CN", "Qualified Certificates CA " + std::to_string(number));
  X509_set_issuer_name(x, subject);
  X509_set_pubkey(x, key);
  X509_sign(x, key, EVP_sha256());
  return certificate;
}

// Made once: the file that both sides read, and the certificates in it.
struct Input {
  std::filesystem::path pem =
      std::filesystem::temp_directory_path() / ("bench-ca-" + std::to_string(getpid()) + ".pem");
  std::vector<X509Handle> certificates;
  std::vector<std::vector<unsigned char>> der;

  Input() {
    const KeyHandle key(EVP_RSA_gen(2048));
    const BioHandle out(BIO_new_file(pem.c_str(), "w"));
    for (int i = 0; i < kCertificates; ++i) {
      certificates.push_back(makeCertificate(key.get(), i));
      PEM_write_bio_X509(out.get(), certificates.back().get());
      unsigned char* bytes = nullptr;
      const int length = i2d_X509(certificates.back().get(), &bytes);
      der.emplace_back(bytes, bytes + length);
      OPENSSL_free(bytes);
    }
  }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input() { std::filesystem::remove(pem); }
};

const Input& input() {
  static const Input made;
  return made;
}

// Steps through the certificates in an order that no cache foresees.
class Walk {
 public:
  std::size_t next() { return at_ = (at_ + 787) % kCertificates; }

 private:
  std::size_t at_ = 0;
};

void perCertificate(benchmark::State& state) {
  state.counters["per_certificate"] = benchmark::Counter(static_cast<double>(state.iterations()) * kCertificates,
                                                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

bool fillList() {
  return context().initCertificateListPEM(input().pem.c_str()) && context().rowCount() == kCertificates;
}

StoreHandle filledStore() {
  StoreHandle store(X509_STORE_new());
  const BioHandle in(BIO_new_file(input().pem.c_str(), "r"));
  while (const X509Handle certificate{PEM_read_bio_X509(in.get(), nullptr, nullptr, nullptr)}) {
    X509_STORE_add_cert(store.get(), certificate.get());
  }
  return store;
}

// The certificate of this subject, owned by the store's object.
Found bySubject(X509_STORE_CTX* query, const X509_NAME* subject) {
  Found found(X509_OBJECT_new());
  if (X509_STORE_CTX_get_by_subject(query, X509_LU_X509, subject, found.get()) != 1) return nullptr;
  return found;
}

void BM_CAListFromPEM_ours(benchmark::State& state) {
  if (!fillList()) return state.SkipWithError("the list cannot be filled");
  for (auto _ : state) benchmark::DoNotOptimize(fillList());
  perCertificate(state);
}
BENCHMARK(BM_CAListFromPEM_ours)->Name("ca_list_from_pem/ours")->Unit(benchmark::kMillisecond);

void BM_CAListFromPEM_openssl(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(filledStore());
  perCertificate(state);
}
BENCHMARK(BM_CAListFromPEM_openssl)->Name("ca_list_from_pem/openssl")->Unit(benchmark::kMillisecond);

void BM_CAByName_ours(benchmark::State& state) {
  if (!fillList()) return state.SkipWithError("the list cannot be filled");
  std::vector<std::unique_ptr<Name>> names;
  for (const auto& der : input().der) {
    BorrowedBuffer buffer(der);
    Certificate certificate;
    if (!certificate.get(buffer)) return state.SkipWithError("a certificate cannot be read");
    names.emplace_back(certificate.subject());
    if (context().rowOf(*names.back()) != static_cast<int>(names.size()) - 1) return state.SkipWithError("wrong row");
  }
  Walk walk;
  for (auto _ : state) benchmark::DoNotOptimize(context().rowOf(*names[walk.next()]));
}
BENCHMARK(BM_CAByName_ours)->Name("ca_by_name/ours");

void BM_CAByName_openssl(benchmark::State& state) {
  const StoreHandle store = filledStore();
  const StoreQuery query(X509_STORE_CTX_new());
  X509_STORE_CTX_init(query.get(), store.get(), nullptr, nullptr);
  Walk walk;
  for (auto _ : state) {
    const Found found = bySubject(query.get(), X509_get_subject_name(input().certificates[walk.next()].get()));
    if (!found) return state.SkipWithError("not found");
  }
}
BENCHMARK(BM_CAByName_openssl)->Name("ca_by_name/openssl");

void BM_CASourceByDER_ours(benchmark::State& state) {
  if (!fillList()) return state.SkipWithError("the list cannot be filled");
  Walk walk;
  for (auto _ : state) {
    if (context().sourceOfDER(input().der[walk.next()]) != kSourceInitPEM) return state.SkipWithError("not found");
  }
}
BENCHMARK(BM_CASourceByDER_ours)->Name("ca_source_by_der/ours");

void BM_CASourceByDER_openssl(benchmark::State& state) {
  const StoreHandle store = filledStore();
  const StoreQuery query(X509_STORE_CTX_new());
  X509_STORE_CTX_init(query.get(), store.get(), nullptr, nullptr);
  Walk walk;
  for (auto _ : state) {
    const auto& der = input().der[walk.next()];
    const unsigned char* in = der.data();
    const X509Handle certificate(d2i_X509(nullptr, &in, static_cast<long>(der.size())));
    const Found found = bySubject(query.get(), X509_get_subject_name(certificate.get()));
    if (!found || X509_issuer_and_serial_cmp(X509_OBJECT_get0_X509(found.get()), certificate.get()) != 0) {
      return state.SkipWithError("not found");
    }
  }
}
BENCHMARK(BM_CASourceByDER_openssl)->Name("ca_source_by_der/openssl");

}  // namespace

}  // namespace keystrand::bench
