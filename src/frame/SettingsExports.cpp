// Settings of the whole process.
#include <algorithm>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "cache/Library.h"
#include "der/TextValue.h"
#include "frame/Boundary.h"
#include "keystrand/keystrand.h"
#include "net/CurlSettings.h"
#include "net/ProxyDiscovery.h"
#include "net/ProxyState.h"
#include "net/SocksState.h"
#include "support/Settings.h"

namespace keystrand {
namespace {

constexpr std::size_t kLocationBytes = 256;  // kept of a location or of the CRL proxy
constexpr unsigned char kMostDetailed = 7;
constexpr char kBlank = ' ';

std::string_view cut(const char* text) {
  return textOrEmpty(text).substr(0, kLocationBytes);
}

std::string_view withoutLeadingBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(kBlank), text.size()));
}

// Cuts "address / mask" in place, leaving the address, and returns the mask, which ends at a blank. An entry without a
// mask has none and is not written to: it may be a literal.
std::optional<std::string> cutMask(char* entry) {
  char* slash = std::strchr(entry, '/');
  if (slash == nullptr) return std::nullopt;
  const std::string_view behind = withoutLeadingBlanks(slash + 1);
  std::string mask(behind.substr(0, behind.find(kBlank)));
  while (slash > entry && slash[-1] == kBlank) --slash;
  *slash = '\0';
  return mask;
}

void addNoSocks(char* entry) {
  if (const auto mask = cutMask(entry)) {
    addSocksDirect(std::string(withoutLeadingBlanks(entry)), *mask);
  } else {
    addSocksDirect(entry);
    addCurlNoProxy(entry);
  }
}

}  // namespace
}  // namespace keystrand

using namespace keystrand;

void cache_setDownloadCRL(unsigned char mode) {
  settings().downloadMode = mode;
}

void cache_setTimeStampCheck(unsigned char on) {
  settings().timeStampCheck = on;
}

void cache_setTimeout(int seconds) {
  settings().crlTimeout = seconds;
}

void ocsp_setTimeout(int seconds) {
  settings().ocspTimeout = seconds;
}

void ocsp_setTCPTimeout(int seconds) {
  settings().ocspTimeout = seconds;
}

void cache_setLang(int lang) {
  settings().language = static_cast<unsigned char>(lang);
  settings().ocspLanguage = static_cast<unsigned char>(lang);
}

void cache_enableLog(unsigned char level) {
  settings().logLevel = std::min(level, kMostDetailed);
}

void cache_disableLog() {
  settings().logLevel = kNoLog;
}

void cache_setEUTSLLocation(char* location) {
  guardedVoid([&] {
    const std::lock_guard lock(library().euTSLMutex);
    library().euTSL.reset();
    library().euTSLLocation = cut(location);
  });
}

void cache_setCrlProxyUri(char* uri) {
  guardedVoid([&] {
    const std::lock_guard table(library().crlMutex);
    const std::lock_guard leaf(library().crlProxyMutex);
    library().crlProxyUri = cut(uri);
  });
}

void cache_setCURLlog(char const* path) {
  guardedVoid([&] {
    const std::lock_guard lock(library().crlMutex);
    setCurlLog(textOrEmpty(path));
  });
}

void cache_setCURLCaCert(char const* path) {
  guardedVoid([&] {
    const std::lock_guard lock(library().crlMutex);
    setCurlCaFile(textOrEmpty(path));
  });
}

void cache_setHTTPProxy(char* url, char* user, char* password) {
  guardedVoid([&] {
    const auto credentials = credentialsOf(user, password);
    httpDiscoverProxy(url != nullptr ? std::optional<std::string>(url) : std::nullopt, credentials);
    setCurlProxyCredentials(credentials);
  });
}

void cache_setHTTPProxy(char* host, int port, char* user, char* password) {
  guardedVoid([&] {
    httpSetProxy(textOrEmpty(host), port, credentialsOf(user, password));
    setCurlProxy(textOrEmpty(host), port, credentialsOf(user, password));
  });
}

void cache_setNoHTTPProxy(char** hosts) {
  guardedVoid([&] {
    for (char** host = hosts; host != nullptr && *host != nullptr; ++host) {
      httpAddNoProxy(*host);
      addCurlNoProxy(*host);
    }
  });
}

void cache_setSOCKSProxy(char* host, int port, char* user, char* password) {
  guardedVoid([&] {
    setSocks(textOrEmpty(host), port, credentialsOf(user, password));
    setCurlSocks(textOrEmpty(host), port, credentialsOf(user, password));
  });
}

void cache_setNoSOCKS(char** entries) {
  guardedVoid([&] {
    for (char** entry = entries; entry != nullptr && *entry != nullptr; ++entry) addNoSocks(*entry);
  });
}
