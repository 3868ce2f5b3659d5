// Making a MessageDigest by PKCS #11 mechanism number.
#pragma once

#include <memory>

#include "keystrand/crypto/MessageDigest.h"

namespace keystrand {

// CKM_MD5, CKM_RIPEMD160, CKM_SHA_1, CKM_SHA224, CKM_SHA256, CKM_SHA384, CKM_SHA512; empty for any other.
std::unique_ptr<MessageDigest> makeDigest(unsigned long mechanism);

}  // namespace keystrand
