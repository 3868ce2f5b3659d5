#include "crypto/token/KeyGeneration.h"

#include <algorithm>
#include <bit>
#include <vector>

#include "crypto/AttributeTemplate.h"
#include "crypto/token/PasswordKeys.h"

namespace keystrand {

namespace {

constexpr CK_ULONG kLongestGeneric = 1024;

struct GenerationRow {
  CK_MECHANISM_TYPE mechanism;
  CK_KEY_TYPE keyType;
  CK_ULONG least;
  CK_ULONG most;
};

constexpr GenerationRow kRandomKeys[] = {
    {CKM_GENERIC_SECRET_KEY_GEN, CKK_GENERIC_SECRET, 1, kLongestGeneric},
    {CKM_DES_KEY_GEN, CKK_DES, 8, 8},
    {CKM_DES2_KEY_GEN, CKK_DES2, 16, 16},
    {CKM_DES3_KEY_GEN, CKK_DES3, 24, 24},
    {CKM_RC2_KEY_GEN, CKK_RC2, 1, 128},
    {CKM_AES_KEY_GEN, CKK_AES, 16, 32},
};

bool hasParity(CK_KEY_TYPE type) {
  return type == CKK_DES || type == CKK_DES2 || type == CKK_DES3;
}

CK_RV randomValue(const GenerationRow& row, KeyTemplate given, RandomGenerator& random, SecretBytes& value) {
  CK_ULONG length = row.least;
  if (row.least != row.most) {
    if (const CK_RV found = findNumber(given, CKA_VALUE_LEN, length); found != CKR_OK) return found;
  }
  if (length < row.least || length > row.most) return CKR_KEY_SIZE_RANGE;
  value.resize(length);
  return random.fill(value) ? CKR_OK : CKR_RANDOM_NO_RNG;
}

CK_RV makeSecret(CK_KEY_TYPE type, SecretBytes value, KeyTemplate given, std::shared_ptr<PKCS11Key>& out) {
  static constexpr CK_ATTRIBUTE_TYPE kConsumed[] = {CKA_VALUE_LEN};
  if (hasParity(type)) setOddParity(value);
  AttributeTemplate own;
  own.addNumber(CKA_CLASS, CKO_SECRET_KEY);
  own.addNumber(CKA_KEY_TYPE, type);
  own.add(CKA_VALUE, value);
  return makeKey(own, given, kConsumed, out);
}

}  // namespace

void setOddParity(std::span<unsigned char> key) {
  for (unsigned char& octet : key) {
    if (std::popcount(octet) % 2 == 0) octet ^= 1;
  }
}

CK_ULONG fixedLength(CK_KEY_TYPE type) {
  switch (type) {
    case CKK_DES:
      return 8;
    case CKK_DES2:
      return 16;
    case CKK_DES3:
      return 24;
    default:
      return 0;
  }
}

CK_RV makeKey(const AttributeTemplate& own, KeyTemplate given, std::span<const CK_ATTRIBUTE_TYPE> consumed,
              std::shared_ptr<PKCS11Key>& out) {
  std::vector<CK_ATTRIBUTE> all = own.attributes();
  std::ranges::copy_if(given, std::back_inserter(all), [consumed](const CK_ATTRIBUTE& attribute) {
    return std::ranges::find(consumed, attribute.type) == consumed.end();
  });
  std::shared_ptr<PKCS11Storage> made;
  if (const CK_RV result = PKCS11Storage::make(all, made); result != CKR_OK) return result;
  out = std::dynamic_pointer_cast<PKCS11Key>(made);
  return out != nullptr ? CKR_OK : CKR_TEMPLATE_INCONSISTENT;
}

CK_RV generateSecretKey(const CK_MECHANISM& mechanism, KeyTemplate given, RandomGenerator& random,
                        std::shared_ptr<PKCS11Key>& out) {
  SecretBytes value;
  CK_KEY_TYPE type = CKK_GENERIC_SECRET;
  const auto row = std::ranges::find(kRandomKeys, mechanism.mechanism, &GenerationRow::mechanism);
  const CK_RV valued = row != std::end(kRandomKeys) ? randomValue(*row, given, random, value)
                                                    : passwordValue(mechanism, given, type, value);
  if (valued != CKR_OK) return valued;
  if (row != std::end(kRandomKeys)) type = row->keyType;
  const CK_RV made = makeSecret(type, std::move(value), given, out);
  if (made == CKR_OK) out->setGenerated(mechanism.mechanism);
  return made;
}

}  // namespace keystrand
