// The revocation question: which row answers for a distribution point, and is the serial number on its CRL.
#include <memory>
#include <mutex>
#include <utility>

#include "cache/CACache.h"
#include "cache/CRLExtensions.h"
#include "cache/CRLPlace.h"
#include "cache/ContextLog.h"
#include "cache/Library.h"
#include "keystrand/support/SystemClock.h"
#include "log/DateText.h"
#include "log/MessageCodes.h"
#include "support/Text.h"

namespace keystrand {
namespace {

constexpr unsigned char kCertificateHold = 6;

// Whether this row's CRL replaces the best one so far; equal dates keep the first.
bool isBetter(const CRLCacheEntry& entry, const CRLSnapshot& best) {
  return !best || best->thisUpdate.less(entry.thisUpdate);
}

}  // namespace

bool CACache::fail(std::int32_t code) {
  report_.errCode = code;
  logMessage(Logger::kFailure, static_cast<unsigned long>(code));
  return false;
}

// The row of this URI; null when there is none and none may be added. `added` tells that it is new, or would be, and
// `full` that no new one fits.
HeldRow CACache::holdRow(const std::string& uri, bool& full, bool& added) {
  CRLTable& table = library().crlTable;
  std::unique_lock lock(library().crlMutex);
  for (int index = table.find(uri); index < table.count(); index = table.find(uri)) {
    CRLRow& row = table.row(index);
    lock.unlock();
    row.semaphore.wait();
    HeldRow held(&row);
    if (row.uri && equalsNoCase(*row.uri, uri)) return held;
    held.reset();  // the table was emptied or renumbered meanwhile
    lock.lock();
  }
  added = true;
  full = table.count() == CRLTable::kRows;
  return full || !mayFetch() ? nullptr : table.addHeld(uri);
}

// No operation switches this on: a row answers whoever issued its CRL.
bool CACache::isOfIssuer(const CRLCacheEntry& entry, int caRow) const {
  return library().crlIssuerMatch == 0 || entry.issuer == subjectTextOf(caRow);
}

// What the row of this URI holds after it was fetched as the download mode wants it; null without an answer.
CRLSnapshot CACache::lookUp(const std::string& uri, int caRow, bool cachedOnly, bool& full) {
  bool added = false;
  const HeldRow row = holdRow(uri, full, added);
  if (added) {
    logMessage(Logger::kTrace, kRowNotFound);
    if (!row || !fillCRLRow(uri, *row)) return nullptr;
  } else if (needsFetch(uri, *row->snapshot(), cachedOnly)) {
    refreshCRL(uri, *row);  // a failure shows only where the row holds nothing
  }
  CRLSnapshot held = row->snapshot();
  if (!held->crl || !isOfIssuer(*held, caRow)) return nullptr;
  if (!added) logMessage(Logger::kTrace, kRowFound);
  return held;
}

CACache::RowSearch CACache::findCRLRow(const DistributionPointName* dp, int caRow, bool cachedOnly, CRLSnapshot& best) {
  const GeneralNameList* names = namesOf(dp);
  if (names == nullptr) {
    fail(kDistributionPointIncorrect);
    return RowSearch::kNoNames;
  }
  for (int i = 0; i < names->count(); ++i) {
    const auto uri = uriOfGeneralName(*names->view(i));
    if (!uri) {
      fail(kDistributionPointNotHandled);
      continue;
    }
    logMessage(Logger::kTrace, kRowSearchStarted);
    bool full = false;
    CRLSnapshot held = lookUp(*uri, caRow, cachedOnly, full);
    if (full) {
      fail(kInternalError);
      return RowSearch::kTableFull;
    }
    if (held && isBetter(*held, best)) best = std::move(held);
  }
  return best ? RowSearch::kFound : RowSearch::kNone;
}

bool CACache::searchCRL(const DistributionPointName* dp, int caRow, const char* serial) {
  report_.errCode = kNoError;
  if (serial == nullptr) return fail(kInternalError);  // without a code it would read as not revoked
  CRLSnapshot answering;
  if (useLocalCRLs_ != 0) {
    answering = findLocalCRL(dp, caRow);
    if (!answering) {
      report_.errCode = kCRLNotDownloaded;  // not logged: nothing was tried
      return false;
    }
  } else if (findCRLRow(dp, caRow, false, answering) != RowSearch::kFound) {
    return report_.errCode == kDistributionPointIncorrect || report_.errCode == kDistributionPointNotHandled
               ? false
               : fail(kCRLNotDownloaded);
  }
  reportCRL(*answering);
  return searchSerial(*answering->crl, serial);
}

void CACache::reportCRL(const CRLCacheEntry& entry) {
  report_.thisUpdate = entry.thisUpdate;
  report_.nextUpdate = entry.nextUpdate;
  report_.expiredCertsOnCRL.reset();
  if (entry.expiredCertsOnCRL.seconds() != 0) report_.expiredCertsOnCRL = entry.expiredCertsOnCRL;
  if (!logger_) return;
  logMessage(Logger::kInformation, kCRLDate, dateText(entry.thisUpdate).c_str());
  const std::unique_ptr<X500Time> now(SystemClock::now());
  if (entry.nextUpdate && entry.nextUpdate->less(*now)) {  // only told: the caller judges an expired CRL
    log(*logger_, Logger::kInformation, kCRLExpired, "%s: %s", messageText(kCRLExpired, settings().language),
        dateText(*entry.nextUpdate).c_str());
  }
  logMessage(Logger::kTrace, kSerialSearchStarted);
}

// The first entry of that serial number decides, in the order of the encoding.
bool CACache::searchSerial(const CertificateList& crl, std::string_view serial) {
  const RevokedCertificateList* revoked = crl.revokedCertificates();
  const int index = revoked != nullptr ? revoked->find(serial) : -1;
  RevokedCertificate entry;
  if (index < 0 || !revoked->decode(index, entry)) {
    logMessage(Logger::kTrace, kSerialNotRevoked);
    return false;
  }
  report_.revocationDate.reset();
  if (entry.revocationDateView() != nullptr) report_.revocationDate = *entry.revocationDateView();
  reportEntry(entry, report_);
  logRevocation();
  return true;
}

void CACache::logRevocation() {
  if (!logger_) return;
  const std::string since = report_.revocationDate ? dateText(*report_.revocationDate) : std::string();
  logMessage(Logger::kInformation, report_.reason == kCertificateHold ? kSuspensionDate : kRevocationDate,
             since.c_str());
  if (report_.invalidSince) logMessage(Logger::kInformation, kInvalidSince, dateText(*report_.invalidSince).c_str());
  logMessage(Logger::kTrace, kSerialRevoked);
}

owner<CertificateList*> CACache::getCRL(const DistributionPointName* dp, int caRow, bool cachedOnly,
                                        Certificate** caCert) {
  CRLSnapshot best;
  std::unique_ptr<CertificateList> copy;
  switch (findCRLRow(dp, caRow, cachedOnly, best)) {
    case RowSearch::kFound:
      copy.reset(best->crl->clone());
      if (caCert != nullptr) *caCert = issuerOf(*best);
      return copy.release();
    case RowSearch::kNone:
      if (caCert != nullptr) *caCert = nullptr;
      fail(kCRLNotDownloaded);
      return nullptr;
    case RowSearch::kNoNames:
    case RowSearch::kTableFull:
      return nullptr;  // their own codes stay, and so does *caCert
  }
  return nullptr;
}

// The certificate that issued a row's CRL: where it stood in its row when the CRL was accepted, or, once the CA list
// has changed, where it stands now.
owner<Certificate*> CACache::issuerOf(const CRLCacheEntry& entry) {
  if (!entry.issuer) return nullptr;
  int row = -1;
  const std::vector<CACertEntryRef> entries = entriesOfSubject(*entry.issuer, row);
  const auto place = static_cast<std::size_t>(entry.certIndex);  // beyond every row when negative
  const bool stands = row == entry.caIndex && place < entries.size();
  const int index =
      stands ? entry.certIndex : issuerAmong(entries, *entry.crl, authorityKeyIdentifierOf(*entry.crl).get());
  return index < 0 ? nullptr : entries[static_cast<std::size_t>(index)]->certificate().clone();
}

}  // namespace keystrand
