// Retrieval of CRLs by LDAP: one exchange on a connection of its own for each CRL, and one for each question about its
// time.
#include <memory>
#include <string_view>
#include <utility>

#include "cache/CACache.h"
#include "cache/ContextLog.h"
#include "cache/LargeWork.h"
#include "keystrand/support/SystemClock.h"
#include "ldap/LDAPExchange.h"
#include "ldap/LDAPQuery.h"
#include "ldap/PartialAttributeList.h"
#include "log/MessageCodes.h"
#include "net/URL.h"
#include "support/Text.h"

namespace keystrand {

// What a server has told so far.
struct FoundCRL {
  std::unique_ptr<CertificateList> crl;
  std::optional<X500Time> time;
};

namespace {

constexpr std::string_view kTimeAttribute = "modifyTimestamp";
constexpr std::string_view kCRLAttribute = "certificaterevocationlist";
constexpr std::string_view kBinary = ";binary";

AttrDescrList attributes(std::initializer_list<std::string_view> descriptions) {
  AttrDescrList list;
  for (const std::string_view description : descriptions) list.add(description);
  return list;
}

SearchRequest crlSearch(const DirectoryEntry& at, const LDAPQuery& query, const AttrDescrList& wanted) {
  SearchRequest request = searchFor(at.dn, wanted);
  request.setScope(query.scope);
  request.setFilter(query.filter);
  return request;
}

// The last value counts.
void takeTime(const PartialAttribute& attribute, std::optional<X500Time>& time) {
  for (const AttrValue& value : attribute.vals().values()) {
    time.emplace().setGeneralizedText(std::string(value.begin(), value.end()).c_str());
  }
}

// Nothing for a URL without a DN.
std::optional<DirectoryEntry> entryOf(const ParsedURL& url) {
  if (!url.path) return std::nullopt;
  return DirectoryEntry{url.host, url.port, *url.path};
}

}  // namespace

std::unique_ptr<CertificateList> CACache::decodeCRL(std::span<const unsigned char> value) {
  crlBuffer_.reset();
  crlBuffer_.assign(value.data(), static_cast<std::uint32_t>(value.size()));
  auto crl = std::make_unique<CertificateList>();
  const SemaphoreLock device(semaphore_);
  return crl->get(crlBuffer_) ? std::move(crl) : nullptr;
}

// The last value decides: one that is no CRL takes away the CRL found before it. What stands behind CRL and time in an
// entry is not looked at.
void CACache::takeCRL(const PartialAttributeList& list, const std::string& name, FoundCRL& found) {
  for (const PartialAttribute& attribute : list.attributes()) {
    const std::string_view type = withoutBinary(attribute.type());
    if (!type.empty() && equalsNoCase(type, name)) {
      for (const AttrValue& value : attribute.vals().values()) found.crl = decodeCRL(value);
    }
    if (type == kTimeAttribute) takeTime(attribute, found.time);
    if (found.crl && found.time) return;
  }
}

std::optional<DownloadedCRL> CACache::downloadCRLLDAP(const std::string& uri, const ParsedURL& url) {
  const std::optional<DirectoryEntry> at = entryOf(url);
  if (!at) return std::nullopt;
  const std::string_view rest = std::string_view(uri).substr(url.queryOffset);
  const LDAPQuery query = parseLDAPQuery(rest.starts_with('?') ? rest.substr(1) : kCRLAttribute);
  const LargeWork messages(workBuffer_);
  const LargeWork values(crlBuffer_);
  logMessage(Logger::kTrace, kLDAPDownloadStarted);
  const auto exchange = LDAPExchange::open(*at, settings().crlTimeout, workBuffer_);
  FoundCRL found;
  const auto search = [&](const AttrDescrList& wanted) {
    return exchange->search(crlSearch(*at, query, wanted),
                            [&](const PartialAttributeList& list) { takeCRL(list, query.name, found); });
  };
  if (!exchange || !search(attributes({query.attribute, kTimeAttribute}))) return std::nullopt;
  // Some servers know the attribute under that option only.
  if (!found.crl && !query.binary && !search(attributes({query.name + std::string(kBinary)}))) return std::nullopt;
  exchange->unbind();
  logMessage(Logger::kTrace, kLDAPDownloadEnded);
  if (!found.crl) return std::nullopt;
  const std::unique_ptr<X500Time> now(SystemClock::now());
  return DownloadedCRL{std::move(found.crl), found.time.value_or(*now)};
}

std::optional<X500Time> CACache::requestTimestampLDAP(const ParsedURL& url) {
  logMessage(Logger::kTrace, kLDAPTimeRequestStarted);
  const std::optional<DirectoryEntry> at = entryOf(url);
  if (!at) return std::nullopt;
  const auto exchange = LDAPExchange::open(*at, settings().crlTimeout, workBuffer_);
  if (!exchange) return std::nullopt;
  std::optional<X500Time> time;
  exchange->searchOne(searchFor(at->dn, attributes({kTimeAttribute})), [&](const PartialAttributeList& list) {
    for (const PartialAttribute& attribute : list.attributes()) {
      if (attribute.type() == kTimeAttribute) takeTime(attribute, time);
    }
  });
  exchange->unbind();
  logMessage(Logger::kTrace, kLDAPTimeRequestEnded);
  return time.value_or(X500Time());  // of a server that tells none: never newer than a CRL
}

}  // namespace keystrand
