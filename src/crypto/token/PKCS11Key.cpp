#include "crypto/token/PKCS11Key.h"

namespace keystrand {

namespace {

constexpr AttributeRow kRows[] = {
    {CKA_KEY_TYPE, ValueKind::kNumber, Access::kFixed, true},
    {CKA_ID, ValueKind::kBytes, Access::kFree},
    {CKA_START_DATE, ValueKind::kDate, Access::kFree},
    {CKA_END_DATE, ValueKind::kDate, Access::kFree},
    {CKA_DERIVE, ValueKind::kBool, Access::kFree},
    {CKA_LOCAL, ValueKind::kBool, Access::kComputed},
    {CKA_KEY_GEN_MECHANISM, ValueKind::kNumber, Access::kComputed, false, CK_UNAVAILABLE_INFORMATION},
};

}  // namespace

constinit const AttributeTable PKCS11Key::kTable{&PKCS11Storage::kTable, kRows};

// From here on a private or secret key can only get more secret, so the last two hold as long as it lives. A public key
// has them not.
void PKCS11Key::setGenerated(CK_MECHANISM_TYPE mechanism) {
  setFlag(CKA_LOCAL, true);
  setNumber(CKA_KEY_GEN_MECHANISM, mechanism);
  if (number(CKA_CLASS) == CKO_PUBLIC_KEY) return;
  setFlag(CKA_ALWAYS_SENSITIVE, flag(CKA_SENSITIVE));
  setFlag(CKA_NEVER_EXTRACTABLE, !flag(CKA_EXTRACTABLE));
}

}  // namespace keystrand
