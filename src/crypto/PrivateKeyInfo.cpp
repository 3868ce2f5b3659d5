#include "crypto/PrivateKeyInfo.h"

#include "der/BorrowedBuffer.h"
#include "der/ConstantOID.h"
#include "der/Element.h"
#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/ECDSAPrivateKey.h"
#include "keystrand/crypto/RSAPrivateKey.h"

namespace keystrand {

namespace {

constexpr const char* kRSAText = "1.2.840.113549.1.1.1";
constexpr const char* kECText = "1.2.840.10045.2.1";
constexpr ConstantOID kRSA = "1.2.840.113549.1.1.1"_oid;
constexpr ConstantOID kEC = "1.2.840.10045.2.1"_oid;
constexpr unsigned char kOctetString = 0x04;
constexpr std::int32_t kVersion = 0;

// The buffer's own memory is overwritten before it goes.
class SecretBuffer : public Buffer {
 public:
  using Buffer::Buffer;
  SecretBuffer(const SecretBuffer&) = delete;
  SecretBuffer& operator=(const SecretBuffer&) = delete;
  ~SecretBuffer() override {
    const auto held = range(0, size());
    wipe({const_cast<unsigned char*>(held.data()), held.size()});
  }
};

}  // namespace

SecretBytes putPrivateKeyInfo(const Key& key) {
  const auto* ec = dynamic_cast<const ECDSAPrivateKey*>(&key);
  if (ec == nullptr && key.kind() != KeyKind::kRSAPrivate) return {};
  AlgorithmIdentifier algorithm(ec != nullptr ? kECText : kRSAText);
  if (ec != nullptr) algorithm.setParameter(ec->parametersView());
  const Buffer sizes;
  const std::uint32_t inner = key.privateSize(sizes);
  const std::uint32_t content =
      sizes.sizeInteger(kVersion) + algorithm.size(sizes) + sizes.sizeHeader(kOctetString, inner) + inner;
  SecretBuffer out(sizes.sizeSequence(content));
  out.putSequence(content);
  out.putInteger(kVersion);
  algorithm.put(out);
  out.putHeader(kOctetString, inner);
  key.putPrivate(out);
  const auto held = out.range(0, out.size());
  return {held.begin(), held.end()};
}

std::unique_ptr<Key> getPrivateKeyInfo(std::span<const unsigned char> octets) {
  BorrowedBuffer in(octets);
  Element body;
  Element inner;
  std::int32_t version = 0;
  AlgorithmIdentifier algorithm;
  if (!body.open(in, kSequence) || !in.getInteger(version) || version != kVersion || !algorithm.get(in) ||
      algorithm.oidView() == nullptr || !inner.open(in, kOctetString) || inner.left(in) > in.remaining()) {
    return nullptr;
  }
  if (*algorithm.oidView() == kRSA) {
    auto key = std::make_unique<RSAPrivateKey>();
    return key->getPrivate(in) ? std::move(key) : nullptr;
  }
  if (*algorithm.oidView() != kEC) return nullptr;
  auto key = std::make_unique<ECDSAPrivateKey>();
  key->setParameters(dynamic_cast<const ECParameters*>(algorithm.parameterView()));
  return key->getPrivate(in) && key->parametersView() != nullptr ? std::move(key) : nullptr;
}

}  // namespace keystrand
