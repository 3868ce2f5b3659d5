// Start and end of the library, and its contexts.
#include <mutex>
#include <string>

#include "cache/Library.h"
#include "frame/Boundary.h"
#include "keystrand/keystrand.h"
#include "log/Logger.h"
#include "support/Settings.h"

namespace keystrand {
namespace {

constexpr const char* kCAListFile = "caCertsList-3.5";
constexpr const char* kCRLCacheFile = "crlCache";
constexpr const char* kEUTSLLocation = "https://ec.europa.eu/tools/lotl/eu-lotl.xml";
constexpr std::uint32_t kFirstSlot = 0;
constexpr unsigned char kFetchWhenDue = 2;

bool isGiven(const char* directory) {
  return directory != nullptr && *directory != '\0';
}

void buildPaths(const char* caDir, const char* crlDir) {
  const std::string caFolder = isGiven(caDir) ? std::string(caDir) + '/' : "./";
  library().caListPath = caFolder + kCAListFile;
  library().crlCachePath = (isGiven(crlDir) ? std::string(crlDir) + '/' : caFolder) + kCRLCacheFile;
}

void openDevice() {
  const SemaphoreLock device(&library().cryptoDeviceSemaphore);
  library().cryptoKi = std::make_unique<CryptoKi>();
  library().cryptoDevice = std::make_unique<CryptoDevice>(library().cryptoKi.get());
  library().cryptoDevice->open(kFirstSlot, nullptr, 0);
}

// What a context that was made too early may have left.
void emptyTables() {
  {
    const std::lock_guard lock(library().caMutex);
    library().caTable.clear();
    library().loadedTSLs = TSLInfoList();
  }
  const std::lock_guard lock(library().crlMutex);
  library().crlTable.clear();
}

void start(const char* caDir, const char* crlDir, const char* ident, const char* logFile) {
  emptyTables();
  {
    const std::lock_guard lock(library().euTSLMutex);
    library().euTSLLocation = kEUTSLLocation;
  }
  settings().downloadMode = kFetchWhenDue;
  openDevice();
  Logger::start(ident, nullptr, logFile, nullptr);
  buildPaths(caDir, crlDir);
  library().initialised = true;
}

// Every form of cache_init tells success, a second one without doing anything: a thread that loses the race waits for
// the one that does the work.
unsigned char initialise(const char* caDir, const char* crlDir, const char* ident, const char* logFile) noexcept {
  return guarded<unsigned char>(1, [&] {
    std::call_once(library().initialisation, start, caDir, crlDir, ident, logFile);
    return 1;
  });
}

Semaphore* deviceSemaphore() {
  return library().initialised ? &library().cryptoDeviceSemaphore : nullptr;
}

}  // namespace
}  // namespace keystrand

using namespace keystrand;

unsigned char cache_init(char* ident, char* logFile) {
  return initialise(nullptr, nullptr, ident, logFile);
}

unsigned char cache_init(char* caDir, char* ident, char* logFile) {
  return initialise(caDir, nullptr, ident, logFile);
}

unsigned char cache_init(char* caDir, char* crlDir, char* ident, char* logFile) {
  return initialise(caDir, crlDir, ident, logFile);
}

// The library does not return to its first state: semaphore, device and tables stay, and a later cache_init does
// nothing.
void cache_finalize() {
  guardedVoid([] {
    if (!library().initialised) return;
    library().finalised = true;
    const SemaphoreLock device(&library().cryptoDeviceSemaphore);
    library().cryptoDevice->close();
  });
}

void* cache_getContext() {
  return guarded<void*>(nullptr, [] { return new CACache; });
}

void* ocsp_getContext() {
  return guarded<void*>(nullptr, [] { return new OCSPChecker(library().device(), deviceSemaphore()); });
}

void cache_releaseContext(void* ctx) {
  delete static_cast<CACache*>(ctx);
}

void ocsp_releaseContext(void* ctx) {
  delete static_cast<OCSPChecker*>(ctx);
}

Semaphore* cache_getCryptoDeviceSemaphore() {
  return guarded<Semaphore*>(nullptr, deviceSemaphore);
}
