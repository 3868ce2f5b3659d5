#include "crypto/token/PKCS11SecretKey.h"

namespace keystrand {

namespace {

constexpr AttributeRow kRows[] = {
    {CKA_SENSITIVE, ValueKind::kBool, Access::kFree, false, CK_FALSE, Secrecy::kOnlySet},
    {CKA_ENCRYPT, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_DECRYPT, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_SIGN, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_VERIFY, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_WRAP, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_UNWRAP, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_EXTRACTABLE, ValueKind::kBool, Access::kFree, false, CK_TRUE, Secrecy::kOnlyCleared},
    {CKA_ALWAYS_SENSITIVE, ValueKind::kBool, Access::kComputed},
    {CKA_NEVER_EXTRACTABLE, ValueKind::kBool, Access::kComputed},
    {CKA_VALUE, ValueKind::kBytes, Access::kFixed, true, 0, Secrecy::kValue},
};

}  // namespace

constinit const AttributeTable PKCS11SecretKey::kTable{&PKCS11Key::kTable, kRows};

}  // namespace keystrand
