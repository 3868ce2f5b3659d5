// The mechanisms of the token that make a key of a password (PKCS #11 v2.20 sections 12.26 to 12.28).
#pragma once

#include "crypto/token/KeyGeneration.h"
#include "support/SecretBytes.h"

namespace keystrand {

// CKR_MECHANISM_INVALID for a mechanism that is none of them. The password is taken as it is: for the mechanisms of
// PKCS #12 it is a BMPString with its terminating zero.
CK_RV passwordValue(const CK_MECHANISM& mechanism, KeyTemplate given, CK_KEY_TYPE& type, SecretBytes& value);

}  // namespace keystrand
