#include "net/CurlRequest.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <mutex>

#include "net/CurlLog.h"
#include "net/HTTPS.h"
#include "net/NetState.h"
#include "net/ProxyDiscovery.h"
#include "net/RootStore.h"
#include "net/SigpipeGuard.h"
#include "net/URL.h"

namespace keystrand {

namespace {

constexpr const char* kProtocols = "http,https";
constexpr const char* kUserAgent = "Mozilla/5.0 (compatible)";

// libcurl counts in milliseconds and refuses seconds beyond this.
constexpr long kLongestTimeoutSeconds = INT_MAX / 1000;
// Without a limit on the whole, a peer that sends nothing for this long is given up.
constexpr long kSilenceSeconds = 120;

// Never undone: the client of the library may use libcurl too.
void initialiseCurl() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

// Distribution points are stored decoded, and so may hold blanks and controls, which libcurl refuses in a URL.
std::string transferURL(std::string_view url) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string coded;
  for (const char c : url.substr(0, url.find('\0'))) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte <= 0x20 || byte == 0x7F)
      coded += {'%', kHex[byte >> 4], kHex[byte & 0x0F]};
    else
      coded += c;
  }
  return coded;
}

std::string pairOf(const Credentials& credentials) {
  return credentials.user + ":" + credentials.password;
}

// The context that another TLS library hands out is none that the roots could be added to.
bool speaksOpenSSL() {
  const char* library = curl_version_info(CURLVERSION_NOW)->ssl_version;
  return library != nullptr && std::string_view(library).starts_with("OpenSSL/");
}

CURLcode loadRoots(CURL* /*handle*/, void* sslContext, void* /*data*/) noexcept {
  addEmbeddedRoots(sslContext);
  return CURLE_OK;
}

// Where a proxy script is in force it is asked for the proxy of this URL, which stays set for later requests too. Of
// its answer the port is not taken: libcurl is given 80, as clients know it.
CurlSettings settingsFor(const std::string& url, bool direct) {
  constexpr int kScriptedPort = 80;
  NetSettings net = NetState::instance().snapshot();
  const auto parsed = direct || !net.http.dynamicProxy ? std::nullopt : httpParseURL(url, false);
  if (!parsed) return net.curl;
  resolveProxy(url, parsed->host, net.http);
  const auto take = [&http = net.http](CurlSettings& curl) {
    curl.proxyActive = http.proxyActive;
    if (!http.proxyActive) return;
    curl.proxyHost = http.proxyHost;
    curl.proxyPort = kScriptedPort;
  };
  take(net.curl);
  NetState::instance().change([&](NetSettings& shared) {
    if (shared.http.dynamicProxy && shared.http.script == net.http.script) take(shared.curl);
  });
  return net.curl;
}

}  // namespace

CurlRequest::CurlRequest(const std::string& url, bool direct)
    : url_(transferURL(url)),
      timeoutSeconds_(takeCurlTimeout()),
      direct_(direct),
      accepted_(httpParseURL(url, false).has_value()),
      settings_(settingsFor(url, direct)) {
  if (!accepted_) return;
  initialiseCurl();
  handle_.reset(curl_easy_init());
  if (handle_ != nullptr) applyDefaults();
}

// Header names are capitalised only in HTTP/1.1, and CurlHeaders heeds that.
void CurlRequest::applyDefaults() {
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_URL, url_.c_str());
  set(CURLOPT_PROTOCOLS_STR, kProtocols);
  set(CURLOPT_REDIR_PROTOCOLS_STR, kProtocols);
  set(CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
  set(CURLOPT_USERAGENT, kUserAgent);
  keep(curl_easy_setopt(handle_.get(), CURLOPT_HEADERFUNCTION, &onHeader));
  set(CURLOPT_HEADERDATA, this);
  keep(curl_easy_setopt(handle_.get(), CURLOPT_WRITEFUNCTION, &onBody));
  set(CURLOPT_WRITEDATA, this);
  applyTimeout();
  applyTrust();
  applyProxy();
  applyLog();
}

void CurlRequest::applyTimeout() {
  if (timeoutSeconds_ > 0) {
    const long seconds = std::min(long{timeoutSeconds_}, kLongestTimeoutSeconds);
    set(CURLOPT_TIMEOUT, seconds);
    set(CURLOPT_CONNECTTIMEOUT, seconds);
  } else {
    set(CURLOPT_LOW_SPEED_LIMIT, 1L);
    set(CURLOPT_LOW_SPEED_TIME, kSilenceSeconds);
  }
}

// Neither chain nor host name of a server is checked; the roots only complete what libcurl reports. An OpenSSL libcurl
// is needed for them, any other goes without.
void CurlRequest::applyTrust() {
  set(CURLOPT_SSL_VERIFYPEER, 0L);
  set(CURLOPT_SSL_VERIFYHOST, 0L);
  if (!settings_.caFile.empty()) return set(CURLOPT_CAINFO, settings_.caFile.c_str());
  if (speaksOpenSSL()) curl_easy_setopt(handle_.get(), CURLOPT_SSL_CTX_FUNCTION, &loadRoots);
  set(CURLOPT_CAINFO, nullptr);
  set(CURLOPT_CAPATH, nullptr);
}

// An empty text, where nothing is set, keeps libcurl from the environment's proxy variables.
void CurlRequest::applyProxy() {
  const bool proxied = settings_.proxyActive && !direct_;
  set(CURLOPT_PROXY, proxied ? settings_.proxyHost.c_str() : "");
  if (proxied) {
    set(CURLOPT_PROXYPORT, long{settings_.proxyPort});
    set(CURLOPT_PROXYTYPE, settings_.proxyType);
    set(CURLOPT_NOPROXY, settings_.noProxy.value_or("").c_str());
    if (settings_.proxyCredentials) set(CURLOPT_PROXYUSERPWD, pairOf(*settings_.proxyCredentials).c_str());
  }
  if (direct_) return;
  if (settings_.serverCredentials) set(CURLOPT_USERPWD, pairOf(*settings_.serverCredentials).c_str());
  set(CURLOPT_UNRESTRICTED_AUTH, 1L);
}

void CurlRequest::applyLog() {
  if (settings_.logPath.empty()) return;
  set(CURLOPT_VERBOSE, 1L);
  keep(curl_easy_setopt(handle_.get(), CURLOPT_DEBUGFUNCTION, &logTransfer));
  set(CURLOPT_DEBUGDATA, &settings_.logPath);
}

void CurlRequest::captureBody(Buffer& body, std::uint64_t limit) {
  body.reset();
  body_ = &body;
  bodyLimit_ = limit;
}

void CurlRequest::uploadFrom(std::span<const unsigned char> data) {
  upload_ = data;
  set(CURLOPT_UPLOAD, 1L);
  keep(curl_easy_setopt(handle_.get(), CURLOPT_READFUNCTION, &onUpload));
  set(CURLOPT_READDATA, this);
  set(CURLOPT_INFILESIZE_LARGE, static_cast<long>(data.size()));
}

void CurlRequest::sendHeaders(std::string_view contentType) {
  headerLines_.reset(curl_slist_append(nullptr, "Accept:*/*"));
  if (!contentType.empty() && headerLines_ != nullptr &&
      curl_slist_append(headerLines_.get(), ("Content-Type:" + std::string(contentType)).c_str()) == nullptr)
    headerLines_.reset();
  refused_ = refused_ || headerLines_ == nullptr;
  set(CURLOPT_HTTPHEADER, headerLines_.get());
}

curl_mime* CurlRequest::sendForm() {
  form_.reset(curl_mime_init(handle_.get()));
  set(CURLOPT_MIMEPOST, form_.get());
  return form_.get();
}

int CurlRequest::perform() {
  if (handle_ == nullptr || refused_) return kTransferFailed;
  const SigpipeGuard guard;
  const CurlHandle handle = std::move(handle_);  // closing a TLS connection writes too
  if (curl_easy_perform(handle.get()) != CURLE_OK) return kTransferFailed;
  long status = 0;
  curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
  return static_cast<int>(status);
}

std::size_t CurlRequest::onHeader(char* line, std::size_t size, std::size_t count, void* self) noexcept {
  static_cast<CurlRequest*>(self)->headers_.add({line, size * count});
  return size * count;
}

// A short count ends the transfer with a failure.
std::size_t CurlRequest::onBody(char* data, std::size_t size, std::size_t count, void* self) noexcept try {
  const std::size_t n = size * count;
  const auto& request = *static_cast<CurlRequest*>(self);
  Buffer* body = request.body_;
  if (body == nullptr) return n;
  if (!makeRoom(*body, n, request.bodyLimit_)) return 0;
  body->append(reinterpret_cast<const unsigned char*>(data), static_cast<std::uint32_t>(n));
  return n;
} catch (...) {
  return 0;
}

std::size_t CurlRequest::onUpload(char* dest, std::size_t size, std::size_t count, void* self) noexcept {
  auto& rest = static_cast<CurlRequest*>(self)->upload_;
  const std::size_t n = std::min(rest.size(), size * count);
  if (n != 0) std::memcpy(dest, rest.data(), n);
  rest = rest.subspan(n);
  return n;
}

}  // namespace keystrand
