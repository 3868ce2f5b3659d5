// Trusted lists: what is added is a certificate of source 1 of the list's territory, whatever the list holds, and a
// second reading of the list ends as the first did: it takes the place of the first where the territory is a country's
// two letters, otherwise it adds to it. A European list answers for each of its countries.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>

#include "Property.h"
#include "cache/CACache.h"
#include "cache/Library.h"
#include "cache/TSLPointers.h"

namespace {

using keystrand::CACache;
using keystrand::CATable;
using keystrand::library;
using keystrand::XMLFile;
using keystrand::fuzz::require;

CACache& context() {
  static const std::unique_ptr<CACache> instance = [] {
    library().cryptoKi = std::make_unique<keystrand::CryptoKi>();
    library().cryptoDevice = std::make_unique<keystrand::CryptoDevice>(library().cryptoKi.get());
    library().cryptoDevice->open(0, nullptr, 0);
    library().initialised = true;
    return std::make_unique<CACache>();
  }();
  return *instance;
}

// The number of entries, each as a list leaves it.
std::size_t countEntries() {
  std::size_t count = 0;
  for (const keystrand::CARow& row : library().caTable.rows()) {
    require(!row.entries.empty() && row.subjectText.has_value(), "a row has a subject and entries");
    for (const keystrand::CACertEntryRef& entry : row.entries) {
      require(entry->source() == keystrand::kSourceTSL && entry->metadata() != nullptr, "an entry tells its list");
      require(entry->metadata()->serviceTypeView() && entry->metadata()->serviceStatusView(), "type and status");
      ++count;
    }
  }
  return count;
}

bool namesACountry(XMLFile& list) {
  list.toRoot();
  const auto territory = list.find("SchemeTerritory") ? list.value() : std::nullopt;
  return territory.value_or("").size() == 2;
}

void readTwice(XMLFile& list, bool allServices) {
  const std::lock_guard lock(library().caMutex);
  library().caTable.clear();
  const bool isRead = context().parseTSL(list, allServices);
  const std::size_t entries = countEntries();
  require(library().caTable.count() <= CATable::kRows, "the table has its limit");
  require(context().parseTSL(list, allServices) == isRead, "a second reading ends as the first");
  require(countEntries() == entries || !namesACountry(list), "with the same entries");
}

void readPointers(XMLFile& list) {
  keystrand::TSLPointers pointers(list);
  const auto territories = pointers.territories();
  if (!territories) return;
  for (const std::string& territory : *territories) {
    if (!pointers.find(territory)) continue;  // one without a form, or too short
    static_cast<void>(pointers.location());
    const auto certificates = pointers.signingCertificates();
    require(!certificates || std::ranges::none_of(*certificates, &std::string::empty), "a certificate has a text");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  XMLFile list;
  if (!list.parse(text.data(), static_cast<int>(size), true)) return 0;
  readTwice(list, false);
  readTwice(list, true);
  readPointers(list);
  return 0;
}
