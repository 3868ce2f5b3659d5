// The state of the library that all contexts of the process share. Never destroyed: threads of the client may still run
// while the process exits.
//
// Order of locks, outermost first:
//   crlMutex, a CRL row's semaphore, caMutex, cryptoDeviceSemaphore, private leaves (row payload, network state, log).
//   crlFileMutex inside crlMutex only; caFileMutex alone; euTSLMutex, then cryptoDeviceSemaphore, never with caMutex.
// Nobody takes crlMutex while holding a row, never two rows at once, and nothing is taken inside cryptoDeviceSemaphore.
// The network is used under euTSLMutex, a row, or (whole-table update) crlMutex; never under caMutex. No mutex is
// recursive: exported functions lock and call members, members never call exported functions.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "cache/CATable.h"
#include "cache/CRLTable.h"
#include "cache/TSLInfo.h"
#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"
#include "keystrand/support/Mutex.h"
#include "keystrand/support/Semaphore.h"
#include "keystrand/xml/XMLFile.h"

namespace keystrand {

struct Library {
  Mutex caMutex;
  CATable caTable;         // guarded by caMutex
  TSLInfoList loadedTSLs;  // guarded by caMutex

  Mutex crlMutex;
  CRLTable crlTable;  // guarded by crlMutex; the payload of a row by its own leaf lock
  std::atomic<unsigned char> crlCacheModified{0};
  std::atomic<unsigned char> crlIssuerMatch{0};  // whether a row answers only for the CA row asked about

  Mutex caFileMutex;   // held around the write of the CA list file
  Mutex crlFileMutex;  // held around the write of the CRL cache file

  Mutex euTSLMutex;
  std::string euTSLLocation;       // guarded by euTSLMutex
  std::unique_ptr<XMLFile> euTSL;  // guarded by euTSLMutex, its cursor too; null until it is fetched

  Mutex crlProxyMutex;      // a leaf
  std::string crlProxyUri;  // guarded by crlProxyMutex; at most 256 bytes

  // Written by cache_init alone; empty before it.
  std::string caListPath;
  std::string crlCachePath;

  Semaphore cryptoDeviceSemaphore{0, 1};  // guards the device
  std::unique_ptr<CryptoKi> cryptoKi;
  std::unique_ptr<CryptoDevice> cryptoDevice;
  std::once_flag initialisation;
  std::atomic<bool> initialised{false};
  std::atomic<bool> finalised{false};
  // The device once cache_init has opened it, null before and after cache_finalize. That closes it and leaves it where
  // it is, so that a context made earlier, or a thread that waits for the semaphore, finds a device that fails.
  [[nodiscard]] CryptoDevice* device() const noexcept {
    return initialised && !finalised ? cryptoDevice.get() : nullptr;
  }
};

Library& library();

}  // namespace keystrand
