// Attribute certificates: what is read is written with the size announced and reads back the same, under its own and
// under an implicit tag, with and without the digest of the body; the check of its signature ends.
#include "OpenDevice.h"
#include "RoundTrip.h"
#include "keystrand/pkix/AttributeCertificate.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace keystrand;
  using fuzz::device;
  const std::span bytes(data, size);
  fuzz::roundTrip<AttributeCertificate>(bytes);
  fuzz::roundTrip<AttributeCertificate>(bytes, static_cast<unsigned char>(0xA0));
  fuzz::roundTrip<Holder>(bytes);
  fuzz::roundTrip<AttributeList>(bytes);
  SecureBuffer buffer(&device());
  buffer.assign(data, static_cast<std::uint32_t>(size));
  AttributeCertificate certificate;
  AttributeCertificate plain;
  const bool digested = certificate.get(buffer);
  fuzz::require(digested == fuzz::read(plain, bytes), "the digest does not decide what is read");
  if (digested) certificate.verify(device(), KeyInfo());
  return 0;
}
