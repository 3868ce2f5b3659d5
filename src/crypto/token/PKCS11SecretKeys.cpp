#include "crypto/token/PKCS11SecretKeys.h"

#include <algorithm>
#include <bit>

namespace keystrand {

namespace {

constexpr AttributeRow kRows[] = {
    {CKA_VALUE_LEN, ValueKind::kNumber, Access::kComputed},
};

}  // namespace

const AttributeTable& PKCS11GenericSecretKey::table() const {
  static constinit const AttributeTable table{&PKCS11SecretKey::kTable, kRows};
  return table;
}

CK_RV PKCS11GenericSecretKey::prepare() {
  if (!isLength(value().size())) return CKR_ATTRIBUTE_VALUE_INVALID;
  setNumber(CKA_VALUE_LEN, value().size());
  return CKR_OK;
}

template <std::size_t Keys>
CK_RV PKCS11DESFamilySecretKey<Keys>::prepare() {
  constexpr std::size_t kLength = 8;
  const bool valid = value().size() == Keys * kLength &&
                     std::ranges::all_of(value(), [](unsigned char octet) { return std::popcount(octet) % 2 == 1; });
  return valid ? CKR_OK : CKR_ATTRIBUTE_VALUE_INVALID;
}

template class PKCS11DESFamilySecretKey<1>;
template class PKCS11DESFamilySecretKey<2>;
template class PKCS11DESFamilySecretKey<3>;

}  // namespace keystrand
