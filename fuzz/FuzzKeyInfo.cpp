// Public keys and what stands around them: what is read is written with the size announced and reads back the same, the
// lengths agree with the kind of the key, and a check with any key comes to its end, explicit curve parameters
// included.
#include <array>

#include "OpenDevice.h"
#include "RoundTrip.h"

namespace {

using namespace keystrand;
using fuzz::device;

// r and s of one octet each are in range of any order.
Signature signatureFor(const KeyInfo& key) {
  static constexpr std::array<unsigned char, 8> kECDSA = {0x30, 6, 2, 1, 1, 2, 1, 1};
  if (key.keyView()->kind() == KeyKind::kECPublic) return Signature(kECDSA);
  return Signature(fuzz::Bytes(key.keyBytesLength(), 1));
}

void check(const KeyInfo& key) {
  const bool isEC = key.keyView()->kind() == KeyKind::kECPublic;
  fuzz::require(key.keyBitLength() == key.keyBytesLength() * (isEC ? 1 : 8), "bits are those of the octets");
  const AlgorithmIdentifier sha256("2.16.840.1.101.3.4.2.1");
  const DigestInfo digest(sha256, fuzz::Bytes(32, 1));
  fuzz::require(device().setSignatureAlgorithm(isEC ? "1.2.840.10045.4.3.2" : "1.2.840.113549.1.1.11"), "selected");
  const bool verified = device().verify(signatureFor(key), digest, key);
  fuzz::require(verified == (device().lastResult() == 0), "a refusal leaves its reason");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::roundTrip<AlgorithmIdentifier>({data, size});
  fuzz::roundTrip<DigestInfo>({data, size});
  fuzz::roundTrip<Signature>({data, size});
  fuzz::roundTrip<KeyInfo>({data, size});
  KeyInfo key;
  if (fuzz::read(key, {data, size})) check(key);
  return 0;
}
