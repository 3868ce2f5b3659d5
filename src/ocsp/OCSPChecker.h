// The context of the ocsp_ functions: a working handle for one thread at a time.
#pragma once

#include <memory>

#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/der/SecureBuffer.h"
#include "keystrand/support/Semaphore.h"
#include "log/Logger.h"
#include "log/Report.h"

namespace keystrand {

class OCSPChecker {
 public:
  // The library's crypto objects, not owned; null before cache_init.
  OCSPChecker(CryptoDevice* device, Semaphore* semaphore);

  [[nodiscard]] Report& report() noexcept { return report_; }

 private:
  std::unique_ptr<Logger> logger_;  // null when logging was off at the making of the context
  Semaphore* semaphore_;            // around every use of the device
  SecureBuffer workBuffer_;         // bound to the device
  Report report_;
};

}  // namespace keystrand
