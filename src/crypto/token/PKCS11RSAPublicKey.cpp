#include "crypto/token/PKCS11RSAPublicKey.h"

namespace keystrand {

namespace {

constexpr AttributeRow kRows[] = {
    {CKA_MODULUS, ValueKind::kBytes, Access::kFixed, true},
    {CKA_MODULUS_BITS, ValueKind::kNumber, Access::kComputed},
    {CKA_PUBLIC_EXPONENT, ValueKind::kBytes, Access::kFixed, true},
};

}  // namespace

const AttributeTable& PKCS11RSAPublicKey::table() const {
  static constinit const AttributeTable table{&PKCS11PublicKey::kTable, kRows};
  return table;
}

CK_RV PKCS11RSAPublicKey::prepare() {
  key_ = RSAPublicKey(BigInteger(bytes(CKA_MODULUS)), BigInteger(bytes(CKA_PUBLIC_EXPONENT)));
  setNumber(CKA_MODULUS_BITS, static_cast<CK_ULONG>(key_.modulus().bitLength()));
  return CKR_OK;
}

}  // namespace keystrand
