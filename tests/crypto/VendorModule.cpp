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

CK_RV getInfo(CK_INFO* info) {
  const char* maker = std::getenv("MODULE_MAKER");
  *info = {};
  std::ranges::copy(std::string_view(maker != nullptr ? maker : ""), info->manufacturerID);
  return CKR_OK;
}

CK_RV getSlotList(CK_BBOOL /*tokenPresent*/, CK_SLOT_ID* slots, CK_ULONG* count) {
  if (slots != nullptr) slots[0] = 7;
  *count = 1;
  return CKR_OK;
}

CK_RV getTokenInfo(CK_SLOT_ID /*slot*/, CK_TOKEN_INFO* info) {
  *info = {};
  info->flags = CKF_LOGIN_REQUIRED;
  return CKR_OK;
}

CK_RV openSession(CK_SLOT_ID slot, CK_FLAGS flags, void* /*application*/, CK_NOTIFY /*notify*/,
                  CK_SESSION_HANDLE* handle) {
  if ((flags & CKF_RW_SESSION) != 0 && std::getenv("MODULE_READ_ONLY") != nullptr) return CKR_TOKEN_WRITE_PROTECTED;
  session = {slot, CKS_RO_USER_FUNCTIONS, flags, 0};
  *handle = 1;
  return CKR_OK;
}

CK_RV login(CK_SESSION_HANDLE /*handle*/, CK_USER_TYPE /*user*/, CK_BYTE* pin, CK_ULONG length) {
  session.ulDeviceError = pin != nullptr ? length : 0;
  return CKR_OK;
}

CK_RV getSessionInfo(CK_SESSION_HANDLE /*handle*/, CK_SESSION_INFO* info) {
  *info = session;
  return CKR_OK;
}

CK_RV createObject(CK_SESSION_HANDLE /*handle*/, CK_ATTRIBUTE* /*values*/, CK_ULONG /*count*/, CK_OBJECT_HANDLE* key) {
  *key = 1;
  return CKR_OK;
}

CK_RV verifyInit(CK_SESSION_HANDLE /*handle*/, CK_MECHANISM* /*mechanism*/, CK_OBJECT_HANDLE /*key*/) {
  return CKR_OK;
}

CK_RV verify(CK_SESSION_HANDLE /*handle*/, CK_BYTE* /*data*/, CK_ULONG /*length*/, CK_BYTE* signature,
             CK_ULONG /*signatureLength*/) {
  return signature[0] != 0 ? CKR_OK : CKR_SIGNATURE_INVALID;
}

CK_FUNCTION_LIST list{};

}  // namespace

extern "C" [[gnu::visibility("default")]] CK_RV C_GetFunctionList(CK_FUNCTION_LIST** out) {
  list.version = {2, 20};
  list.C_GetInfo = getInfo;
  list.C_GetSlotList = getSlotList;
  list.C_GetTokenInfo = getTokenInfo;
  list.C_OpenSession = openSession;
  list.C_Login = login;
  list.C_GetSessionInfo = getSessionInfo;
  list.C_CreateObject = createObject;
  list.C_VerifyInit = verifyInit;
  list.C_Verify = verify;
  *out = &list;
  return CKR_OK;
}
