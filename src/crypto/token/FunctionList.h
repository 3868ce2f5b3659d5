// The way into the built-in token. Its functions are reached through this list alone and carry no global names, so that
// they can never be taken for those of another PKCS #11 module in the process, nor the other way round.
#pragma once

#include <p11-kit/pkcs11.h>

namespace keystrand {

// C_GetFunctionList: CKR_ARGUMENTS_BAD for a null pointer. The token is ready from here on, without C_Initialize.
CK_RV tokenFunctionList(CK_FUNCTION_LIST** list) noexcept;

}  // namespace keystrand
