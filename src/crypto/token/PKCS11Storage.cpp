#include "crypto/token/PKCS11Storage.h"

#include <algorithm>

#include "crypto/token/PKCS11Certificate.h"
#include "crypto/token/PKCS11Data.h"
#include "crypto/token/PKCS11ECDSAPrivateKey.h"
#include "crypto/token/PKCS11ECDSAPublicKey.h"
#include "crypto/token/PKCS11RSAPrivateKey.h"
#include "crypto/token/PKCS11RSAPublicKey.h"
#include "crypto/token/PKCS11SecretKeys.h"

namespace keystrand {

namespace {

constexpr AttributeRow kRows[] = {
    {CKA_TOKEN, ValueKind::kBool, Access::kOnCopy},
    {CKA_PRIVATE, ValueKind::kBool, Access::kOnCopy},
    {CKA_MODIFIABLE, ValueKind::kBool, Access::kOnCopy, false, CK_TRUE},
    {CKA_LABEL, ValueKind::kBytes, Access::kFree},
};

template <class Object>
std::shared_ptr<PKCS11Storage> makeEmpty() {
  return std::make_shared<Object>();
}

// A class that has no types of its own repeats its CKA_CLASS.
struct ObjectRow {
  CK_OBJECT_CLASS objectClass;
  CK_ATTRIBUTE_TYPE typeAttribute;
  CK_ULONG type;
  std::shared_ptr<PKCS11Storage> (*makeEmpty)();
};

constexpr ObjectRow kObjects[] = {
    {CKO_DATA, CKA_CLASS, CKO_DATA, makeEmpty<PKCS11Data>},
    {CKO_CERTIFICATE, CKA_CERTIFICATE_TYPE, CKC_X_509, makeEmpty<PKCS11PublicKeyCertificate>},
    {CKO_CERTIFICATE, CKA_CERTIFICATE_TYPE, CKC_VENDOR_DEFINED, makeEmpty<PKCS11VendorDefinedCertificate>},
    {CKO_PUBLIC_KEY, CKA_KEY_TYPE, CKK_RSA, makeEmpty<PKCS11RSAPublicKey>},
    {CKO_PUBLIC_KEY, CKA_KEY_TYPE, CKK_EC, makeEmpty<PKCS11ECDSAPublicKey>},
    {CKO_PRIVATE_KEY, CKA_KEY_TYPE, CKK_RSA, makeEmpty<PKCS11RSAPrivateKey>},
    {CKO_PRIVATE_KEY, CKA_KEY_TYPE, CKK_EC, makeEmpty<PKCS11ECDSAPrivateKey>},
    {CKO_SECRET_KEY, CKA_KEY_TYPE, CKK_GENERIC_SECRET, makeEmpty<PKCS11GenericSecretKey>},
    {CKO_SECRET_KEY, CKA_KEY_TYPE, CKK_AES, makeEmpty<PKCS11AESSecretKey>},
    {CKO_SECRET_KEY, CKA_KEY_TYPE, CKK_DES, makeEmpty<PKCS11DESSecretKey>},
    {CKO_SECRET_KEY, CKA_KEY_TYPE, CKK_DES2, makeEmpty<PKCS11DES2SecretKey>},
    {CKO_SECRET_KEY, CKA_KEY_TYPE, CKK_DES3, makeEmpty<PKCS11DES3SecretKey>},
    {CKO_SECRET_KEY, CKA_KEY_TYPE, CKK_RC2, makeEmpty<PKCS11RC2SecretKey>},
};

// A class or type that this token does not keep is an invalid value.
CK_RV findRow(std::span<const CK_ATTRIBUTE> given, const ObjectRow*& out) {
  CK_ULONG objectClass = 0;
  if (const CK_RV found = findNumber(given, CKA_CLASS, objectClass); found != CKR_OK) return found;
  for (const ObjectRow& row : kObjects) {
    if (row.objectClass != objectClass) continue;
    CK_ULONG type = 0;
    if (const CK_RV found = findNumber(given, row.typeAttribute, type); found != CKR_OK) return found;
    if (row.type != type) continue;
    out = &row;
    return CKR_OK;
  }
  return CKR_ATTRIBUTE_VALUE_INVALID;
}

}  // namespace

constinit const AttributeTable PKCS11Storage::kTable{&PKCS11Object::kTable, kRows};

bool PKCS11Storage::isSecret() const {
  const CK_OBJECT_CLASS objectClass = number(CKA_CLASS);
  return objectClass == CKO_PRIVATE_KEY || objectClass == CKO_SECRET_KEY;
}

CK_RV PKCS11Storage::keepSecret() {
  if (isPrivate() || !isSecret()) return CKR_OK;
  if (has(CKA_PRIVATE)) return CKR_TEMPLATE_INCONSISTENT;
  setFlag(CKA_PRIVATE, true);
  return CKR_OK;
}

CK_RV PKCS11Storage::make(std::span<const CK_ATTRIBUTE> given, std::shared_ptr<PKCS11Storage>& out, Access access) {
  const ObjectRow* row = nullptr;
  if (const CK_RV found = findRow(given, row); found != CKR_OK) return found;
  auto object = row->makeEmpty();
  const CK_RV created = object->create(given, access);
  if (created == CKR_OK) out = std::move(object);
  return created;
}

}  // namespace keystrand
