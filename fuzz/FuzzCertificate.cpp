// Certificates: what is read is written with the size announced and reads back the same, with and without the digest of
// the body; every text of it can be made.
#include "OpenDevice.h"
#include "RoundTrip.h"
#include "keystrand/pkix/Certificate.h"

namespace {

using namespace keystrand;
using fuzz::device;

void makeTexts(const Certificate& certificate) {
  const std::unique_ptr<char[]> report(certificate.toPrintable());
  const ExtensionList* extensions = certificate.extensionsView();
  for (int i = 0; extensions != nullptr && i < extensions->count(); ++i) {
    const std::unique_ptr<char[]> name(extensions->view(i)->name());
    fuzz::require(name != nullptr, "every extension has a name");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::roundTrip<Certificate>({data, size});
  SecureBuffer buffer(&device());
  buffer.assign(data, static_cast<std::uint32_t>(size));
  Certificate certificate;
  Certificate plain;
  const bool digested = certificate.get(buffer);
  fuzz::require(digested == fuzz::read(plain, {data, size}), "the digest does not decide what is read");
  if (!digested) return 0;
  makeTexts(certificate);
  // A certificate is not expected to sign itself here; the check of its signature must end all the same.
  if (const KeyInfo* key = certificate.subjectPublicKeyInfoView()) certificate.verify(device(), *key);
  return 0;
}
