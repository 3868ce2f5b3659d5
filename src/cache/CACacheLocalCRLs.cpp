// The private CRLs of a context, searched instead of the table when the context is told so.
#include <algorithm>
#include <memory>
#include <string>
#include <unordered_set>
#include <utility>

#include "cache/CACache.h"
#include "cache/CRLExtensions.h"
#include "cache/CRLPlace.h"

namespace keystrand {
namespace {

std::unordered_set<std::string> urisOf(const GeneralNameList& names) {
  std::unordered_set<std::string> uris;
  for (int i = 0; i < names.count(); ++i) {
    if (auto uri = uriOfGeneralName(*names.view(i))) uris.insert(std::move(*uri));
  }
  return uris;
}

// Whether one of the URIs of one side is one of the other's, case and all.
bool shareURI(const GeneralNameList& asked, const GeneralNameList& own) {
  const auto wanted = urisOf(asked);
  return std::ranges::any_of(urisOf(own), [&](const std::string& uri) { return wanted.contains(uri); });
}

// Whether the CRL says that it answers for these names; one that names no place answers for its issuer.
bool answersFor(const CertificateList& crl, const GeneralNameList& asked, const std::string& caSubject) {
  const auto place = issuingDistributionPointOf(crl);
  if (place && place->distributionPointView() != nullptr) {
    const GeneralNameList* own = place->distributionPointView()->fullNameView();
    return own != nullptr && shareURI(asked, *own);
  }
  return crl.issuerView() != nullptr && !caSubject.empty() && crl.issuerView()->text() == caSubject;
}

}  // namespace

void CACache::addLocalCRL(const CertificateList& crl) {
  if (!localCRLs_) localCRLs_ = std::make_unique<CRLList>();
  localCRLs_->add(crl);
}

void CACache::removeLocalCRLs() {
  localCRLs_.reset();
}

CRLSnapshot CACache::findLocalCRL(const DistributionPointName* dp, int caRow) {
  const GeneralNameList* asked = dp != nullptr ? dp->fullNameView() : nullptr;
  if (asked == nullptr || asked->count() == 0 || !localCRLs_) return nullptr;
  const std::string caSubject = subjectTextOf(caRow);
  for (int i = localCRLs_->count() - 1; i >= 0; --i) {  // the last one added first
    const auto& crl = localCRLs_->at(i);
    int row = -1;
    int index = -1;
    if (!answersFor(*crl, *asked, caSubject) || !checkCRL(*crl, row, index)) continue;
    auto entry = std::make_shared<CRLCacheEntry>();
    entry->crl = crl;
    if (crl->thisUpdateView() != nullptr) entry->thisUpdate = *crl->thisUpdateView();
    if (crl->nextUpdateView() != nullptr) entry->nextUpdate = *crl->nextUpdateView();
    entry->expiredCertsOnCRL = expiredCertsOnCRLOf(*crl);
    return entry;
  }
  return nullptr;
}

}  // namespace keystrand
