// The parameters of the RC2 mechanisms (PKCS #11 v2.20 section 12.11), which not every pkcs11.h declares.
#pragma once

#include <p11-kit/pkcs11.h>

namespace keystrand {

constexpr CK_ULONG kMostEffectiveBits = 1024;

// CK_RC2_CBC_PARAMS. CK_RC2_PARAMS is its first member alone.
struct RC2Parameters {
  CK_ULONG effectiveBits;
  CK_BYTE vector[8];
};

}  // namespace keystrand
