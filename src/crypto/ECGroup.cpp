#include "crypto/ECGroup.h"

#include <openssl/objects.h>

#include <mutex>
#include <string>
#include <vector>

#include "crypto/OpenSSLHandles.h"
#include "crypto/SpecifiedECDomain.h"
#include "der/BorrowedBuffer.h"

namespace keystrand {

namespace {

using SharedGroup = std::shared_ptr<const EC_GROUP>;

constexpr int kMaxFieldBits = OPENSSL_ECC_MAX_FIELD_BITS;

SharedGroup shared(CurveGroup group) {
  return SharedGroup(group.release(), Releaser<&EC_GROUP_free>());
}

// The curves met so far. Only those that OpenSSL knows get in, so it stays small.
class NamedGroups {
 public:
  SharedGroup find(const OID& curve) {
    const std::lock_guard lock(mutex_);
    for (const Entry& entry : entries_) {
      if (entry.curve.equals(curve)) return entry.group;
    }
    SharedGroup made = make(curve);
    if (made) entries_.push_back({curve, made});
    return made;
  }

 private:
  struct Entry {
    OID curve;
    SharedGroup group;
  };

  static SharedGroup make(const OID& curve) {
    const std::unique_ptr<char[]> text(curve.toText());
    const int nid = OBJ_txt2nid(text.get());
    return nid != NID_undef ? shared(CurveGroup(EC_GROUP_new_by_curve_name(nid))) : nullptr;
  }

  std::mutex mutex_;
  std::vector<Entry> entries_;  // guarded by mutex_
};

BigNumber elementOf(const OctetValue& octets) {
  const auto bytes = octets.view();
  if (bytes.size() > (kMaxFieldBits + 7) / 8) return nullptr;
  return BigNumber(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

BigNumber polynomialOf(const CharacteristicTwo& field) {
  if (field.m < 1 || field.m > kMaxFieldBits) return nullptr;
  BigNumber polynomial(BN_new());
  bool set = polynomial && BN_set_bit(polynomial.get(), field.m) == 1 && BN_set_bit(polynomial.get(), 0) == 1;
  for (const int k : field.k) {
    set = set && k >= 0 && k < field.m && BN_set_bit(polynomial.get(), k) == 1;
  }
  return set ? std::move(polynomial) : nullptr;
}

CurveGroup groupOf(const FieldID& field, const BIGNUM* a, const BIGNUM* b, BN_CTX* context) {
  if (field.characteristicTwo) {
    const BigNumber polynomial = polynomialOf(*field.characteristicTwo);
    return CurveGroup(polynomial ? EC_GROUP_new_curve_GF2m(polynomial.get(), a, b, context) : nullptr);
  }
  const BigInteger& prime = field.prime;
  if (prime.isNegative() || prime.isZero() || prime.bitLength() > kMaxFieldBits) return nullptr;
  return CurveGroup(EC_GROUP_new_curve_GFp(prime.number(), a, b, context));
}

bool setGenerator(EC_GROUP* group, const SpecifiedECDomain& domain, BN_CTX* context) {
  const auto base = domain.base.view();
  const CurvePoint generator(EC_POINT_new(group));
  return generator && !domain.order.isZero() && !domain.order.isNegative() &&
         domain.order.bitLength() <= kMaxFieldBits + 1 && !domain.cofactor.isZero() && !domain.cofactor.isNegative() &&
         domain.cofactor.bitLength() <= kMaxFieldBits &&
         EC_POINT_oct2point(group, generator.get(), base.data(), base.size(), context) == 1 &&
         EC_POINT_is_at_infinity(group, generator.get()) == 0 &&
         EC_GROUP_set_generator(group, generator.get(), domain.order.number(), domain.cofactor.number()) == 1;
}

SharedGroup build(const SpecifiedECDomain& domain) {
  const BigNumberContext context(BN_CTX_new());
  const BigNumber a = elementOf(domain.curve.a);
  const BigNumber b = elementOf(domain.curve.b);
  if (!context || !a || !b) return nullptr;
  CurveGroup group = groupOf(domain.field, a.get(), b.get(), context.get());
  if (!group || !setGenerator(group.get(), domain, context.get())) return nullptr;
  return shared(std::move(group));
}

}  // namespace

SharedGroup namedGroup(const OID& curve) {
  static auto& groups = *new NamedGroups;  // never destroyed: threads may verify while the process exits
  const ErrorMark mark;
  return groups.find(curve);
}

SharedGroup explicitGroup(std::span<const unsigned char> specifiedECDomain) {
  BorrowedBuffer buffer(specifiedECDomain);
  SpecifiedECDomain domain;
  const ErrorMark mark;
  return domain.get(buffer) ? build(domain) : nullptr;
}

std::uint32_t fieldBitsOf(const EC_GROUP& group) {
  return static_cast<std::uint32_t>(EC_GROUP_get_degree(&group));
}

std::uint32_t orderBytesOf(const EC_GROUP& group) {
  return static_cast<std::uint32_t>(EC_GROUP_order_bits(&group) + 7) / 8;
}

}  // namespace keystrand
