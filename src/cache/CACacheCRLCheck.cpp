// Acceptance of a CRL: its issuer is in the CA list, may sign CRLs, and signed this one. No date is looked at.
#include <vector>

#include "cache/CACache.h"
#include "cache/CRLExtensions.h"
#include "cache/ContextLog.h"
#include "log/MessageCodes.h"

namespace keystrand {

// The issuer's text goes to the log first, then the error.
bool CACache::refuseCRL(const CertificateList& crl, std::int32_t code) {
  report_.errCode = code;
  if (logger_) logMessage(Logger::kInformation, kCRLIssuer, crl.issuerView()->text().c_str());
  logMessage(Logger::kFailure, static_cast<unsigned long>(code));
  return false;
}

bool CACache::checkCRL(const CertificateList& crl, int& caIndex, int& certIndex) {
  logMessage(Logger::kTrace, kCRLCheckStarted);
  const auto aki = authorityKeyIdentifierOf(crl);
  if (crl.issuerView() == nullptr) return false;
  int row = -1;
  const std::vector<CACertEntryRef> entries = entriesOfSubject(crl.issuerView()->text(), row);
  const int index = issuerAmong(entries, crl, aki.get());
  if (index < 0) return false;  // neither an error code nor a message: the search ends in its own
  const Certificate& issuer = entries[static_cast<std::size_t>(index)]->certificate();
  if (!maySignCRLs(issuer)) return refuseCRL(crl, kKeyNotForCRLs);
  if (!isSignedBy(crl, issuer)) return refuseCRL(crl, kCRLNotVerified);
  caIndex = row;
  certIndex = index;
  logMessage(Logger::kTrace, kCRLCheckEnded);
  return true;
}

bool CACache::isSignedBy(const CertificateList& crl, const Certificate& issuer) {
  const KeyInfo* key = issuer.subjectPublicKeyInfoView();
  if (key == nullptr || cryptoDevice_ == nullptr) return false;
  const SemaphoreLock device(semaphore_);
  return crl.verify(*cryptoDevice_, *key);
}

}  // namespace keystrand
