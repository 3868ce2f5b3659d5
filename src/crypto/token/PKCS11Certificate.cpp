#include "crypto/token/PKCS11Certificate.h"

namespace keystrand {

namespace {

// Nobody sets CKA_TRUSTED: what is trusted is not the token's to say, nor that of whoever can write its file.
constexpr AttributeRow kRows[] = {
    {CKA_CERTIFICATE_TYPE, ValueKind::kNumber, Access::kFixed, true},
    {CKA_TRUSTED, ValueKind::kBool, Access::kNever},
    {CKA_CERTIFICATE_CATEGORY, ValueKind::kNumber, Access::kFixed},
    {CKA_CHECK_VALUE, ValueKind::kBytes, Access::kFixed},
    {CKA_START_DATE, ValueKind::kDate, Access::kFixed},
    {CKA_END_DATE, ValueKind::kDate, Access::kFixed},
};

constexpr AttributeRow kPublicKeyRows[] = {
    {CKA_SUBJECT, ValueKind::kBytes, Access::kFixed, true},
    {CKA_ID, ValueKind::kBytes, Access::kFree},
    {CKA_ISSUER, ValueKind::kBytes, Access::kFree},
    {CKA_SERIAL_NUMBER, ValueKind::kBytes, Access::kFree},
    {CKA_VALUE, ValueKind::kBytes, Access::kFixed},
    {CKA_URL, ValueKind::kBytes, Access::kFixed},
    {CKA_HASH_OF_SUBJECT_PUBLIC_KEY, ValueKind::kBytes, Access::kFixed},
    {CKA_HASH_OF_ISSUER_PUBLIC_KEY, ValueKind::kBytes, Access::kFixed},
    {CKA_JAVA_MIDP_SECURITY_DOMAIN, ValueKind::kNumber, Access::kFixed},
};

constexpr AttributeRow kVendorDefinedRows[] = {
    {CKA_VALUE, ValueKind::kBytes, Access::kFixed},
};

}  // namespace

constinit const AttributeTable PKCS11Certificate::kTable{&PKCS11Storage::kTable, kRows};

const AttributeTable& PKCS11PublicKeyCertificate::table() const {
  static constinit const AttributeTable table{&PKCS11Certificate::kTable, kPublicKeyRows};
  return table;
}

// The encoding itself, or where it is to be had.
CK_RV PKCS11PublicKeyCertificate::prepare() {
  return bytes(CKA_VALUE).empty() && bytes(CKA_URL).empty() ? CKR_TEMPLATE_INCOMPLETE : CKR_OK;
}

const AttributeTable& PKCS11VendorDefinedCertificate::table() const {
  static constinit const AttributeTable table{&PKCS11Certificate::kTable, kVendorDefinedRows};
  return table;
}

}  // namespace keystrand
