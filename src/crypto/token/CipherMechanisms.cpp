#include "crypto/token/CipherMechanisms.h"

#include <algorithm>
#include <cstring>

#include "crypto/AES.h"
#include "crypto/DES.h"
#include "crypto/RC2.h"
#include "crypto/token/RC2Parameters.h"

namespace keystrand {

namespace {

constexpr CipherMechanism kRows[] = {
    {CKM_DES_ECB, CKK_DES, CKK_DES, CipherMode::kECB},
    {CKM_DES_CBC, CKK_DES, CKK_DES, CipherMode::kCBC},
    {CKM_DES_CBC_PAD, CKK_DES, CKK_DES, CipherMode::kCBCPad},
    {CKM_DES3_ECB, CKK_DES3, CKK_DES2, CipherMode::kECB},
    {CKM_DES3_CBC, CKK_DES3, CKK_DES2, CipherMode::kCBC},
    {CKM_DES3_CBC_PAD, CKK_DES3, CKK_DES2, CipherMode::kCBCPad},
    {CKM_RC2_ECB, CKK_RC2, CKK_RC2, CipherMode::kECB},
    {CKM_RC2_CBC, CKK_RC2, CKK_RC2, CipherMode::kCBC},
    {CKM_RC2_CBC_PAD, CKK_RC2, CKK_RC2, CipherMode::kCBCPad},
    {CKM_AES_ECB, CKK_AES, CKK_AES, CipherMode::kECB},
    {CKM_AES_CBC, CKK_AES, CKK_AES, CipherMode::kCBC},
    {CKM_AES_CBC_PAD, CKK_AES, CKK_AES, CipherMode::kCBCPad},
};

// In CBC the parameter is the initialisation vector itself; RC2 has its effective length in front of it, in ECB too.
bool takeVector(const CipherMechanism& row, const CK_MECHANISM& mechanism, SecretBytes& vector) {
  const auto* given = static_cast<const unsigned char*>(mechanism.pParameter);
  if (row.mode == CipherMode::kECB) return true;
  if (given == nullptr || mechanism.ulParameterLen != vector.size()) return false;
  std::copy_n(given, vector.size(), vector.begin());
  return true;
}

CK_RV makeRC2(const CipherMechanism& row, const CK_MECHANISM& mechanism, std::unique_ptr<Cipher>& out,
              SecretBytes& vector) {
  RC2Parameters given{};
  const std::size_t length = row.mode == CipherMode::kECB ? sizeof given.effectiveBits : sizeof given;
  if (mechanism.pParameter == nullptr || mechanism.ulParameterLen != length) return CKR_MECHANISM_PARAM_INVALID;
  std::memcpy(&given, mechanism.pParameter, length);
  if (given.effectiveBits < 1 || given.effectiveBits > kMostEffectiveBits) return CKR_MECHANISM_PARAM_INVALID;
  auto cipher = std::make_unique<RC2>();
  cipher->setEffectiveBits(static_cast<unsigned>(given.effectiveBits));
  vector.assign(std::begin(given.vector), std::end(given.vector));
  out = std::move(cipher);
  return CKR_OK;
}

}  // namespace

const CipherMechanism* findCipherMechanism(CK_MECHANISM_TYPE mechanism) {
  const auto row = std::ranges::find(kRows, mechanism, &CipherMechanism::mechanism);
  return row != std::end(kRows) ? &*row : nullptr;
}

CK_RV makeCipher(const CipherMechanism& row, const CK_MECHANISM& mechanism, const PKCS11SecretKey& key, bool encrypts,
                 std::unique_ptr<Cipher>& cipher, SecretBytes& vector) {
  std::unique_ptr<Cipher> made;
  if (row.keyType == CKK_RC2) {
    if (const CK_RV result = makeRC2(row, mechanism, made, vector); result != CKR_OK) return result;
  } else {
    if (row.keyType == CKK_AES) {
      made = std::make_unique<AES>();
    } else {
      made = std::make_unique<DES>();
    }
    vector.assign(made->blockLength(), 0);
    if (!takeVector(row, mechanism, vector)) return CKR_MECHANISM_PARAM_INVALID;
  }
  if (!(encrypts ? made->setEncryptionKey(key.value()) : made->setDecryptionKey(key.value()))) {
    return CKR_KEY_SIZE_RANGE;
  }
  cipher = std::move(made);
  return CKR_OK;
}

}  // namespace keystrand
