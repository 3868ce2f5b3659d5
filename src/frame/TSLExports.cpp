// Trust service lists, and giving back what their functions returned.
#include <cstring>

#include "frame/Boundary.h"
#include "keystrand/keystrand.h"
#include "keystrand/xml/XMLFile.h"

using namespace keystrand;

namespace {

template <class Body>
unsigned char ask(void* ctx, Body&& body) {
  return onCache<unsigned char>(ctx, 0, std::forward<Body>(body));
}

owner<_ti*> newRecord(const TSLInfo& info, owner<_ti*> next) {
  return new _ti{.countryCode = strdup(info.countryCode().c_str()),
                 .location = info.location() ? strdup(info.location()->c_str()) : nullptr,
                 .sequenceNumber = info.sequenceNumber(),
                 .next = next};
}

}  // namespace

unsigned char cache_initCACertListTSL(void* ctx, char* path) {
  return ask(ctx, [&](CACache& c) { return c.initTSLFile(path); });
}

unsigned char cache_importCACertsListTSL(void* ctx, char* path) {
  return ask(ctx, [&](CACache& c) { return c.importTSLFile(path); });
}

unsigned char cache_addCACertListTSL(void* ctx, char* path) {
  return ask(ctx, [&](CACache& c) { return c.addTSLFile(path); });
}

unsigned char cache_addCACertListTSL(void* ctx, XMLFile* list) {
  return cache_addCACertListCountryTSL(ctx, list, 0);
}

unsigned char cache_addCACertListCountryTSL(void* ctx, XMLFile* list) {
  return cache_addCACertListCountryTSL(ctx, list, 0);
}

unsigned char cache_addCACertListCountryTSL(void* ctx, XMLFile* list, unsigned char allServices) {
  return ask(ctx, [&](CACache& c) { return given(list) && c.addTSL(*list, allServices != 0); });
}

unsigned char cache_loadEUTSL(void* ctx) {
  return ask(ctx, [](CACache& c) { return c.loadEUTSL(); });
}

unsigned char cache_loadEUTSL(void* ctx, char* path) {
  return ask(ctx, [&](CACache& c) { return c.loadEUTSL(path); });
}

unsigned char cache_loadedEUTSL(void* ctx) {
  return ask(ctx, [](CACache& c) { return c.isEUTSLLoaded(); });
}

unsigned char cache_loadedTSL(void* ctx, char* const country) {
  return ask(ctx, [&](CACache& c) { return c.isTSLLoaded(country); });
}

XMLFile* cache_getCountries(void* ctx) {
  return onCache<XMLFile*>(ctx, nullptr, [](CACache& c) { return c.countries(); });
}

XMLFile* cache_getCountryTSL(void* ctx, char* const country, CertList** signingCerts) {
  if (signingCerts != nullptr) *signingCerts = nullptr;
  return onCache<XMLFile*>(ctx, nullptr, [&](CACache& c) { return c.countryTSL(country, signingCerts); });
}

CertList* cache_getCountryTSLSigningCerts(void* ctx, XMLFile* list) {
  return onCache<CertList*>(ctx, nullptr,
                            [&](CACache& c) { return given(list) ? c.countryTSLSigningCerts(list) : nullptr; });
}

unsigned char cache_checkCountryCACertsUpdates(void* ctx, char* country) {
  return ask(ctx, [&](CACache& c) { return c.hasCountryUpdates(country); });
}

_ti* cache_getLoadedTSLInfo(void* ctx, char* const country) {
  return onCache<_ti*>(ctx, nullptr, [&](CACache& c) {
    const auto info = c.loadedTSL(country);
    return info ? newRecord(*info, nullptr) : nullptr;
  });
}

_ti* cache_getLoadedTSLInfos(void* ctx) {
  return onCache<_ti*>(ctx, nullptr, [](CACache& c) {
    owner<_ti*> head = nullptr;
    const std::vector<TSLInfo> infos = c.loadedTSLs();
    for (auto info = infos.rbegin(); info != infos.rend(); ++info) head = newRecord(*info, head);
    return head;
  });
}

void cache_releaseXMLFile(XMLFile* file) {
  delete file;
}

// Neither the texts nor the next record: the client walks the chain itself.
void cache_release_tslInfo(_ti* info) {
  delete info;
}
