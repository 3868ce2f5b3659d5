// Is the certificate with serial number argv[3] on the CRL at argv[2] of the CA in the file argv[1]?
#include <keystrand/keystrand.h>
#include <keystrand/pkix/DistributionPoint.h>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  cache_init(nullptr, nullptr);  // no ident, no log
  void* context = cache_getContext();
  cache_addCACert(context, argv[1]);  // a trusted CA: PEM or DER
  keystrand::GeneralName address;
  address.setURI(argv[2]);  // where its CRL is
  keystrand::GeneralNameList addresses;
  addresses.add(address);
  keystrand::DistributionPointName point;
  point.setFullName(&addresses);
  const bool revoked = cache_searchCRL(context, &point, 0, argv[3]) == 1;
  const bool answered = revoked || cache_getErrCode(context) == static_cast<unsigned long>(-1);
  std::puts(!answered ? "no answer" : revoked ? "revoked" : "not revoked");
  cache_releaseContext(context);
  cache_finalize();
  return answered ? 0 : 1;
}
