// Retrieval of CRLs: when one is fetched, by which road, directly or through a CRL proxy; HTTP and HTTPS.
#include <algorithm>
#include <mutex>
#include <string_view>
#include <utility>

#include "cache/CACache.h"
#include "cache/CRLExtensions.h"
#include "cache/CRLPlace.h"
#include "cache/ContextLog.h"
#include "cache/LargeWork.h"
#include "cache/Library.h"
#include "log/MessageCodes.h"
#include "net/CurlSettings.h"
#include "net/HTTPDate.h"
#include "net/HTTPS.h"
#include "net/URL.h"
#include "support/Settings.h"

namespace keystrand {
namespace {

// When a CRL is fetched; any other value acts as "when expired".
constexpr unsigned char kOncePerSession = 1;
constexpr unsigned char kAlways = 3;
constexpr unsigned char kNever = 4;

constexpr std::string_view kHTTPS = "https://";

// The setting with the URI put in front of its query's "&", or at its end; nothing when no CRL proxy is set.
std::optional<std::string> throughProxy(const std::string& uri) {
  const std::lock_guard lock(library().crlProxyMutex);
  const std::string& proxy = library().crlProxyUri;
  if (proxy.empty()) return std::nullopt;
  const std::size_t rest = std::min(proxy.find('&'), proxy.size());
  return proxy.substr(0, rest) + httpEscape(uri) + proxy.substr(rest);
}

// After one failure the CRL proxy stays off until it is set again.
void forgetProxy() {
  const std::lock_guard lock(library().crlProxyMutex);
  library().crlProxyUri.clear();
}

void take(CRLCacheEntry& entry, DownloadedCRL&& arrived) {
  const CertificateList& crl = *arrived.crl;
  entry.timestamp = arrived.timestamp;
  entry.thisUpdate = *crl.thisUpdateView();
  entry.nextUpdate.reset();
  if (crl.nextUpdateView() != nullptr) entry.nextUpdate = *crl.nextUpdateView();
  entry.expiredCertsOnCRL = expiredCertsOnCRLOf(crl);
  entry.issuer = crl.issuerView()->text();
  entry.crl = std::move(arrived.crl);
}

}  // namespace

std::optional<DownloadedCRL> CACache::downloadCRL(const std::string& url, bool namedHTTPS, bool direct) {
  const bool secure = namedHTTPS && url.starts_with(kHTTPS);
  const LargeWork work(workBuffer_);
  logMessage(Logger::kTrace, secure ? kHTTPSDownloadStarted : kHTTPDownloadStarted);
  setCurlTimeout(settings().crlTimeout);
  std::string time;
  if (!httpsGetObjectAndTime(url, workBuffer_, time, direct)) return std::nullopt;
  auto crl = std::make_unique<CertificateList>();
  {
    const SemaphoreLock device(semaphore_);
    if (!crl->get(workBuffer_)) return std::nullopt;
  }
  logMessage(Logger::kTrace, secure ? kHTTPSDownloadEnded : kHTTPDownloadEnded);
  return DownloadedCRL{std::move(crl), parseHTTPDate(time)};
}

// A file is nothing to fetch.
std::optional<DownloadedCRL> CACache::downloadDirectly(const std::string& uri, const ParsedURL& parsed) {
  switch (parsed.scheme) {
    case kSchemeHTTP:
    case kSchemeHTTPS:
      return downloadCRL(uri, true, false);
    case kSchemeLDAP:
      return downloadCRLLDAP(uri, parsed);
    default:
      return std::nullopt;
  }
}

std::optional<DownloadedCRL> CACache::download(const std::string& uri) {
  logMessage(Logger::kNotice, kCRLAddress, uri.c_str());
  const std::optional<ParsedURL> parsed = httpParseURL(uri, true);
  if (!parsed) return std::nullopt;
  const std::optional<std::string> proxied = throughProxy(uri);
  if (!proxied) return downloadDirectly(uri, *parsed);
  logMessage(Logger::kNotice, kCRLAddress, proxied->c_str());
  const bool secure = proxied->starts_with(kHTTPS);
  if (std::optional<DownloadedCRL> answer = downloadCRL(*proxied, secure, secure)) return answer;
  forgetProxy();
  logMessage(Logger::kNotice, kCRLAddress, uri.c_str());
  return downloadDirectly(uri, *parsed);
}

bool CACache::refreshCRL(const std::string& uri, CRLRow& row) {
  std::optional<DownloadedCRL> arrived = download(uri);
  if (!arrived) return false;
  auto entry = std::make_shared<CRLCacheEntry>(*row.snapshot());
  if (!checkCRL(*arrived->crl, entry->caIndex, entry->certIndex)) return false;
  const bool isNewer = entry->thisUpdate.less(*arrived->crl->thisUpdateView());
  if (isNewer) {
    logMessage(Logger::kInformation, entry->crl ? kCRLUpdated : kCRLAdded);
    take(*entry, std::move(*arrived));
  }
  row.publish(std::move(entry));  // of a CRL that is not newer only where its issuer stands, not even its timestamp
  if (isNewer) library().crlCacheModified = 1;
  return true;
}

bool CACache::fillCRLRow(const std::string& uri, CRLRow& row) {
  if (!refreshCRL(uri, row)) return false;
  const CRLSnapshot held = row.snapshot();
  if (!held->crl || !isDue(held->nextUpdate)) return true;
  // What was just downloaded is stale already: the CRL itself may name a better place.
  const auto place = issuingDistributionPointOf(*held->crl);
  if (place && place->distributionPointView() != nullptr) {
    followIssuingDistributionPoint(*place->distributionPointView(), row);
  }
  return true;
}

void CACache::followIssuingDistributionPoint(const DistributionPointName& name, CRLRow& row) {
  const GeneralNameList* names = name.fullNameView();
  for (int i = 0; names != nullptr && i < names->count(); ++i) {
    if (const auto uri = uriOfGeneralName(*names->view(i))) refreshCRL(*uri, row);
  }
}

std::optional<X500Time> CACache::requestCRLTimestamp(const std::string& uri) {
  if (settings().timeStampCheck == 0) return std::nullopt;
  const std::optional<ParsedURL> parsed = httpParseURL(uri, true);
  if (!parsed || parsed->scheme == kSchemeFile) return std::nullopt;
  return parsed->scheme == kSchemeLDAP ? requestTimestampLDAP(*parsed) : requestTimestampHTTPS(uri);
}

std::optional<X500Time> CACache::requestTimestampHTTPS(const std::string& uri) {
  logMessage(Logger::kTrace, kTimeRequestStarted);  // plain HTTP speaks the same words
  setCurlTimeout(settings().crlTimeout);
  const std::optional<std::string> text = httpsGetTime(uri, workBuffer_);
  std::optional<X500Time> time;
  if (text) time = parseHTTPDate(*text);
  logMessage(Logger::kTrace, kTimeRequestEnded);
  return time;
}

bool CACache::needsFetch(const std::string& uri, const CRLCacheEntry& entry, bool cachedOnly) {
  const unsigned char mode = settings().downloadMode;
  if (mode == kNever) return false;
  if (entry.crl && (mode == kOncePerSession || cachedOnly)) return false;
  if (!entry.crl || mode == kAlways) return true;
  return isOutdated(uri, entry);
}

bool CACache::isOutdated(const std::string& uri, const CRLCacheEntry& entry) {
  const bool due = isDue(entry.nextUpdate);
  const std::optional<X500Time> remote = requestCRLTimestamp(uri);  // asked for a CRL that is due, and for none, too
  return due || (remote && entry.timestamp.less(*remote));
}

bool CACache::mayFetch() const {
  return settings().downloadMode != kNever;
}

}  // namespace keystrand
