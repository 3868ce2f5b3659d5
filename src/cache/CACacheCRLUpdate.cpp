// The update of the whole CRL table: its rows are refreshed, or, when it is empty, it is filled from the distribution
// points of the CA list. crlMutex is held throughout, all network traffic included: searches wait.
#include <mutex>
#include <vector>

#include "cache/CACache.h"
#include "cache/CRLExtensions.h"
#include "cache/CRLPlace.h"
#include "cache/ContextLog.h"
#include "cache/Library.h"
#include "log/MessageCodes.h"
#include "support/Settings.h"

namespace keystrand {
namespace {

constexpr unsigned char kOncePerSession = 1;

// Row by row, in the order of the list; usable without caMutex, which must not be held over the network.
std::vector<CACertEntryRef> allCACertificates() {
  std::vector<CACertEntryRef> all;
  const std::lock_guard lock(library().caMutex);
  for (const CARow& row : library().caTable.rows()) all.insert(all.end(), row.entries.begin(), row.entries.end());
  return all;
}

}  // namespace

bool CACache::updateCRLCache() {
  if (!mayFetch()) return true;
  logMessage(Logger::kInformation, kCRLCacheUpdating);
  bool updated = true;
  {
    const std::lock_guard lock(library().crlMutex);
    if (library().crlTable.count() == 0) {
      updated = fillCRLCache();
    } else if (settings().downloadMode != kOncePerSession) {
      refreshCRLCache();
    }
    if (updated) {
      logMessage(Logger::kInformation, kCRLCacheCount, library().crlTable.count());
      logMessage(Logger::kInformation, kCRLCacheUpdated);
    }
  }
  if (!updated) logMessage(Logger::kFailure, kCRLCacheNotUpdated);
  return updated;
}

// Only what is due, or newer at its server, is fetched, also where searches always fetch. A row that cannot be fetched
// keeps its CRL.
void CACache::refreshCRLCache() {
  CRLTable& table = library().crlTable;
  for (int i = 0; i < table.count(); ++i) {
    CRLRow& row = table.row(i);
    row.semaphore.wait();
    const HeldRow held(&row);
    if (row.uri && isOutdated(*row.uri, *row.snapshot())) refreshCRL(*row.uri, row);
  }
}

bool CACache::fillCRLCache() {
  for (const CACertEntryRef& entry : allCACertificates()) {
    const auto points = distributionPointsOf(entry->certificate());
    for (int i = 0; points && i < points->count(); ++i) {
      if (!cacheDistributionPoint(points->view(i)->distributionPointView())) return false;
    }
  }
  return true;
}

bool CACache::cacheDistributionPoint(const DistributionPointName* name) {
  const GeneralNameList* names = namesOf(name);
  if (names == nullptr) return false;
  for (int i = 0; i < names->count(); ++i) {
    const auto uri = uriOfGeneralName(*names->view(i));
    if (!uri) continue;
    const HeldRow row = rowForUpdate(*uri);
    if (!row) return fail(kInternalError);
    fillCRLRow(*uri, *row);
  }
  return true;
}

// The row of a URI, a new one where there is none; null when the table is full.
HeldRow CACache::rowForUpdate(const std::string& uri) {
  CRLTable& table = library().crlTable;
  const int index = table.find(uri);
  if (index == table.count()) return table.addHeld(uri);
  CRLRow& row = table.row(index);
  row.semaphore.wait();
  return HeldRow(&row);
}

}  // namespace keystrand
