#define OPENSSL_SUPPRESS_DEPRECATED  // EC_KEY and ECDSA_do_verify: no provider is fetched in an application's process
#include "crypto/hvECDSA.h"

#include <openssl/ecdsa.h>

#include "crypto/ECGroup.h"
#include "crypto/OpenSSLHandles.h"

namespace keystrand {

namespace {

using ECKey = std::unique_ptr<EC_KEY, Releaser<&EC_KEY_free>>;
using Value = std::unique_ptr<ECDSA_SIG, Releaser<&ECDSA_SIG_free>>;

Value signatureOf(std::span<const unsigned char> r, std::span<const unsigned char> s) {
  BigNumber first(BN_bin2bn(r.data(), static_cast<int>(r.size()), nullptr));
  BigNumber second(BN_bin2bn(s.data(), static_cast<int>(s.size()), nullptr));
  Value value(ECDSA_SIG_new());
  if (!first || !second || !value) return nullptr;
  ECDSA_SIG_set0(value.get(), first.release(), second.release());
  return value;
}

}  // namespace

bool hvECDSA::setKey(const ECDSAPublicKey& key) {
  const ErrorMark mark;
  group_ = key.parametersView() != nullptr ? key.parametersView()->group() : nullptr;
  point_.reset();
  if (!group_) return false;
  CurvePoint point(EC_POINT_new(group_.get()));
  const auto octets = key.pointView();
  if (!point || EC_POINT_oct2point(group_.get(), point.get(), octets.data(), octets.size(), nullptr) != 1 ||
      EC_POINT_is_at_infinity(group_.get(), point.get()) != 0) {
    return false;
  }
  point_ = std::move(point);
  return true;
}

bool hvECDSA::verify(std::span<const unsigned char> digest, std::span<const unsigned char> signature) const {
  const ErrorMark mark;
  if (!point_) return false;
  const std::size_t half = orderBytesOf(*group_);
  if (signature.size() != 2 * half) return false;
  const ECKey key(EC_KEY_new());
  const Value value = signatureOf(signature.first(half), signature.last(half));
  return key && value && EC_KEY_set_group(key.get(), group_.get()) == 1 &&
         EC_KEY_set_public_key(key.get(), point_.get()) == 1 &&
         ECDSA_do_verify(digest.data(), static_cast<int>(digest.size()), value.get(), key.get()) == 1;
}

}  // namespace keystrand
