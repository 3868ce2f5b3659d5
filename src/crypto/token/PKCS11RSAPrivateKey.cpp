#include "crypto/token/PKCS11RSAPrivateKey.h"

#include <algorithm>

#include "crypto/KeyAttributes.h"

namespace keystrand {

namespace {

constexpr AttributeRow secret(CK_ATTRIBUTE_TYPE type, bool required = false) {
  return {type, ValueKind::kBytes, Access::kFixed, required, 0, Secrecy::kValue};
}

// The public exponent is required: no private operation runs without the check by the public one.
constexpr AttributeRow kRows[] = {
    {CKA_MODULUS, ValueKind::kBytes, Access::kFixed, true},
    {CKA_PUBLIC_EXPONENT, ValueKind::kBytes, Access::kFixed, true},
    secret(CKA_PRIVATE_EXPONENT, true),
    secret(CKA_PRIME_1),
    secret(CKA_PRIME_2),
    secret(CKA_EXPONENT_1),
    secret(CKA_EXPONENT_2),
    secret(CKA_COEFFICIENT),
};

}  // namespace

const AttributeTable& PKCS11RSAPrivateKey::table() const {
  static constinit const AttributeTable table{&PKCS11PrivateKey::kTable, kRows};
  return table;
}

CK_RV PKCS11RSAPrivateKey::prepare() {
  RSAPrivateKey::Integers integers;
  std::ranges::transform(kRSAIntegers, integers.begin(),
                         [this](CK_ATTRIBUTE_TYPE type) { return BigInteger(bytes(type)); });
  key_ = RSAPrivateKey(std::move(integers));
  return CKR_OK;
}

}  // namespace keystrand
