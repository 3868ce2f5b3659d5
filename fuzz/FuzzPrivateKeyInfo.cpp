// Private keys, in a PrivateKeyInfo and alone: what is read is written and reads back the same, and what a key signs is
// good under its own public key, or it signs nothing.
#include "OpenDevice.h"
#include "RoundTrip.h"
#include "crypto/PrivateKeyInfo.h"
#include "keystrand/crypto/ECDSAPrivateKey.h"
#include "keystrand/crypto/RSAPrivateKey.h"

namespace {

using namespace keystrand;
using fuzz::device;

fuzz::Bytes written(const Key& key) {
  Buffer out(1);
  key.putPrivate(out);
  fuzz::require(key.privateSize(out) == out.size(), "the size is what putPrivate writes");
  const auto octets = out.range(0, out.size());
  return {octets.begin(), octets.end()};
}

template <class PrivateKey>
bool read(PrivateKey& key, std::span<const unsigned char> octets) {
  Buffer in;
  in.assign(octets.data(), static_cast<std::uint32_t>(octets.size()));
  return key.getPrivate(in);
}

template <class PrivateKey>
void roundTrip(std::span<const unsigned char> octets) {
  PrivateKey key;
  if (!read(key, octets)) return;
  const fuzz::Bytes first = written(key);
  const std::unique_ptr<Key> copy(key.clone());
  fuzz::require(written(*copy) == first, "a clone is written the same");
  PrivateKey again;
  fuzz::require(read(again, first), "what is written is read");
  fuzz::require(written(again) == first, "what is read again is written the same");
}

void sign(const Key& key) {
  static constexpr unsigned char kText[] = {'t', 'e', 'x', 't'};
  const bool isEC = key.kind() == KeyKind::kECPrivate;
  fuzz::require(device().setSignatureAlgorithm(isEC ? "1.2.840.10045.4.3.2" : "1.2.840.113549.1.1.11"), "selected");
  if (!device().importKey(key, "key")) return;
  const std::unique_ptr<Signature> signature(device().signData(kText, sizeof kText));
  const std::unique_ptr<KeyInfo> publicKey(device().exportPublicKey("key"));
  if (signature != nullptr && publicKey != nullptr)
    fuzz::require(device().verifyData(kText, sizeof kText, *signature, *publicKey), "what is signed is good");
  fuzz::require(device().removePrivateKey("key"), "removed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  roundTrip<RSAPrivateKey>({data, size});
  roundTrip<ECDSAPrivateKey>({data, size});
  const auto key = getPrivateKeyInfo({data, size});
  if (key == nullptr) return 0;
  const SecretBytes first = putPrivateKeyInfo(*key);
  const auto again = getPrivateKeyInfo(first);
  fuzz::require(again != nullptr, "what is written is read");
  fuzz::require(putPrivateKeyInfo(*again) == first, "what is read again is written the same");
  sign(*key);
  return 0;
}
