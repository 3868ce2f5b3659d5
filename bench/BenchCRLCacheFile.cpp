// The CRL cache file: 50 CRLs of 20,000 entries each, loaded. Beside it OpenSSL, which reads and decodes the same CRLs
// from a file each. Signatures are checked on neither side.
#include <benchmark/benchmark.h>
#include <openssl/x509.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "BenchContext.h"
#include "LargeCRL.h"
#include "cache/Library.h"
#include "der/BorrowedBuffer.h"

namespace keystrand::bench {

namespace {

constexpr int kLists = 50;
constexpr std::uint64_t kEntries = 20000;

struct CRLRelease {
  void operator()(X509_CRL* crl) const noexcept { X509_CRL_free(crl); }
};
using CRLHandle = std::unique_ptr<X509_CRL, CRLRelease>;

CRLSnapshot entryWith(const ByteString& der) {
  BorrowedBuffer in(der);
  auto crl = std::make_shared<CertificateList>();
  if (!crl->get(in)) return nullptr;
  auto entry = std::make_shared<CRLCacheEntry>();
  entry->issuer = "CN=CA";
  entry->thisUpdate = *crl->thisUpdateView();
  entry->crl = std::move(crl);
  return entry;
}

// Made once: our file, and one file a CRL for the other side.
class Files {
 public:
  Files() {
    std::filesystem::create_directory(folder_);
    const ByteString& der = largeCRL(kEntries).der;
    for (int i = 0; i < kLists; ++i) {
      CRLTable& table = library().crlTable;
      table.replace(i, "http://crl.example/" + std::to_string(i), entryWith(der));
      table.resize(i + 1);
      std::ofstream(list(i), std::ios::binary)
          .write(reinterpret_cast<const char*>(der.data()), static_cast<std::streamsize>(der.size()));
    }
    context().saveCRLCache(cache());
  }
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;
  ~Files() { std::filesystem::remove_all(folder_); }

  [[nodiscard]] std::string cache() const { return folder_ / "cache"; }
  [[nodiscard]] std::string list(int index) const { return folder_ / std::to_string(index); }

 private:
  std::filesystem::path folder_ =
      std::filesystem::temp_directory_path() / ("bench-crl-cache-" + std::to_string(getpid()));
};

const Files& files() {
  static const Files made;
  return made;
}

void BM_CRLCacheFileLoad_ours(benchmark::State& state) {
  const std::string path = files().cache();
  for (auto _ : state) {
    if (!context().loadCRLCache(path)) return state.SkipWithError("not loaded");
  }
  const CRLSnapshot last = library().crlTable.row(kLists - 1).snapshot();
  if (library().crlTable.count() != kLists || !last->crl) state.SkipWithError("rows are missing");
}
BENCHMARK(BM_CRLCacheFileLoad_ours)->Name("crl_cache_file_load/ours")->Unit(benchmark::kMillisecond)->UseRealTime();

ByteString contentOf(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  ByteString bytes(std::filesystem::file_size(path));
  in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

void BM_CRLCacheFileLoad_openssl(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<CRLHandle> lists;
    for (int i = 0; i < kLists; ++i) {
      const ByteString der = contentOf(files().list(i));
      const unsigned char* in = der.data();
      lists.emplace_back(d2i_X509_CRL(nullptr, &in, static_cast<long>(der.size())));
      if (!lists.back() || sk_X509_REVOKED_num(X509_CRL_get_REVOKED(lists.back().get())) != static_cast<int>(kEntries))
        return state.SkipWithError("not decoded");
    }
  }
}
BENCHMARK(BM_CRLCacheFileLoad_openssl)
    ->Name("crl_cache_file_load/openssl")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

}  // namespace keystrand::bench
