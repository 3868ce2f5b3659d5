// What C_GetMechanismList and C_GetMechanismInfo tell. It is information for the caller alone: the operations
// themselves do not look here. They take CKM_ECDSA, the RIPEMD-160 rows and RSA keys of more than 2048 bits, which it
// lacks.
#pragma once

#include <p11-kit/pkcs11.h>

#include <span>

namespace keystrand {

struct MechanismRow {
  CK_MECHANISM_TYPE mechanism;
  CK_MECHANISM_INFO info;
};

std::span<const MechanismRow> mechanismTable();

}  // namespace keystrand
