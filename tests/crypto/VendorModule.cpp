// A PKCS #11 module of no use but to be some maker's: it has one token, asks for a login, takes any key, and verifies
// every signature that does not begin with a zero. MODULE_MAKER names the maker; with MODULE_READ_ONLY set, no session
// is read-write. The session info tells how the session was opened: its flags, and the length of the PIN as device
// error.
#include <p11-kit/pkcs11.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace {

CK_SESSION_INFO session{};

CK_FUNCTION_LIST list{};

}  // namespace

extern "C" [[gnu::visibility("default")]] CK_RV C_GetFunctionList(CK_FUNCTION_LIST** out) {
  list.version = {2, 20};
  list.C_GetInfo = [](CK_INFO* info) -> CK_RV {
    const char* maker = std::getenv("MODULE_MAKER");
    *info = {};
    std::ranges::copy(std::string_view(maker != nullptr ? maker : ""), info->manufacturerID);
    return CKR_OK;
  };
  list.C_GetSlotList = [](CK_BBOOL, CK_SLOT_ID* slots, CK_ULONG* count) -> CK_RV {
    if (slots != nullptr) slots[0] = 7;
    *count = 1;
    return CKR_OK;
  };
  list.C_GetTokenInfo = [](CK_SLOT_ID, CK_TOKEN_INFO* info) -> CK_RV {
    *info = {};
    info->flags = CKF_LOGIN_REQUIRED;
    return CKR_OK;
  };
  list.C_OpenSession = [](CK_SLOT_ID slot, CK_FLAGS flags, void*, CK_NOTIFY, CK_SESSION_HANDLE* handle) -> CK_RV {
    if ((flags & CKF_RW_SESSION) != 0 && std::getenv("MODULE_READ_ONLY") != nullptr) return CKR_TOKEN_WRITE_PROTECTED;
    session = {slot, CKS_RO_USER_FUNCTIONS, flags, 0};
    *handle = 1;
    return CKR_OK;
  };
  list.C_Login = [](CK_SESSION_HANDLE, CK_USER_TYPE, CK_BYTE* pin, CK_ULONG length) -> CK_RV {
    session.ulDeviceError = pin != nullptr ? length : 0;
    return CKR_OK;
  };
  list.C_GetSessionInfo = [](CK_SESSION_HANDLE, CK_SESSION_INFO* info) -> CK_RV {
    *info = session;
    return CKR_OK;
  };
  list.C_CreateObject = [](CK_SESSION_HANDLE, CK_ATTRIBUTE*, CK_ULONG, CK_OBJECT_HANDLE* key) -> CK_RV {
    *key = 1;
    return CKR_OK;
  };
  list.C_VerifyInit = [](CK_SESSION_HANDLE, CK_MECHANISM*, CK_OBJECT_HANDLE) -> CK_RV { return CKR_OK; };
  list.C_Verify = [](CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE* signature, CK_ULONG) -> CK_RV {
    return signature[0] != 0 ? CKR_OK : CKR_SIGNATURE_INVALID;
  };
  *out = &list;
  return CKR_OK;
}
