// The mechanisms by which the token encrypts and decrypts with secret keys.
#pragma once

#include <p11-kit/pkcs11.h>

#include <memory>
#include <span>

#include "crypto/Cipher.h"
#include "crypto/token/PKCS11SecretKey.h"
#include "support/SecretBytes.h"

namespace keystrand {

enum class CipherMode : unsigned char { kECB, kCBC, kCBCPad };

struct CipherMechanism {
  CK_MECHANISM_TYPE mechanism;
  CK_KEY_TYPE keyType;
  CK_KEY_TYPE otherKeyType;  // that the mechanism takes as well
  CipherMode mode;
};

// nullptr for any other mechanism.
const CipherMechanism* findCipherMechanism(CK_MECHANISM_TYPE mechanism);

// The cipher with its key set for the one direction, and the initialisation vector out of the mechanism's parameter,
// zeros for ECB. CKR_MECHANISM_PARAM_INVALID for a parameter of another form, CKR_KEY_SIZE_RANGE for a key of a wrong
// length.
CK_RV makeCipher(const CipherMechanism& row, const CK_MECHANISM& mechanism, const PKCS11SecretKey& key, bool encrypts,
                 std::unique_ptr<Cipher>& cipher, SecretBytes& vector);

}  // namespace keystrand
