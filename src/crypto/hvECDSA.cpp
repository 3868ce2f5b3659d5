#define OPENSSL_SUPPRESS_DEPRECATED  // EC_KEY and ECDSA_do_verify: no provider is fetched in an application's process
#include "crypto/hvECDSA.h"

#include <openssl/ecdsa.h>

#include "crypto/ECGroup.h"
#include "crypto/OpenSSLHandles.h"
#include "support/SecretBytes.h"

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

// Between 0 and the order, both left out.
bool isPrivateValue(const BIGNUM* value, const EC_GROUP& group) {
  return value != nullptr && !BN_is_zero(value) && !BN_is_negative(value) &&
         BN_cmp(value, EC_GROUP_get0_order(&group)) < 0;
}

Bytes octetsOf(const EC_GROUP& group, const EC_POINT& point) {
  Bytes octets(EC_POINT_point2oct(&group, &point, POINT_CONVERSION_UNCOMPRESSED, nullptr, 0, nullptr));
  EC_POINT_point2oct(&group, &point, POINT_CONVERSION_UNCOMPRESSED, octets.data(), octets.size(), nullptr);
  return octets;
}

}  // namespace

hvECDSA::~hvECDSA() {
  value_.wipe();
}

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

bool hvECDSA::setKey(const ECDSAPrivateKey& key) {
  const ErrorMark mark;
  group_ = key.parametersView() != nullptr ? key.parametersView()->group() : nullptr;
  point_.reset();
  value_.wipe();
  if (!group_ || !isPrivateValue(key.value().number(), *group_)) return false;
  value_ = key.value();
  return true;
}

std::optional<Bytes> hvECDSA::sign(std::span<const unsigned char> digest) const {
  const ErrorMark mark;
  if (!group_ || value_.isZero()) return std::nullopt;
  const ECKey key(EC_KEY_new());
  if (!key || EC_KEY_set_group(key.get(), group_.get()) != 1 ||
      EC_KEY_set_private_key(key.get(), value_.number()) != 1) {
    return std::nullopt;
  }
  const Value made(ECDSA_do_sign(digest.data(), static_cast<int>(digest.size()), key.get()));
  if (!made) return std::nullopt;
  const auto half = static_cast<int>(orderBytesOf(*group_));
  Bytes signature(2 * static_cast<std::size_t>(half));
  const bool fits = BN_bn2binpad(ECDSA_SIG_get0_r(made.get()), signature.data(), half) == half &&
                    BN_bn2binpad(ECDSA_SIG_get0_s(made.get()), signature.data() + half, half) == half;
  return fits ? std::optional(std::move(signature)) : std::nullopt;
}

std::optional<Bytes> hvECDSA::publicPoint() const {
  const ErrorMark mark;
  if (!group_ || value_.isZero()) return std::nullopt;
  const CurvePoint point(EC_POINT_new(group_.get()));
  const BigNumberContext context(BN_CTX_secure_new());
  if (!point || !context ||
      EC_POINT_mul(group_.get(), point.get(), value_.number(), nullptr, nullptr, context.get()) != 1) {
    return std::nullopt;
  }
  return octetsOf(*group_, *point);
}

// FIPS 186-4 section B.4.2: as many random bits as the order has, until they are a private value.
std::optional<ECDSAPrivateKey> hvECDSA::generate(const ECParameters& curve, RandomGenerator& random) {
  constexpr int kTries = 256;
  const auto group = curve.group();
  if (!group) return std::nullopt;
  const int bits = EC_GROUP_order_bits(group.get());
  SecretBytes octets(orderBytesOf(*group));
  ECDSAPrivateKey key;
  key.setParameters(&curve);
  hvECDSA algorithm;
  for (int i = 0; i < kTries; ++i) {
    if (!random.fill(octets)) return std::nullopt;
    if (bits % 8 != 0) octets[0] &= static_cast<unsigned char>(0xFF >> (8 - bits % 8));
    key.setValue(BigInteger(std::span<const unsigned char>(octets)));
    if (!algorithm.setKey(key)) continue;
    const auto point = algorithm.publicPoint();
    if (!point) return std::nullopt;
    key.setPoint(*point);
    return key;
  }
  return std::nullopt;
}

}  // namespace keystrand
