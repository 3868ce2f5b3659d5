#include "ocsp/OCSPChecker.h"

#include "log/ContextLogger.h"

namespace keystrand {
namespace {

constexpr std::uint32_t kWorkBufferSize = 4096;

}  // namespace

OCSPChecker::OCSPChecker(CryptoDevice* device, Semaphore* semaphore)
    : logger_(contextLogger()), semaphore_(semaphore), workBuffer_(device, kWorkBufferSize) {}

}  // namespace keystrand
