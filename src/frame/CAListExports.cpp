// The CA list: changes, file, queries.
#include "cache/Library.h"
#include "frame/Boundary.h"
#include "keystrand/keystrand.h"
#include "log/MessageCodes.h"

using namespace keystrand;

namespace {

constexpr unsigned char kNothingKnown = 255;

// Forwards an operation that answers with a byte.
template <class Body>
unsigned char ask(void* ctx, Body&& body) {
  return onCache<unsigned char>(ctx, 0, std::forward<Body>(body));
}

template <class Object>
int issuerIndex(void* ctx, Object* object, int row, AuthorityKeyIdentifier* aki) {
  return onCache(ctx, -1, [&](CACache& c) { return object != nullptr ? c.issuerIndex(*object, row, aki) : -1; });
}

}  // namespace

int cache_getCACertsNum(void* ctx) {
  return onCache(ctx, 0, [](CACache& c) { return c.rowCount(); });
}

unsigned char cache_initCACertListPEM(void* ctx, char* path) {
  return ask(ctx, [&](CACache& c) { return c.initCertificateListPEM(path); });
}

unsigned char cache_importCACertsListPEM(void* ctx, char* path) {
  return ask(ctx, [&](CACache& c) { return c.importCertificateListPEM(path); });
}

unsigned char cache_addCACertListPEM(void* ctx, char* path) {
  return ask(ctx, [&](CACache& c) { return c.addCertificateListPEM(path); });
}

unsigned char cache_addCACert(void* ctx, char* path) {
  return ask(ctx, [&](CACache& c) { return c.addCertificateFile(path); });
}

unsigned char cache_addCACert(void* ctx, Certificate* cert) {
  return ask(ctx, [&](CACache& c) { return given(cert) && c.addCertificate(*cert, kSourceAdded); });
}

unsigned char cache_addCACert(void* ctx, Certificate* cert, int source) {
  return ask(ctx, [&](CACache& c) { return given(cert) && c.addCertificate(*cert, source); });
}

unsigned char cache_addCACert(void* ctx, unsigned char* der, unsigned int length) {
  return ask(ctx, [&](CACache& c) { return c.addCertificateDER(bytes(der, length)); });
}

unsigned char cache_addCACertDER(void* ctx, unsigned char* der, unsigned int length) {
  return ask(ctx, [&](CACache& c) { return c.addCertificateDER(bytes(der, length)); });
}

unsigned char cache_addCACertPEM(void* ctx, char* base64) {
  return ask(ctx, [&](CACache& c) { return c.addCertificatePEM(base64); });
}

unsigned char cache_addCACertPEM(void* ctx, char* base64, unsigned long* errCode) {
  const unsigned char added = ask(ctx, [&](CACache& c) { return c.addCertificatePEM(base64); });
  if (added == 0 && errCode != nullptr) *errCode = kCACertNotAdded;
  return added;
}

unsigned char cache_removeCACertPEM(void* ctx, char* base64) {
  return ask(ctx, [&](CACache& c) { return c.removeEntryPEM(base64); });
}

unsigned char cache_removeCACertDER(void* ctx, unsigned char* der, unsigned int length) {
  return ask(ctx, [&](CACache& c) { return c.removeEntryDER(bytes(der, length)); });
}

unsigned char cache_removeCACert(void* ctx, Name* subject, Name* issuer, BigInteger serial) {
  return ask(ctx, [&](CACache& c) { return given(subject, issuer) && c.removeEntry(*subject, *issuer, serial); });
}

unsigned char cache_removeSourceCACerts(void* ctx, int source) {
  return ask(ctx, [&](CACache& c) { return c.removeSource(source); });
}

unsigned char cache_removeCountryCACerts(void* ctx, char* const country) {
  return ask(ctx, [&](CACache& c) { return given(country) && c.removeCountry(country); });
}

void cache_clean(void* ctx) {
  guardedVoid([&] {
    if (ctx != nullptr) static_cast<CACache*>(ctx)->clean();
  });
}

unsigned char cache_loadCACertList(void* ctx) {
  return cache_loadCACertList(ctx, nullptr);
}

unsigned char cache_loadCACertList(void* ctx, unsigned long* errCode) {
  const unsigned char loaded = ask(ctx, [](CACache& c) { return c.loadCAList(library().caListPath); });
  if (loaded == 0 && errCode != nullptr) *errCode = kCAListNotRead;
  return loaded;
}

unsigned char cache_saveCACertList(void* ctx) {
  return ask(ctx, [](CACache& c) { return c.saveCAList(library().caListPath); });
}

int cache_getCACerts(void* ctx, Name* subject) {
  return onCache(ctx, -1, [&](CACache& c) { return given(subject) ? c.rowOf(*subject) : -1; });
}

Certificate* cache_getCACert(void* ctx, int row, int index) {
  return onCache<Certificate*>(ctx, nullptr, [&](CACache& c) { return c.certificateAt(row, index); });
}

int cache_getCertIndex(void* ctx, int row, Name* issuer, BigInteger serial) {
  return onCache(ctx, -1, [&](CACache& c) { return given(issuer) ? c.certIndex(row, *issuer, serial) : -1; });
}

int cache_getCAIndex(void* ctx, Certificate* cert, int row, AuthorityKeyIdentifier* aki) {
  return issuerIndex(ctx, cert, row, aki);
}

int cache_getCAIndex(void* ctx, AttributeCertificate* cert, int row, AuthorityKeyIdentifier* aki) {
  return issuerIndex(ctx, cert, row, aki);
}

int cache_getCAIndex(void* ctx, CertificateList* crl, int row, AuthorityKeyIdentifier* aki) {
  return issuerIndex(ctx, crl, row, aki);
}

int cache_getCACertSource(void* ctx, int row, int index) {
  return onCache(ctx, -1, [&](CACache& c) { return c.sourceAt(row, index); });
}

int cache_getCACertSource(void* ctx, char* base64) {
  return onCache(ctx, -1, [&](CACache& c) { return c.sourceOfPEM(base64); });
}

int cache_getCACertSource(void* ctx, unsigned char* der, unsigned int length) {
  return onCache(ctx, -1, [&](CACache& c) { return c.sourceOfDER(bytes(der, length)); });
}

int cache_getCACertSource(void* ctx, Name* subject, Name* issuer, BigInteger serial) {
  return onCache(ctx, -1,
                 [&](CACache& c) { return given(subject, issuer) ? c.sourceOf(*subject, *issuer, serial) : -1; });
}

unsigned char cache_trustedCA(void* ctx, unsigned char* der, unsigned long length) {
  return ask(ctx, [&](CACache& c) { return c.trustedCA(bytes(der, length)); });
}

char* cache_getCountryCode(void* ctx, int row, int index) {
  return onCache<char*>(ctx, nullptr, [&](CACache& c) { return c.countryCodeAt(row, index); });
}

char* cache_getServiceStatus(void* ctx, int row, int index) {
  return onCache<char*>(ctx, nullptr, [&](CACache& c) { return c.serviceStatusAt(row, index); });
}

char* cache_getServiceType(void* ctx, int row, int index) {
  return onCache<char*>(ctx, nullptr, [&](CACache& c) { return c.serviceTypeAt(row, index); });
}

unsigned char cache_getQualified(void* ctx, int row, int index) {
  return onCache(ctx, kNothingKnown, [&](CACache& c) { return c.qualifiedAt(row, index); });
}

TSLMetadata* cache_getCertMetadatiTSL(void* ctx, char* base64) {
  return onCache<TSLMetadata*>(ctx, nullptr, [&](CACache& c) { return c.metadataOf(base64); });
}

_md* cache_getCertMetadata(void* ctx, char* base64) {
  return onCache<_md*>(ctx, nullptr, [&](CACache& c) { return c.metadataRecordsOf(base64); });
}
