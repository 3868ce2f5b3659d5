#include "crypto/token/PKCS11PublicKey.h"

namespace keystrand {

namespace {

constexpr AttributeRow kRows[] = {
    {CKA_SUBJECT, ValueKind::kBytes, Access::kFree},
    {CKA_ENCRYPT, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_VERIFY, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_VERIFY_RECOVER, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_WRAP, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_TRUSTED, ValueKind::kBool, Access::kNever},
};

}  // namespace

constinit const AttributeTable PKCS11PublicKey::kTable{&PKCS11Key::kTable, kRows};

}  // namespace keystrand
