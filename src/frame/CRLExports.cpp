// The CRL table: its file, its update, its search, the local CRLs of a context.
#include "cache/Library.h"
#include "frame/Boundary.h"
#include "keystrand/keystrand.h"

using namespace keystrand;

unsigned char cache_loadCRLCache(void* ctx) {
  return onCache<unsigned char>(ctx, 0, [](CACache& c) { return c.loadCRLCache(library().crlCachePath); });
}

unsigned char cache_saveCRLCache(void* ctx) {
  return onCache<unsigned char>(ctx, 0, [](CACache& c) { return c.saveCRLCache(library().crlCachePath); });
}

unsigned char cache_updateCRLCache(void* ctx) {
  return onCache<unsigned char>(ctx, 0, [](CACache& c) { return c.updateCRLCache(); });
}

unsigned char cache_isCRLCacheLoaded() {
  return guarded<unsigned char>(0, [] { return library().crlTable.count() != 0; });
}

unsigned char cache_isCRLCacheModified() {
  return guarded<unsigned char>(0, [] { return library().crlCacheModified.load(); });
}

void cache_clearCRLCacheModified() {
  guardedVoid([] { library().crlCacheModified = 0; });
}

unsigned char cache_searchCRL(void* ctx, DistributionPointName* dp, int caRow, char* serial) {
  return asking<CACache, unsigned char>(ctx, 0, [&](CACache& c) { return c.searchCRL(dp, caRow, serial); });
}

CertificateList* cache_getCRL(void* ctx, DistributionPointName* dp, int caRow, Certificate** caCert) {
  return cache_getCRL(ctx, dp, caRow, 0, caCert);
}

CertificateList* cache_getCRL(void* ctx, DistributionPointName* dp, int caRow, unsigned char cachedOnly,
                              Certificate** caCert) {
  return asking<CACache, CertificateList*>(ctx, nullptr,
                                           [&](CACache& c) { return c.getCRL(dp, caRow, cachedOnly != 0, caCert); });
}

void cache_setUseLocalCRLs(void* ctx, unsigned char use) {
  if (ctx != nullptr) static_cast<CACache*>(ctx)->setUseLocalCRLs(use);
}

void cache_addLocalCRL(void* ctx, CertificateList* crl) {
  guardedVoid([&] {
    if (given(ctx, crl)) static_cast<CACache*>(ctx)->addLocalCRL(*crl);
  });
}

void cache_removeLocalCRLs(void* ctx) {
  guardedVoid([&] {
    if (ctx != nullptr) static_cast<CACache*>(ctx)->removeLocalCRLs();
  });
}
