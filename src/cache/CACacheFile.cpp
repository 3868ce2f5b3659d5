// The CA list between runs of the process.
#include <sys/stat.h>

#include <mutex>
#include <utility>

#include "cache/CACache.h"
#include "cache/CAListImage.h"
#include "cache/ContextLog.h"
#include "cache/Library.h"

namespace keystrand {
namespace {

constexpr unsigned long kLoadStarted = 4643;
constexpr unsigned long kLoadCompleted = 4654;
constexpr unsigned long kRowsInList = 4677;
constexpr unsigned long kSaveStarted = 4688;
constexpr unsigned long kSaveCompleted = 4689;
constexpr unsigned long kCannotLoad = 5150;
constexpr unsigned long kCannotSave = 5153;

}  // namespace

// An empty list is not written: the file keeps what it has. caMutex and caFileMutex are never held together.
bool CACache::saveCAList(const std::string& path) {
  logMessage(Logger::kTrace, kSaveStarted);
  workBuffer_.reset();
  bool isSaved = false;
  {
    const std::lock_guard lock(library().caMutex);
    isSaved = writeCAList(workBuffer_, library().caTable.rows(), library().loadedTSLs);
  }
  if (isSaved && workBuffer_.size() == 0) return false;
  if (isSaved) {
    const std::lock_guard lock(library().caFileMutex);
    isSaved = workBuffer_.saveFileLocked(path.c_str());
  }
  if (!isSaved) {
    logMessage(Logger::kFailure, kCannotSave);
    return false;
  }
  chmod(path.c_str(), S_IRUSR | S_IWUSR);
  logMessage(Logger::kTrace, kSaveCompleted);
  return true;
}

// A read replaces the list, it does not add. Damage is not a failure: what a client sees of it is an empty list.
bool CACache::loadCAList(const std::string& path) {
  logMessage(Logger::kInformation, kLoadStarted);
  if (!workBuffer_.loadFileLocked(path.c_str())) {
    logMessage(Logger::kFailure, kCannotLoad);
    return false;
  }
  CAListImage image = readCAList(workBuffer_);
  const std::lock_guard lock(library().caMutex);
  library().caTable.assign(std::move(image.rows));
  library().loadedTSLs = std::move(image.tslInfos);
  logMessage(Logger::kInformation, kLoadCompleted);
  logMessage(Logger::kInformation, kRowsInList, library().caTable.count());
  return true;
}

}  // namespace keystrand
