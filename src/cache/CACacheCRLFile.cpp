// The CRL table between runs of the process.
#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include "cache/CACache.h"
#include "cache/CRLCacheImage.h"
#include "cache/ContextLog.h"
#include "cache/LargeWork.h"
#include "cache/Library.h"
#include "log/MessageCodes.h"

namespace keystrand {
namespace {

// Placeholders are not written, so rows are renumbered by a save and a load. The caller holds crlMutex.
std::vector<CRLCacheRow> filledRows() {
  std::vector<CRLCacheRow> rows;
  CRLTable& table = library().crlTable;
  for (int i = 0; i < table.count(); ++i) {
    CRLSnapshot payload = table.row(i).snapshot();
    if (payload->crl) rows.push_back({table.row(i).uri, std::move(payload)});
  }
  return rows;
}

// Of a damaged file the rows before the damage replace those that stood in their places; the table stays as long as it
// was. The caller holds crlMutex.
void takeOver(CRLCacheImage image) {
  CRLTable& table = library().crlTable;
  const int read = static_cast<int>(image.rows.size());
  const int kept = image.whole ? read : std::min(read, table.count());
  for (int i = 0; i < kept; ++i) {
    CRLCacheRow& row = image.rows[static_cast<std::size_t>(i)];
    table.replace(i, std::move(row.uri), std::move(row.payload));
  }
  if (image.whole) table.resize(read);
}

}  // namespace

bool CACache::saveCRLCache(const std::string& path) {
  const LargeWork work(workBuffer_);
  logMessage(Logger::kTrace, kCRLCacheSaving);
  workBuffer_.reset();
  bool saved = false;
  {
    const std::lock_guard table(library().crlMutex);
    if (writeCRLCache(workBuffer_, filledRows())) {
      const std::lock_guard file(library().crlFileMutex);
      saved = workBuffer_.saveFileLocked(path.c_str());
    }
  }
  if (!saved) {
    logMessage(Logger::kFailure, kCRLCacheNotSaved);
    return false;
  }
  logMessage(Logger::kTrace, kCRLCacheSaved);
  return true;
}

bool CACache::loadCRLCache(const std::string& path) {
  const LargeWork work(workBuffer_);
  logMessage(Logger::kTrace, kCRLCacheLoading);
  if (!workBuffer_.loadFileLocked(path.c_str())) {
    logMessage(Logger::kFailure, kCRLCacheNotRead);
    return false;
  }
  CRLCacheImage image = readCRLCache(workBuffer_, semaphore_);  // damage is no failure: the table tells what was read
  {
    const std::lock_guard lock(library().crlMutex);
    takeOver(std::move(image));
  }
  logMessage(Logger::kTrace, kCRLCacheLoaded);
  return true;
}

}  // namespace keystrand
