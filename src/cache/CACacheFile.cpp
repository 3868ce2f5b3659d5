// The CA list between runs of the process.
#include <mutex>
#include <utility>

#include "cache/CACache.h"
#include "cache/CAListImage.h"
#include "cache/ContextLog.h"
#include "cache/LargeWork.h"
#include "cache/Library.h"
#include "log/MessageCodes.h"

namespace keystrand {

// An empty list is not written: the file keeps what it has. caMutex and caFileMutex are never held together.
bool CACache::saveCAList(const std::string& path) {
  const LargeWork work(workBuffer_);
  logMessage(Logger::kTrace, kCAListSaving);
  workBuffer_.reset();
  bool fits = false;
  {
    const std::lock_guard lock(library().caMutex);
    fits = writeCAList(workBuffer_, library().caTable.rows(), library().loadedTSLs);
  }
  if (fits && workBuffer_.size() == 0) return false;
  bool isSaved = false;
  if (fits) {
    const std::lock_guard lock(library().caFileMutex);
    isSaved = workBuffer_.saveFileLocked(path.c_str());
  }
  if (!isSaved) {
    logMessage(Logger::kFailure, kCAListNotSaved);
    return false;
  }
  logMessage(Logger::kTrace, kCAListSaved);
  return true;
}

// A read replaces the list, it does not add. Damage is not a failure: what a client sees of it is an empty list.
bool CACache::loadCAList(const std::string& path) {
  const LargeWork work(workBuffer_);
  logMessage(Logger::kInformation, kCAListLoading);
  if (!workBuffer_.loadFileLocked(path.c_str())) {
    logMessage(Logger::kFailure, kCAListNotRead);
    return false;
  }
  CAListImage image = readCAList(workBuffer_);
  const std::lock_guard lock(library().caMutex);
  library().caTable.assign(std::move(image.rows));
  library().loadedTSLs = std::move(image.tslInfos);
  logMessage(Logger::kInformation, kCAListLoaded);
  logMessage(Logger::kInformation, kCARowCount, library().caTable.count());
  return true;
}

}  // namespace keystrand
