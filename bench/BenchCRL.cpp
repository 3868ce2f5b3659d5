// Large CRLs, ours beside OpenSSL's on the same bytes: decode with digest and signature check, the memory that is kept,
// searching by serial number, and writing again. One thread.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <openssl/bn.h>
#include <openssl/x509.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "LargeCRL.h"
#include "der/BorrowedBuffer.h"
#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"
#include "keystrand/pkix/CertificateList.h"

namespace keystrand::bench {

namespace {

template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};
using CRLHandle = std::unique_ptr<X509_CRL, Releaser<&X509_CRL_free>>;
using KeyHandle = std::unique_ptr<EVP_PKEY, Releaser<&EVP_PKEY_free>>;
using IntegerHandle = std::unique_ptr<ASN1_INTEGER, Releaser<&ASN1_INTEGER_free>>;

void require(bool condition) {
  if (!condition) std::abort();
}

// Entries a second, and nanoseconds an entry.
void countEntries(benchmark::State& state) {
  const auto total = static_cast<double>(state.iterations()) * static_cast<double>(state.range(0));
  state.counters["per_entry"] = benchmark::Counter(total, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

const LargeCRL& subject(const benchmark::State& state) {
  return largeCRL(static_cast<std::uint64_t>(state.range(0)));
}

std::size_t bytesInUse() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

// --- ours --------------------------------------------------------------------------------------------------

CryptoDevice& device() {
  static CryptoKi binding;
  static CryptoDevice opened(&binding);
  static const bool open = opened.open(0, nullptr, 0);
  require(open);
  return opened;
}

class OurCRL {
 public:
  explicit OurCRL(const LargeCRL& crl) : in_(&device()) {
    BorrowedBuffer key(crl.publicKeyInfo);
    require(key_.get(key));
    in_.attach(const_cast<unsigned char*>(crl.der.data()), static_cast<std::uint32_t>(crl.der.size()));
  }
  ~OurCRL() { in_.detach(); }
  OurCRL(const OurCRL&) = delete;
  OurCRL& operator=(const OurCRL&) = delete;

  void clear() { crl_ = std::make_unique<CertificateList>(); }
  bool decode() {
    in_.setReadPosition(0);
    return crl_->get(in_);
  }
  bool verify() { return crl_->verify(device(), key_); }
  const CertificateList& operator*() const { return *crl_; }
  const RevokedCertificateList& entries() const { return *std::as_const(*crl_).revokedCertificates(); }

 private:
  SecureBuffer in_;
  KeyInfo key_;
  std::unique_ptr<CertificateList> crl_ = std::make_unique<CertificateList>();
};

void verifyOurs(benchmark::State& state) {
  OurCRL crl(subject(state));
  for (auto _ : state) {
    state.PauseTiming();
    crl.clear();
    state.ResumeTiming();
    require(crl.decode() && crl.verify());
  }
  require(crl.entries().count() == state.range(0));
  countEntries(state);
}

void decodeOurs(benchmark::State& state) {
  const LargeCRL& large = subject(state);
  BorrowedBuffer in(large.der);
  auto crl = std::make_unique<CertificateList>();
  for (auto _ : state) {
    state.PauseTiming();
    crl = std::make_unique<CertificateList>();
    in.setReadPosition(0);
    state.ResumeTiming();
    require(crl->get(in));
  }
  countEntries(state);
}

void memoryOurs(benchmark::State& state) {
  const LargeCRL& large = subject(state);
  for (auto _ : state) {
    OurCRL crl(large);
    const std::size_t before = bytesInUse();
    require(crl.decode());
    const std::size_t decoded = bytesInUse() - before;
    require(crl.entries().find(serialText(0)) == 0);
    const auto entries = static_cast<double>(state.range(0));
    state.counters["kept_per_entry"] = static_cast<double>(decoded) / entries;
    state.counters["searched_per_entry"] = static_cast<double>(bytesInUse() - before) / entries;
    state.counters["der_per_entry"] = static_cast<double>(large.der.size()) / entries;
  }
}

void firstSearchOurs(benchmark::State& state) {
  OurCRL crl(subject(state));
  const auto last = static_cast<std::uint64_t>(state.range(0)) - 1;
  const std::string wanted = serialText(last);
  for (auto _ : state) {
    state.PauseTiming();
    crl.clear();
    require(crl.decode());
    state.ResumeTiming();
    require(crl.entries().find(wanted) == static_cast<int>(last));
  }
}

// So many different questions, evenly over the list, in turn.
std::vector<std::uint64_t> questions(const benchmark::State& state, bool hit) {
  const auto entries = static_cast<std::uint64_t>(state.range(0));
  const auto count = std::min(static_cast<std::uint64_t>(state.range(1)), entries);
  std::vector<std::uint64_t> asked;
  for (std::uint64_t i = 0; i < count; ++i) asked.push_back((hit ? 0 : entries) + i * 7919 % count * (entries / count));
  return asked;
}

void searchOurs(benchmark::State& state, bool hit) {
  OurCRL crl(subject(state));
  require(crl.decode());
  std::vector<std::string> texts;
  for (const std::uint64_t index : questions(state, hit)) {
    texts.push_back(serialText(index));
    require(crl.entries().find(texts.back()) == (hit ? static_cast<int>(index) : -1));
  }
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(crl.entries().find(texts[next]));
    if (++next == texts.size()) next = 0;
  }
}

void putOurs(benchmark::State& state) {
  const LargeCRL& large = subject(state);
  OurCRL crl(large);
  require(crl.decode());
  Buffer out;
  out.reserve((*crl).size(out) + 1);
  for (auto _ : state) {
    out.reset();
    (*crl).put(out);
  }
  require(std::ranges::equal(out.range(0, out.size()), large.der));
  countEntries(state);
}

// --- OpenSSL -----------------------------------------------------------------------------------------------

CRLHandle decodeByOpenSSL(const LargeCRL& large) {
  const unsigned char* at = large.der.data();
  return CRLHandle(d2i_X509_CRL(nullptr, &at, static_cast<long>(large.der.size())));
}

void verifyOpenSSL(benchmark::State& state) {
  const LargeCRL& large = subject(state);
  const unsigned char* at = large.publicKeyInfo.data();
  const KeyHandle key(d2i_PUBKEY(nullptr, &at, static_cast<long>(large.publicKeyInfo.size())));
  CRLHandle crl;
  for (auto _ : state) {
    state.PauseTiming();
    crl.reset();
    state.ResumeTiming();
    crl = decodeByOpenSSL(large);
    require(crl && X509_CRL_verify(crl.get(), key.get()) == 1);
  }
  countEntries(state);
}

void memoryOpenSSL(benchmark::State& state) {
  for (auto _ : state) {
    const std::size_t before = bytesInUse();
    const CRLHandle crl = decodeByOpenSSL(subject(state));
    state.counters["kept_per_entry"] = static_cast<double>(bytesInUse() - before) / static_cast<double>(state.range(0));
  }
}

IntegerHandle integerOf(std::uint64_t index) {
  BIGNUM* number = nullptr;
  BN_hex2bn(&number, serialText(index).c_str());
  IntegerHandle integer(BN_to_ASN1_INTEGER(number, nullptr));
  BN_free(number);
  return integer;
}

void firstSearchOpenSSL(benchmark::State& state) {
  const IntegerHandle wanted = integerOf(static_cast<std::uint64_t>(state.range(0)) - 1);
  CRLHandle crl;
  for (auto _ : state) {
    state.PauseTiming();
    crl = decodeByOpenSSL(subject(state));
    state.ResumeTiming();
    X509_REVOKED* found = nullptr;
    require(X509_CRL_get0_by_serial(crl.get(), &found, wanted.get()) == 1);
  }
}

void searchOpenSSL(benchmark::State& state, bool hit) {
  const CRLHandle crl = decodeByOpenSSL(subject(state));
  std::vector<IntegerHandle> wanted;
  X509_REVOKED* found = nullptr;
  for (const std::uint64_t index : questions(state, hit)) {
    wanted.push_back(integerOf(index));
    require(X509_CRL_get0_by_serial(crl.get(), &found, wanted.back().get()) == (hit ? 1 : 0));
  }
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(X509_CRL_get0_by_serial(crl.get(), &found, wanted[next].get()));
    if (++next == wanted.size()) next = 0;
  }
}

void putOpenSSL(benchmark::State& state) {
  const LargeCRL& large = subject(state);
  const CRLHandle crl = decodeByOpenSSL(large);
  std::vector<unsigned char> out(large.der.size());
  for (auto _ : state) {
    unsigned char* at = out.data();
    require(i2d_re_X509_CRL_tbs(crl.get(), &at) > 0);
  }
  countEntries(state);
}

constexpr std::int64_t kMany = 1'000'000;
constexpr std::int64_t kFew = 1'000;
constexpr std::int64_t kWarm = 1'000;      // questions whose answers stay in the processor's caches
constexpr std::int64_t kSpread = 200'000;  // questions whose answers do not

BENCHMARK(verifyOurs)->Name("crl_verify/ours")->Arg(1)->Arg(kFew)->Arg(kMany)->Unit(benchmark::kMicrosecond);
BENCHMARK(verifyOpenSSL)->Name("crl_verify/openssl")->Arg(1)->Arg(kFew)->Arg(kMany)->Unit(benchmark::kMicrosecond);
BENCHMARK(decodeOurs)->Name("crl_decode/ours")->Arg(kFew)->Arg(kMany)->Unit(benchmark::kMicrosecond);
BENCHMARK(memoryOurs)->Name("crl_memory/ours")->Arg(kFew)->Arg(kMany)->Iterations(1);
BENCHMARK(memoryOpenSSL)->Name("crl_memory/openssl")->Arg(kFew)->Arg(kMany)->Iterations(1);
BENCHMARK(firstSearchOurs)->Name("crl_first_search/ours")->Arg(kFew)->Unit(benchmark::kMicrosecond);
// So quick that its decoding, which does not count, would be repeated for hours.
BENCHMARK(firstSearchOurs)->Name("crl_first_search/ours")->Arg(kMany)->Iterations(10)->Unit(benchmark::kMicrosecond);
BENCHMARK(firstSearchOpenSSL)->Name("crl_first_search/openssl")->Arg(kFew)->Arg(kMany)->Unit(benchmark::kMicrosecond);

void searchArguments(benchmark::internal::Benchmark* search) {
  search->Args({kFew, kWarm})->Args({kMany, kWarm})->Args({kMany, kSpread});
}
BENCHMARK_CAPTURE(searchOurs, hit, true)->Name("crl_hit/ours")->Apply(searchArguments);
BENCHMARK_CAPTURE(searchOpenSSL, hit, true)->Name("crl_hit/openssl")->Apply(searchArguments);
BENCHMARK_CAPTURE(searchOurs, miss, false)->Name("crl_miss/ours")->Apply(searchArguments);
BENCHMARK_CAPTURE(searchOpenSSL, miss, false)->Name("crl_miss/openssl")->Apply(searchArguments);
BENCHMARK(putOurs)->Name("crl_put/ours")->Arg(kFew)->Arg(kMany)->Unit(benchmark::kMicrosecond);
BENCHMARK(putOpenSSL)->Name("crl_put/openssl")->Arg(kFew)->Arg(kMany)->Unit(benchmark::kMicrosecond);

}  // namespace

}  // namespace keystrand::bench
