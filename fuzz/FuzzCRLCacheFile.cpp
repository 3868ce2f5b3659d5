// The CRL cache file: the rows that can be read of any bytes are saved, load again as the same rows, and save again as
// the same bytes.
#include <cstdint>

#include "Property.h"
#include "RoundTrip.h"
#include "cache/CRLCacheImage.h"
#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"

namespace {

using namespace keystrand;
using fuzz::Bytes;
using fuzz::require;

CryptoDevice& device() {
  static CryptoKi binding;
  static CryptoDevice instance(&binding);
  static const bool isOpen = instance.open(0, nullptr, 0);
  require(isOpen, "the device opens");
  return instance;
}

CRLCacheImage load(std::span<const unsigned char> bytes) {
  SecureBuffer in(&device());
  in.assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  return readCRLCache(in, nullptr);
}

Bytes save(const std::vector<CRLCacheRow>& rows) {
  Buffer out;
  require(writeCRLCache(out, rows), "what was read can be saved");
  const auto bytes = out.range(0, out.size());
  return {bytes.begin(), bytes.end()};
}

bool areSame(const CRLCacheRow& a, const CRLCacheRow& b) {
  const CRLCacheEntry& x = *a.payload;
  const CRLCacheEntry& y = *b.payload;
  return a.uri == b.uri && x.issuer == y.issuer && x.caIndex == y.caIndex && x.certIndex == y.certIndex &&
         x.nextUpdate.has_value() == y.nextUpdate.has_value();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const CRLCacheImage first = load({data, size});
  const Bytes saved = save(first.rows);
  const CRLCacheImage second = load(saved);
  require(second.whole && std::ranges::equal(first.rows, second.rows, areSame), "what is saved loads the same");
  require(save(second.rows) == saved || fuzz::mayChange(saved), "and saves the same");
  return 0;
}
