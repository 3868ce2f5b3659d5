#include "crypto/token/PKCS11PrivateKey.h"

namespace keystrand {

namespace {

constexpr AttributeRow kRows[] = {
    {CKA_SUBJECT, ValueKind::kBytes, Access::kFree},
    {CKA_SENSITIVE, ValueKind::kBool, Access::kFree, false, CK_FALSE, Secrecy::kOnlySet},
    {CKA_DECRYPT, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_SIGN, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_SIGN_RECOVER, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_UNWRAP, ValueKind::kBool, Access::kFree, false, CK_TRUE},
    {CKA_EXTRACTABLE, ValueKind::kBool, Access::kFree, false, CK_TRUE, Secrecy::kOnlyCleared},
    {CKA_ALWAYS_SENSITIVE, ValueKind::kBool, Access::kComputed},
    {CKA_NEVER_EXTRACTABLE, ValueKind::kBool, Access::kComputed},
};

}  // namespace

constinit const AttributeTable PKCS11PrivateKey::kTable{&PKCS11Key::kTable, kRows};

}  // namespace keystrand
