#include "net/ProxyPlatform.h"

#include "keystrand/der/Buffer.h"
#include "net/CurlRequest.h"
#include "net/PACScript.h"
#include "support/File.h"

namespace keystrand {

namespace {

constexpr std::uint64_t kScriptLimit = 1U << 20U;
constexpr long kFetchSeconds = 30;
constexpr long kMaxRedirects = 50;
constexpr int kOK = 200;

std::unique_ptr<ProxyScript> compile(const Buffer& text) {
  const auto bytes = text.range(0, text.size());
  return compilePAC(std::string(bytes.begin(), bytes.end()));
}

class LinuxProxyPlatform : public ProxyPlatform {
 public:
  std::optional<UserSettings> userSettings() override { return std::nullopt; }
  std::optional<std::string> detectScript() override { return std::nullopt; }
  std::optional<std::string> defaultProxy() override { return std::nullopt; }

  std::unique_ptr<ProxyScript> openScriptURL(const std::string& url) override {
    CurlRequest request(url, true);
    if (!request.accepted()) return nullptr;
    Buffer text;
    request.captureBody(text, kScriptLimit);
    request.set(CURLOPT_TIMEOUT, kFetchSeconds);
    request.set(CURLOPT_CONNECTTIMEOUT, kFetchSeconds);
    request.set(CURLOPT_FOLLOWLOCATION, 1L);
    request.set(CURLOPT_MAXREDIRS, kMaxRedirects);
    return request.perform() == kOK ? compile(text) : nullptr;
  }

  std::unique_ptr<ProxyScript> openScriptFile(const std::string& path) override {
    const File file = File::openForReading(path.c_str());
    Buffer text;
    if (bytesToRead(file.descriptor()).value_or(kScriptLimit + 1) > kScriptLimit) return nullptr;
    return text.readFrom(file.descriptor()) ? compile(text) : nullptr;
  }
};

}  // namespace

ProxyPlatform& systemProxyPlatform() {
  static LinuxProxyPlatform platform;
  return platform;
}

}  // namespace keystrand
