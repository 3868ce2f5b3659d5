#include "net/ProxyDiscovery.h"

#include <algorithm>

#include "net/HeaderRows.h"
#include "net/NetState.h"
#include "support/Text.h"

namespace keystrand {

// A script in force. Where it came from decides how its answers are read.
class DiscoveryScript {
 public:
  DiscoveryScript(std::unique_ptr<ProxyScript> script, bool fromURL) : script_(std::move(script)), fromURL_(fromURL) {}

  [[nodiscard]] std::optional<std::string> find(const std::string& url, const std::string& host) const {
    return script_->find(url, host);
  }
  [[nodiscard]] bool fromURL() const { return fromURL_; }

 private:
  std::unique_ptr<ProxyScript> script_;
  bool fromURL_;
};

namespace {

constexpr auto kNone = std::string_view::npos;
constexpr const char* kProbeURL = "http://www.keystrand.example";
constexpr const char* kProbeHost = "www.keystrand.example";
constexpr std::size_t kScriptHostLimit = 128;
constexpr std::size_t kProxyHostLimit = 127;
constexpr int kDefaultPort = 80;

struct ProxyAddress {
  std::string host;
  int port = 0;
};

std::string_view withoutBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

// The first colon parts host and port, whatever else the text holds. Nothing for a host that no name can be.
std::optional<ProxyAddress> parseProxyAddress(std::string_view text) {
  const std::size_t colon = text.find(':');
  ProxyAddress address{std::string(text.substr(0, colon)), kDefaultPort};
  if (address.host.size() > kProxyHostLimit) return std::nullopt;
  if (colon != kNone)
    address.port = static_cast<int>(std::clamp<std::int64_t>(leadingDecimal(text.substr(colon + 1)), 0, 0xFFFF + 1));
  return address;
}

std::string_view nextEntry(std::string_view& answer) {
  const std::size_t end = answer.find(';');
  const std::string_view entry = withoutBlanks(answer.substr(0, end));
  answer = end == kNone ? std::string_view() : answer.substr(end + 1);
  return entry;
}

// The text is that of all PROXY entries without the word, as a platform's resolver gives it, and none where DIRECT is
// the first choice.
std::optional<ProxyAddress> firstOfURLScript(std::string_view answer) {
  constexpr std::string_view kProxy = "PROXY ";
  std::string text;
  for (bool first = true; !answer.empty(); first = false) {
    const std::string_view entry = nextEntry(answer);
    if (first && startsWithNoCase(entry, "DIRECT")) return std::nullopt;
    if (!startsWithNoCase(entry, kProxy)) continue;
    text.append(text.empty() ? "" : ";").append(withoutBlanks(entry.substr(kProxy.size())));
  }
  return text.empty() ? std::nullopt : parseProxyAddress(text);
}

std::optional<ProxyAddress> firstOfFileScript(std::string_view answer) {
  constexpr std::string_view kProxy = "PROXY";
  const std::string_view entry = nextEntry(answer);
  if (!entry.starts_with(kProxy)) return std::nullopt;
  return parseProxyAddress(withoutBlanks(entry.substr(kProxy.size())));
}

// Host and port of the last answer stay behind where there is none now.
void take(const std::optional<ProxyAddress>& address, ProxyState& state) {
  state.proxyActive = address.has_value();
  if (!address) return;
  state.proxyHost = address->host;
  state.proxyPort = address->port;
}

void switchOff() {
  NetState::instance().change([](NetSettings& net) { net.http.proxyActive = net.http.dynamicProxy = false; });
}

bool useFixedProxy(std::string_view text, const std::optional<Credentials>& credentials) {
  const auto address = parseProxyAddress(text);
  NetState::instance().change([&](NetSettings& net) {
    take(address, net.http);
    net.http.proxyAuthLine = httpBasicHeader(true, credentials);
  });
  return address.has_value();
}

bool useScript(std::unique_ptr<ProxyScript> script, bool fromURL, const std::optional<Credentials>& credentials) {
  if (script == nullptr || !script->find(kProbeURL, kProbeHost)) return false;
  const auto shared = std::make_shared<const DiscoveryScript>(std::move(script), fromURL);
  // The script before this one may end with its last owner, which is no work to do under the lock.
  const auto former = NetState::instance().change([&](NetSettings& net) {
    take(ProxyAddress{}, net.http);
    net.http.proxyAuthLine = httpBasicHeader(true, credentials);
    net.http.dynamicProxy = true;
    return std::exchange(net.http.script, shared);
  });
  return true;
}

// Of a URL: between its scheme and what ends the authority.
std::optional<std::string_view> hostOfScript(std::string_view location) {
  for (const std::string_view scheme : {"http://", "https://"})
    if (startsWithNoCase(location, scheme)) {
      const std::string_view behind = location.substr(scheme.size());
      return behind.substr(0, behind.find_first_of(":/?#"));
    }
  return std::nullopt;
}

}  // namespace

bool httpDiscoverProxy(const std::optional<std::string>& script, const std::optional<Credentials>& credentials,
                       ProxyPlatform& platform) {
  switchOff();
  if (script) return useProxyScript(*script, credentials, platform);
  if (discoverFromUserSettings(credentials, platform)) return true;
  const auto proxy = platform.defaultProxy();
  return proxy && useFixedProxy(*proxy, credentials);
}

bool discoverFromUserSettings(const std::optional<Credentials>& credentials, ProxyPlatform& platform) {
  const auto settings = platform.userSettings();
  if (!settings) return false;
  if (settings->proxy) return useFixedProxy(*settings->proxy, credentials);
  if (settings->scriptURL) return useProxyScript(*settings->scriptURL, credentials, platform);
  const auto detected = settings->autoDetect ? platform.detectScript() : std::nullopt;
  return detected && useProxyScript(*detected, credentials, platform);
}

bool useProxyScript(const std::string& location, const std::optional<Credentials>& credentials,
                    ProxyPlatform& platform) {
  constexpr std::string_view kFile = "file://";
  switchOff();
  if (const auto host = hostOfScript(location))
    return !host->empty() && host->size() <= kScriptHostLimit &&
           useScript(platform.openScriptURL(location), true, credentials);
  const std::string path = startsWithNoCase(location, kFile) ? location.substr(kFile.size()) : location;
  return useScript(platform.openScriptFile(path), false, credentials);
}

void resolveProxy(const std::string& url, const std::string& host, ProxyState& state) {
  if (!state.dynamicProxy || state.script == nullptr) return;
  const auto answer = state.script->find(url, host);
  const auto first = state.script->fromURL() ? &firstOfURLScript : &firstOfFileScript;
  const auto address = answer ? first(*answer) : std::nullopt;
  take(address, state);
  NetState::instance().change([&](NetSettings& net) {
    if (net.http.dynamicProxy && net.http.script == state.script) take(address, net.http);
  });
}

}  // namespace keystrand
