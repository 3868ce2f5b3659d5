#include "crypto/token/PasswordKeys.h"

#include <algorithm>

#include "crypto/PBE.h"
#include "crypto/SHA1.h"
#include "crypto/token/PasswordParameters.h"

namespace keystrand {

namespace {

constexpr CK_ULONG kLongestInput = 1UL << 16;  // of password and salt
constexpr std::size_t kVectorLength = 8;
constexpr CK_ULONG kLongestKey = 1024;

enum class Derivation : unsigned char { kPKCS5, kPKCS12, kPKCS12Mac };

struct PasswordRow {
  CK_MECHANISM_TYPE mechanism;
  CK_KEY_TYPE keyType;
  std::size_t length;
  Derivation scheme;
};

constexpr PasswordRow kRows[] = {
    {CKM_PBE_MD5_DES_CBC, CKK_DES, 8, Derivation::kPKCS5},
    {CKM_PBE_SHA1_DES2_EDE_CBC, CKK_DES2, 16, Derivation::kPKCS12},
    {CKM_PBE_SHA1_DES3_EDE_CBC, CKK_DES3, 24, Derivation::kPKCS12},
    {CKM_PBE_SHA1_RC2_40_CBC, CKK_RC2, 5, Derivation::kPKCS12},
    {CKM_PBE_SHA1_RC2_128_CBC, CKK_RC2, 16, Derivation::kPKCS12},
    {CKM_PBA_SHA1_WITH_SHA1_HMAC, CKK_GENERIC_SECRET, 20, Derivation::kPKCS12Mac},
};

std::span<const unsigned char> octets(const void* data, CK_ULONG length) {
  return {static_cast<const unsigned char*>(data), data != nullptr ? length : 0};
}

// Key and vector out of one derivation in PKCS #5, out of two in PKCS #12.
std::optional<SecretBytes> derive(const PasswordRow& row, const PBEParameters& given, SecretBytes& vector) {
  const auto password = octets(given.password, given.passwordLength);
  const auto salt = octets(given.salt, given.saltLength);
  if (row.scheme == Derivation::kPKCS5) {
    auto both = pbkdf1(password, salt, given.iterations, row.length + kVectorLength);
    if (!both) return std::nullopt;
    vector.assign(both->begin() + static_cast<std::ptrdiff_t>(row.length), both->end());
    both->resize(row.length);
    return both;
  }
  if (row.scheme == Derivation::kPKCS12) {
    auto made = pkcs12Key(password, salt, given.iterations, PKCS12Purpose::kVector, kVectorLength);
    if (made) vector = std::move(*made);
  }
  const auto purpose = row.scheme == Derivation::kPKCS12 ? PKCS12Purpose::kKey : PKCS12Purpose::kMac;
  return pkcs12Key(password, salt, given.iterations, purpose, row.length);
}

CK_RV fromPBE(const PasswordRow& row, const CK_MECHANISM& mechanism, CK_KEY_TYPE& type, SecretBytes& value) {
  if (mechanism.pParameter == nullptr || mechanism.ulParameterLen != sizeof(PBEParameters)) {
    return CKR_MECHANISM_PARAM_INVALID;
  }
  const PBEParameters given = *static_cast<const PBEParameters*>(mechanism.pParameter);
  if (given.passwordLength > kLongestInput || given.saltLength > kLongestInput) return CKR_MECHANISM_PARAM_INVALID;
  SecretBytes vector;
  auto derived = derive(row, given, vector);
  if (!derived) return CKR_MECHANISM_PARAM_INVALID;
  if (given.initVector != nullptr) std::ranges::copy(vector, given.initVector);
  value = std::move(*derived);
  type = row.keyType;
  return CKR_OK;
}

// The template says what key it is to be.
CK_RV fromPBKD2(const CK_MECHANISM& mechanism, KeyTemplate wanted, CK_KEY_TYPE& type, SecretBytes& value) {
  if (mechanism.pParameter == nullptr || mechanism.ulParameterLen != sizeof(PBKD2Parameters)) {
    return CKR_MECHANISM_PARAM_INVALID;
  }
  const PBKD2Parameters given = *static_cast<const PBKD2Parameters*>(mechanism.pParameter);
  const CK_ULONG passwordLength = given.passwordLength != nullptr ? *given.passwordLength : 0;
  if (given.saltSource != kSaltSpecified || given.prf != kPRFHmacSHA1 || passwordLength > kLongestInput ||
      given.saltSourceDataLength > kLongestInput) {
    return CKR_MECHANISM_PARAM_INVALID;
  }
  if (const CK_RV found = findNumber(wanted, CKA_KEY_TYPE, type); found != CKR_OK) return found;
  CK_ULONG length = fixedLength(type);
  if (length == 0) {
    if (const CK_RV found = findNumber(wanted, CKA_VALUE_LEN, length); found != CKR_OK) return found;
  }
  if (length == 0 || length > kLongestKey) return CKR_KEY_SIZE_RANGE;
  auto derived = pbkdf2(std::make_unique<SHA1>(), octets(given.password, passwordLength),
                        octets(given.saltSourceData, given.saltSourceDataLength), given.iterations, length);
  if (!derived) return CKR_MECHANISM_PARAM_INVALID;
  value = std::move(*derived);
  return CKR_OK;
}

}  // namespace

CK_RV passwordValue(const CK_MECHANISM& mechanism, KeyTemplate given, CK_KEY_TYPE& type, SecretBytes& value) {
  if (mechanism.mechanism == CKM_PKCS5_PBKD2) return fromPBKD2(mechanism, given, type, value);
  const auto row = std::ranges::find(kRows, mechanism.mechanism, &PasswordRow::mechanism);
  return row != std::end(kRows) ? fromPBE(*row, mechanism, type, value) : CK_RV{CKR_MECHANISM_INVALID};
}

}  // namespace keystrand
