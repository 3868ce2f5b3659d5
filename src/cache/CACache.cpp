#include "cache/CACache.h"

#include <limits>
#include <string_view>

#include "cache/Library.h"
#include "log/ContextLogger.h"
#include "support/Base64.h"

namespace keystrand {
namespace {

constexpr std::uint32_t kWorkBufferSize = 4096;

}  // namespace

CACache::CACache()
    : logger_(contextLogger()),
      cryptoDevice_(library().device()),
      semaphore_(&library().cryptoDeviceSemaphore),
      workBuffer_(cryptoDevice_, kWorkBufferSize),
      crlBuffer_(cryptoDevice_) {}

std::unique_ptr<Certificate> CACache::decodeCertificate() {
  auto certificate = std::make_unique<Certificate>();
  const SemaphoreLock device(semaphore_);
  if (!certificate->get(workBuffer_)) certificate.reset();
  return certificate;
}

std::unique_ptr<Certificate> CACache::decodeCertificate(std::span<const unsigned char> der) {
  if (der.empty() || der.size() > std::numeric_limits<std::uint32_t>::max()) return nullptr;
  workBuffer_.assign(der.data(), static_cast<std::uint32_t>(der.size()));
  return decodeCertificate();
}

std::unique_ptr<Certificate> CACache::decodeCertificatePEM(const char* base64) {
  if (base64 == nullptr) return nullptr;
  const std::string_view text(base64);
  const auto der = decodeBase64({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
  return der ? decodeCertificate(*der) : nullptr;
}

}  // namespace keystrand
