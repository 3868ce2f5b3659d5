// Giving back what the exported functions returned.
#include "keystrand/cache/Records.h"
#include "keystrand/cache/TSLMetadata.h"
#include "keystrand/der/X500Time.h"
#include "keystrand/keystrand.h"
#include "keystrand/pkix/Certificate.h"
#include "keystrand/pkix/CertificateList.h"

using namespace keystrand;

void cache_releaseCharArray(char* text) {
  delete[] text;
}

void cache_releaseCertificate(Certificate* cert) {
  delete cert;
}

void cache_releaseCertificateList(CertificateList* crl) {
  delete crl;
}

void cache_releaseCertList(CertList* list) {
  delete list;
}

void cache_releaseTSLMetadata(TSLMetadata* md) {
  delete md;
}

// Neither the texts nor the next record: the client walks the chain itself.
void cache_release_tslMetadata(_md* md) {
  delete md;
}

void cache_releaseX500Time(X500Time* time) {
  delete time;
}
