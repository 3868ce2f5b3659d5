#include "crypto/token/PKCS11ECDSAPrivateKey.h"

#include "crypto/token/PKCS11ECDSAPublicKey.h"

namespace keystrand {

namespace {

constexpr AttributeRow kRows[] = {
    {CKA_EC_PARAMS, ValueKind::kBytes, Access::kFixed, true},
    {CKA_VALUE, ValueKind::kBytes, Access::kFixed, true, 0, Secrecy::kValue},
};

}  // namespace

const AttributeTable& PKCS11ECDSAPrivateKey::table() const {
  static constinit const AttributeTable table{&PKCS11PrivateKey::kTable, kRows};
  return table;
}

// A curve that is not known is no fault of the object: it signs nothing.
CK_RV PKCS11ECDSAPrivateKey::prepare() {
  ECParameters parameters;
  if (!getParameters(bytes(CKA_EC_PARAMS), parameters)) return CKR_ATTRIBUTE_VALUE_INVALID;
  key_.setParameters(&parameters);
  key_.setValue(BigInteger(bytes(CKA_VALUE)));
  return CKR_OK;
}

}  // namespace keystrand
