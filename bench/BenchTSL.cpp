// A real trusted list of some megabytes, from its file to the certificates filed in the CA list. Beside it libxml2 that
// parses the same file and does nothing else.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <malloc.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "BenchContext.h"
#include "cache/Library.h"

namespace keystrand::bench {
namespace {

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

constexpr int kSilent = XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET;

// Empty where the folder with real lists is not at hand.
const std::filesystem::path& list() {
  static const std::filesystem::path found = [] {
    const char* folder = std::getenv("KEYSTRAND_TESTDATA");
    const auto path = std::filesystem::path(folder != nullptr ? folder : "") / "tl/2023/IT.xml";
    return std::filesystem::exists(path) ? path : std::filesystem::path();
  }();
  return found;
}

bool isSkipped(benchmark::State& state) {
  if (list().empty()) state.SkipWithError("KEYSTRAND_TESTDATA has no trusted list");
  return list().empty();
}

std::size_t bytesInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

Document parsed() {
  return {xmlReadFile(list().c_str(), nullptr, kSilent), &xmlFreeDoc};
}

void report(benchmark::State& state, std::size_t kept) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(std::filesystem::file_size(list())));
  state.counters["kept_bytes"] = static_cast<double>(kept);
}

void BM_TrustedList_ours(benchmark::State& state) {
  if (isSkipped(state)) return;
  library().caTable.clear();
  const std::size_t before = bytesInUse();
  if (!context().addTSLFile(list().c_str()) || context().rowCount() < 100)
    return state.SkipWithError("the list cannot be added");
  const std::size_t kept = bytesInUse() - before;
  for (auto _ : state) benchmark::DoNotOptimize(context().addTSLFile(list().c_str()));
  report(state, kept);
  library().caTable.clear();
}
BENCHMARK(BM_TrustedList_ours)->Name("trusted_list/ours")->Unit(benchmark::kMillisecond);

void BM_TrustedList_libxml2(benchmark::State& state) {
  if (isSkipped(state)) return;
  const std::size_t before = bytesInUse();
  const Document kept = parsed();
  if (!kept) return state.SkipWithError("the list cannot be parsed");
  const std::size_t bytes = bytesInUse() - before;
  for (auto _ : state) benchmark::DoNotOptimize(parsed());
  report(state, bytes);
}
BENCHMARK(BM_TrustedList_libxml2)->Name("trusted_list/libxml2")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace keystrand::bench
