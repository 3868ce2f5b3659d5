// Which certificate of a row issued an object: by the identifier of the authority's key, or by trial of signatures.
// Validity and key usage of the candidates play no part; among those that fit, the first of the row is taken.
#include <algorithm>
#include <memory>
#include <string>

#include "cache/CACache.h"
#include "der/BorrowedBuffer.h"
#include "der/ConstantOID.h"

namespace keystrand {
namespace {

// The authority's certificate by the name of its issuer and its serial number.
bool matchesIssuerAndSerial(const AuthorityKeyIdentifier& aki, const Certificate& candidate) {
  const BigInteger& serial = aki.authorityCertSerialNumber();
  const GeneralNameList* names = aki.authorityCertIssuerView();
  if (serial.isZero() || names == nullptr || !(candidate.infoView()->serialNumberView() == serial)) return false;
  const std::string issuer = candidate.issuerView()->text();
  for (int i = 0; i < names->count(); ++i) {
    const GeneralName& name = *names->view(i);
    if (name.tag() != GeneralName::kDirectoryName || name.directoryNameView() == nullptr) continue;
    if (name.directoryNameView()->text() == issuer) return true;
  }
  return false;
}

// An identifier that is absent or empty matches nothing, so that it cannot stand in for a signature check.
bool matchesKeyIdentifier(const AuthorityKeyIdentifier& aki, const Certificate& candidate) {
  const auto wanted = aki.keyIdentifierView();
  const ExtensionList* extensions = candidate.extensionsView();
  if (wanted.empty() || extensions == nullptr) return false;
  const Extension* extension = extensions->find(makeOID("2.5.29.14"_oid));
  if (extension == nullptr) return false;
  BorrowedBuffer value(extension->valueView());
  unsigned char* bytes = nullptr;
  std::uint32_t n = 0;
  const bool isRead = value.getOctetString(bytes, n);
  const std::unique_ptr<unsigned char[]> owned(bytes);
  return isRead && owned && std::ranges::equal(wanted, std::span(owned.get(), n));
}

// The first entry that the identifier points at; the signature plays no part here.
int byIdentifier(const std::vector<CACertEntryRef>& entries, const AuthorityKeyIdentifier* aki) {
  if (aki == nullptr) return -1;
  const auto hit = std::ranges::find_if(
      entries, [&](const CACertEntryRef& entry) { return CACache::matchAuthorityKey(*aki, entry->certificate()); });
  return hit != entries.end() ? static_cast<int>(hit - entries.begin()) : -1;
}

// The first entry whose key verifies the object, each try under the device's semaphore.
template <class Object>
int bySignature(const std::vector<CACertEntryRef>& entries, Object& object, CryptoDevice* device,
                Semaphore* semaphore) {
  if (device == nullptr) return -1;
  const auto verifies = [&](const CACertEntryRef& entry) {
    const KeyInfo* key = entry->certificate().subjectPublicKeyInfoView();
    const SemaphoreLock lock(semaphore);
    return key != nullptr && object.verify(*device, *key);
  };
  const auto hit = std::ranges::find_if(entries, verifies);
  return hit != entries.end() ? static_cast<int>(hit - entries.begin()) : -1;
}

template <class Object>
int issuerIn(const std::vector<CACertEntryRef>& entries, Object& object, const AuthorityKeyIdentifier* aki,
             CryptoDevice* device, Semaphore* semaphore) {
  const int index = byIdentifier(entries, aki);
  return index >= 0 ? index : bySignature(entries, object, device, semaphore);
}

}  // namespace

int CACache::issuerIndex(Certificate& object, int row, const AuthorityKeyIdentifier* aki) {
  return issuerIn(entriesOf(row), object, aki, cryptoDevice_, semaphore_);
}

int CACache::issuerIndex(AttributeCertificate& object, int row, const AuthorityKeyIdentifier* aki) {
  return issuerIn(entriesOf(row), object, aki, cryptoDevice_, semaphore_);
}

int CACache::issuerIndex(CertificateList& object, int row, const AuthorityKeyIdentifier* aki) {
  return issuerAmong(entriesOf(row), object, aki);
}

int CACache::issuerAmong(const std::vector<CACertEntryRef>& entries, const CertificateList& crl,
                         const AuthorityKeyIdentifier* aki) {
  return issuerIn(entries, crl, aki, cryptoDevice_, semaphore_);
}

bool CACache::matchAuthorityKey(const AuthorityKeyIdentifier& aki, const Certificate& candidate) {
  return matchesIssuerAndSerial(aki, candidate) || matchesKeyIdentifier(aki, candidate);
}

}  // namespace keystrand
