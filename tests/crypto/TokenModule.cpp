// The built-in token as a module that a tool can load.
#include <p11-kit/pkcs11.h>

#include "crypto/token/FunctionList.h"

extern "C" __attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list);

CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  return keystrand::tokenFunctionList(list);
}
