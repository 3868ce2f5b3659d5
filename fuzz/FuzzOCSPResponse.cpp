// A response as it comes from a responder, down to the check of its signature: the device's digests do not decide what
// is read, and every enclosed key can be tried.
#include "OpenDevice.h"
#include "RoundTrip.h"
#include "keystrand/ocsp/BasicOCSPResponse.h"
#include "keystrand/ocsp/OCSPResponse.h"

namespace {

using namespace keystrand;
using fuzz::device;

void verify(std::span<const unsigned char> encoding) {
  SecureBuffer buffer(&device());
  buffer.assign(encoding.data(), static_cast<std::uint32_t>(encoding.size()));
  BasicOCSPResponse response;
  BasicOCSPResponse plain;
  const bool digested = response.get(buffer);
  fuzz::require(digested == fuzz::read(plain, encoding), "the digests do not decide what is read");
  CertList* certs = digested ? response.certsView() : nullptr;
  for (int i = 0; certs != nullptr && i < certs->count(); ++i) {
    if (const KeyInfo* key = certs->view(i)->subjectPublicKeyInfoView()) response.verify(device(), *key);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const unsigned char> bytes(data, size);
  if (size == 0) return 0;
  fuzz::roundTrip<OCSPResponse>(bytes);
  OCSPResponse response;
  if (!fuzz::read(response, bytes)) {
    verify(bytes);
  } else if (response.responseBytesView() != nullptr && response.responseBytesView()->responseLength() != 0) {
    verify(response.responseBytesView()->responseView());
  }
  return 0;
}
