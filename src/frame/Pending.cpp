// The exported functions whose work is still to come: trust service lists. Each returns its failure value. This list
// shrinks to nothing.
#include "keystrand/keystrand.h"

using namespace keystrand;

unsigned char cache_initCACertListTSL(void*, char*) {
  return 0;
}
unsigned char cache_importCACertsListTSL(void*, char*) {
  return 0;
}
unsigned char cache_addCACertListTSL(void*, char*) {
  return 0;
}
unsigned char cache_addCACertListTSL(void*, XMLFile*) {
  return 0;
}
unsigned char cache_addCACertListCountryTSL(void*, XMLFile*) {
  return 0;
}
unsigned char cache_addCACertListCountryTSL(void*, XMLFile*, unsigned char) {
  return 0;
}
unsigned char cache_loadEUTSL(void*) {
  return 0;
}
unsigned char cache_loadEUTSL(void*, char*) {
  return 0;
}
unsigned char cache_loadedEUTSL(void*) {
  return 0;
}
unsigned char cache_loadedTSL(void*, char* const) {
  return 0;
}
XMLFile* cache_getCountries(void*) {
  return nullptr;
}
XMLFile* cache_getCountryTSL(void*, char* const, CertList**) {
  return nullptr;
}
CertList* cache_getCountryTSLSigningCerts(void*, XMLFile*) {
  return nullptr;
}
unsigned char cache_checkCountryCACertsUpdates(void*, char*) {
  return 0;
}
_ti* cache_getLoadedTSLInfo(void*, char* const) {
  return nullptr;
}
_ti* cache_getLoadedTSLInfos(void*) {
  return nullptr;
}
void cache_releaseXMLFile(XMLFile*) {}
void cache_release_tslInfo(_ti*) {}
