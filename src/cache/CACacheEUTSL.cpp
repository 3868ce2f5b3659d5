// The European list, and the lists of the countries that it points to (ETSI TS 119 612 section 5.3.13). Its document
// has one cursor for all contexts: every walk holds euTSLMutex, through the fetch of a country's list.
#include <climits>
#include <mutex>
#include <utility>

#include "cache/CACache.h"
#include "cache/Library.h"
#include "cache/TSLPointers.h"
#include "cache/TSLReader.h"
#include "der/TextValue.h"
#include "net/HTTPS.h"

namespace keystrand {
namespace {

bool parseDocument(XMLFile& file, std::span<const unsigned char> text) {
  return text.size() <= INT_MAX &&
         file.parse(reinterpret_cast<const char*>(text.data()), static_cast<int>(text.size()), true);
}

// What httpsGetXML has fetched, without the zero byte behind it.
std::span<const unsigned char> fetchedText(const Buffer& body) {
  const auto held = body.range(0, body.size());
  return held.empty() ? held : held.first(held.size() - 1);
}

// Servers of these lists fail at times: a second attempt follows the first. The result may have no document.
std::unique_ptr<XMLFile> fetchTSL(const std::string& location, void* maker) {
  constexpr int kAttempts = 2;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    Buffer body;
    if (!httpsGetXML(location, body)) continue;
    auto file = std::make_unique<XMLFile>(maker);
    static_cast<void>(parseDocument(*file, fetchedText(body)));
    return file;
  }
  return nullptr;
}

}  // namespace

// The document is kept even when it is none: the next call then answers for it.
bool CACache::loadEUTSL() {
  const std::lock_guard lock(library().euTSLMutex);
  if (library().euTSL) return true;
  Buffer body;
  if (!httpsGetXML(library().euTSLLocation, body)) return false;
  library().euTSL = std::make_unique<XMLFile>();
  return parseDocument(*library().euTSL, fetchedText(body));
}

bool CACache::loadEUTSL(const char* path) {
  const std::lock_guard lock(library().euTSLMutex);
  if (library().euTSL) return true;
  Buffer content;
  if (path == nullptr || !content.loadFile(path)) return false;
  library().euTSL = std::make_unique<XMLFile>();
  return parseDocument(*library().euTSL, content.range(0, content.size()));
}

bool CACache::isEUTSLLoaded() const {
  const std::lock_guard lock(library().euTSLMutex);
  return library().euTSL != nullptr;
}

owner<XMLFile*> CACache::countries() {
  const std::lock_guard lock(library().euTSLMutex);
  if (!library().euTSL) return nullptr;
  const auto territories = TSLPointers(*library().euTSL).territories();
  if (!territories) return nullptr;
  auto file = std::make_unique<XMLFile>(&workBuffer_);
  file->addElement("countryList");
  for (const std::string& territory : *territories) file->addTextChild("country", territory.c_str());
  return file.release();
}

std::unique_ptr<CertList> CACache::signingCertificates(TSLPointers& pointers) {
  const auto texts = pointers.signingCertificates();
  if (!texts) return nullptr;
  auto certificates = std::make_unique<CertList>();
  for (const std::string& base64 : *texts)
    if (const auto certificate = decodeCertificatePEM(base64.c_str())) certificates->add(*certificate);
  return certificates;
}

owner<XMLFile*> CACache::countryTSL(const char* country, CertList** signingCerts) {
  const std::lock_guard lock(library().euTSLMutex);
  if (!library().euTSL) return nullptr;
  TSLPointers pointers(*library().euTSL);
  if (!pointers.find(textOrEmpty(country))) return nullptr;
  auto location = pointers.location();
  if (!location) return nullptr;
  tslLocation_.reset();
  auto file = fetchTSL(*location, &workBuffer_);
  auto certificates = file ? signingCertificates(pointers) : nullptr;
  if (!certificates) return nullptr;
  tslLocation_ = std::move(location);  // for the next list that this context reads
  if (signingCerts != nullptr) *signingCerts = certificates.release();
  return file.release();
}

owner<CertList*> CACache::countryTSLSigningCerts(owner<XMLFile*> list) {
  const std::lock_guard lock(library().euTSLMutex);
  if (!library().euTSL || !list->find("SchemeTerritory")) return nullptr;
  TSLPointers pointers(*library().euTSL);
  if (!pointers.find(list->value().value_or(""))) return nullptr;
  auto certificates = signingCertificates(pointers);
  if (!certificates) delete list;  // as the interface promises
  return certificates.release();
}

// Anything is news of a country of which no list is loaded.
bool CACache::hasCountryUpdates(const char* country) {
  std::unique_ptr<XMLFile> file;
  {
    const std::lock_guard lock(library().euTSLMutex);
    if (!library().euTSL) return false;
    TSLPointers pointers(*library().euTSL);
    if (!pointers.find(textOrEmpty(country))) return false;
    const auto location = pointers.location();
    if (location) file = fetchTSL(*location, &workBuffer_);
  }
  if (!file || !file->find("TSLSequenceNumber")) return false;
  const std::int32_t number = sequenceNumberOf(file->value().value_or(""));
  const std::lock_guard lock(library().caMutex);
  const TSLInfo* loaded = library().loadedTSLs.find(country);
  return loaded == nullptr || number > loaded->sequenceNumber();
}

bool CACache::isTSLLoaded(const char* country) const {
  const std::lock_guard lock(library().caMutex);
  return library().loadedTSLs.contains(country);
}

std::vector<TSLInfo> CACache::loadedTSLs() const {
  const std::lock_guard lock(library().caMutex);
  const TSLInfoList& loaded = library().loadedTSLs;
  std::vector<TSLInfo> copies;
  copies.reserve(static_cast<std::size_t>(loaded.count()));
  for (int i = 0; i < loaded.count(); ++i) copies.push_back(*loaded.at(i));
  return copies;
}

std::optional<TSLInfo> CACache::loadedTSL(const char* country) const {
  const std::lock_guard lock(library().caMutex);
  const TSLInfo* loaded = library().loadedTSLs.find(country);
  return loaded != nullptr ? std::optional<TSLInfo>(*loaded) : std::nullopt;
}

}  // namespace keystrand
