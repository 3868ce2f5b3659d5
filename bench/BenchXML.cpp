// What a signature covers, of a real list of 2.4 MB that is parsed already: the document without its signature, in
// exclusive canonical form, and its SHA-256 digest. The digest that stands in the list judges.
#include <benchmark/benchmark.h>
#include <p11-kit/pkcs11.h>

#include <array>
#include <memory>
#include <string>

#include "LargeList.h"
#include "crypto/Digests.h"
#include "keystrand/der/Buffer.h"
#include "keystrand/xml/XMLFile.h"

namespace keystrand::bench {
namespace {

constexpr int kExclusive = 1;
using Value = std::array<unsigned char, 64>;

std::string digestOfReference(XMLFile& list, MessageDigest& digest) {
  Value value;
  const bool isDone = list.selectWholeDocument() && list.applyEnveloped();
  const unsigned char* octets = isDone ? list.output(kExclusive, false) : nullptr;
  if (octets == nullptr) return {};
  digest.update(octets, list.outputLength());
  const std::size_t length = digest.final(value);
  return {value.begin(), value.begin() + static_cast<std::ptrdiff_t>(length)};
}

std::string expectedDigest(XMLFile& list) {
  const std::string text = list.toRoot() && list.find("DigestValue") ? list.value().value_or("") : "";
  Buffer decoded;
  decoded.assign(reinterpret_cast<const unsigned char*>(text.data()), static_cast<std::uint32_t>(text.size()));
  static_cast<void>(decoded.decodeBase64(true));
  const auto octets = decoded.range(0, decoded.size());
  return {octets.begin(), octets.end()};
}

void signedReference(benchmark::State& state) {
  const auto path = largeList();
  XMLFile list;
  if (!path || !list.load(path->c_str())) return state.SkipWithError(kNoList);
  const auto digest = makeDigest(CKM_SHA256);
  const std::string expected = expectedDigest(list);
  if (expected.empty() || digestOfReference(list, *digest) != expected) return state.SkipWithError("wrong digest");
  for (auto _ : state) benchmark::DoNotOptimize(digestOfReference(list, *digest));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(list.outputLength()));
}
BENCHMARK(signedReference)->Name("SignedReference/list/ours")->Unit(benchmark::kMillisecond);

// Two times the same digest, the second by way of an XPath transform over every node.
void signedReferenceByXPath(benchmark::State& state) {
  const auto path = largeList();
  XMLFile list;
  if (!path || !list.load(path->c_str())) return state.SkipWithError(kNoList);
  for (auto _ : state) {
    const bool isDone = list.selectWholeDocument() && list.applyXPath("not(ancestor-or-self::ds:Signature)");
    if (!isDone || list.output(kExclusive, false) == nullptr) return state.SkipWithError("no canonical form");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(list.outputLength()));
}
BENCHMARK(signedReferenceByXPath)->Name("SignedReference/XPath/ours")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace keystrand::bench
