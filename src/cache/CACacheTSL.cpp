// The CA list fed by trusted lists (ETSI TS 119 612). The signature of a list is not looked at: its caller has.
#include <memory>
#include <mutex>
#include <utility>

#include "cache/CACache.h"
#include "cache/ContextLog.h"
#include "cache/Library.h"
#include "cache/TSLReader.h"
#include "log/MessageCodes.h"

namespace keystrand {

// Only a list that this context has fetched leaves a record.
void CACache::recordTSL(const std::string& territory, std::int32_t sequenceNumber) {
  if (!tslLocation_) return;
  TSLInfoList& loaded = library().loadedTSLs;
  loaded.remove(territory.c_str());
  loaded.add(TSLInfo(territory, sequenceNumber, std::exchange(tslLocation_, std::nullopt)));
}

// What is no certificate is passed over: lists hold what later decoders cannot read. False when the table is full.
bool CACache::addTSLCertificate(const std::string& base64, const std::shared_ptr<const TSLMetadata>& metadata) {
  auto certificate = decodeCertificatePEM(base64.c_str());
  if (!certificate) return true;
  if (!certificate->hasNoKey()) logMessage(Logger::kWarning, kKeyNotCanonical);
  return insert(std::move(certificate), kSourceTSL, metadata);
}

bool CACache::addTSLService(TSLReader& reader, bool allServices) {
  const TSLReader::Choice choice = reader.choose(allServices);
  if (choice != TSLReader::Choice::kTaken) return choice != TSLReader::Choice::kBroken;
  const std::shared_ptr<const TSLMetadata> metadata = reader.metadata();
  const auto certificates = reader.certificates();
  if (!certificates) return false;
  for (const std::string& base64 : *certificates)
    if (!addTSLCertificate(base64, metadata)) return false;
  return true;
}

// A list without providers does not empty its country, and one without services ends the reading, not the list.
bool CACache::parseTSL(XMLFile& list, bool allServices) {
  TSLReader reader(list);
  if (!reader.readScheme()) return false;
  recordTSL(reader.territory(), reader.sequenceNumber());
  if (!reader.toFirstProvider()) return true;
  library().caTable.removeCountry(reader.territory().c_str());
  do {
    if (!reader.toFirstService()) return true;
    do {
      if (!addTSLService(reader, allServices)) return false;
    } while (reader.nextService());
  } while (reader.nextProvider());
  return true;
}

bool CACache::addTSL(XMLFile& list, bool allServices) {
  logMessage(Logger::kTrace, kCACertsAdding);
  const std::lock_guard lock(library().caMutex);
  if (!parseTSL(list, allServices)) return fail(kCACertNotAdded);
  logMessage(Logger::kTrace, kCACertsAdded);
  logMessage(Logger::kInformation, kCARowCount, library().caTable.count());
  return true;
}

bool CACache::addTSLFile(const char* path) {
  XMLFile list(&workBuffer_);
  if (list.load(path)) return addTSL(list, false);
  logMessage(Logger::kFailure, kCACertNotAdded);
  return false;
}

bool CACache::initTSLFile(const char* path) {
  XMLFile list(&workBuffer_);
  if (!list.load(path)) return fail(kCAListNotInitialised);
  logMessage(Logger::kTrace, kCAListInitialising);
  const std::lock_guard lock(library().caMutex);
  library().caTable.clear();
  if (!parseTSL(list, false)) return fail(kCAListNotInitialised);
  logMessage(Logger::kTrace, kCAListInitialised);
  logMessage(Logger::kInformation, kCARowCount, library().caTable.count());
  return true;
}

bool CACache::importTSLFile(const char* path) {
  clean();
  return initTSLFile(path) && saveCAList(library().caListPath);
}

}  // namespace keystrand
