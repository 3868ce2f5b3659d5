#include "crypto/token/PKCS11Data.h"

namespace keystrand {

namespace {

constexpr AttributeRow kRows[] = {
    {CKA_APPLICATION, ValueKind::kBytes, Access::kFree},
    {CKA_OBJECT_ID, ValueKind::kBytes, Access::kFree},
    {CKA_VALUE, ValueKind::kBytes, Access::kFree},
};

}  // namespace

const AttributeTable& PKCS11Data::table() const {
  static constinit const AttributeTable table{&PKCS11Storage::kTable, kRows};
  return table;
}

}  // namespace keystrand
