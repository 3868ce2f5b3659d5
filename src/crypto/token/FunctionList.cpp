#include "crypto/token/FunctionList.h"

#include <new>

#include "crypto/token/PKCS11CryptoKi.h"

namespace keystrand {

namespace {

CK_RV getFunctionList(CK_FUNCTION_LIST** list) noexcept;

template <class Work>
CK_RV guarded(Work work) noexcept {
  try {
    return work(PKCS11CryptoKi::instance());
  } catch (const std::bad_alloc&) {
    return CKR_HOST_MEMORY;
  } catch (...) {
    return CKR_GENERAL_ERROR;
  }
}

CK_RV initialize(void* arguments) noexcept {
  return guarded([arguments](PKCS11CryptoKi& module) { return module.initialize(arguments); });
}

template <class Work>
CK_RV whenReady(Work work) noexcept {
  return guarded([&work](PKCS11CryptoKi& module) {
    return module.isReady() ? work(module) : CK_RV{CKR_CRYPTOKI_NOT_INITIALIZED};
  });
}

// The function of the list that stands for a member of the module; the more special form looks the session up.
template <auto Member, class... Arguments>
constexpr auto forward(CK_RV (PKCS11CryptoKi::*)(Arguments...)) {
  return +[](Arguments... arguments) noexcept {
    return whenReady([&](PKCS11CryptoKi& module) { return (module.*Member)(arguments...); });
  };
}

template <auto Member, class... Arguments>
constexpr auto forward(CK_RV (PKCS11CryptoKi::*)(TokenSession&, Arguments...)) {
  return +[](CK_SESSION_HANDLE handle, Arguments... arguments) noexcept {
    return whenReady([&](PKCS11CryptoKi& module) {
      TokenSession* session = nullptr;
      const CK_RV found = module.find(handle, session);
      return found == CKR_OK ? (module.*Member)(*session, arguments...) : found;
    });
  };
}

template <auto Member>
constexpr auto kForward = forward<Member>(Member);

template <class Function>
struct Unsupported;

template <class... Arguments>
struct Unsupported<CK_RV (*)(Arguments...)> {
  static CK_RV call(Arguments...) noexcept { return CKR_FUNCTION_NOT_SUPPORTED; }
};

template <class Function>
constexpr void refuse(Function& function) {
  function = Unsupported<Function>::call;
}

template <auto... Functions>
struct Group {
  static constexpr void refuseIn(CK_FUNCTION_LIST& list) { (refuse(list.*Functions), ...); }
};

using List = CK_FUNCTION_LIST;

// What this token never does: two operations in one, functions in parallel, slots that come and go.
using NeverSupported =
    Group<&List::C_DigestEncryptUpdate, &List::C_DecryptDigestUpdate, &List::C_SignEncryptUpdate,
          &List::C_DecryptVerifyUpdate, &List::C_GetFunctionStatus, &List::C_CancelFunction, &List::C_WaitForSlotEvent>;

constexpr CK_FUNCTION_LIST makeList() {
  using Module = PKCS11CryptoKi;
  CK_FUNCTION_LIST list{};
  list.version = {2, 0};
  list.C_Initialize = initialize;
  list.C_Finalize = kForward<&Module::finalize>;
  list.C_GetInfo = kForward<&Module::getInfo>;
  list.C_GetFunctionList = getFunctionList;
  list.C_GetSlotList = kForward<&Module::getSlotList>;
  list.C_GetSlotInfo = kForward<&Module::getSlotInfo>;
  list.C_GetTokenInfo = kForward<&Module::getTokenInfo>;
  list.C_GetMechanismList = kForward<&Module::getMechanismList>;
  list.C_GetMechanismInfo = kForward<&Module::getMechanismInfo>;
  list.C_InitToken = kForward<&Module::initToken>;
  list.C_InitPIN = kForward<&Module::initPIN>;
  list.C_SetPIN = kForward<&Module::setPIN>;
  list.C_OpenSession = kForward<&Module::openSession>;
  list.C_CloseSession = kForward<&Module::closeSession>;
  list.C_CloseAllSessions = kForward<&Module::closeAllSessions>;
  list.C_GetSessionInfo = kForward<&Module::getSessionInfo>;
  list.C_GetOperationState = kForward<&Module::getOperationState>;
  list.C_SetOperationState = kForward<&Module::setOperationState>;
  list.C_Login = kForward<&Module::login>;
  list.C_Logout = kForward<&Module::logout>;
  list.C_CreateObject = kForward<&Module::createObject>;
  list.C_CopyObject = kForward<&Module::copyObject>;
  list.C_DestroyObject = kForward<&Module::destroyObject>;
  list.C_GetObjectSize = kForward<&Module::getObjectSize>;
  list.C_GetAttributeValue = kForward<&Module::getAttributeValue>;
  list.C_SetAttributeValue = kForward<&Module::setAttributeValue>;
  list.C_FindObjectsInit = kForward<&Module::findObjectsInit>;
  list.C_FindObjects = kForward<&Module::findObjects>;
  list.C_FindObjectsFinal = kForward<&Module::findObjectsFinal>;
  list.C_DigestInit = kForward<&Module::digestInit>;
  list.C_Digest = kForward<&Module::digest>;
  list.C_DigestUpdate = kForward<&Module::digestUpdate>;
  list.C_DigestFinal = kForward<&Module::digestFinal>;
  list.C_SignInit = kForward<&Module::signInit>;
  list.C_Sign = kForward<&Module::sign>;
  list.C_SignUpdate = kForward<&Module::signUpdate>;
  list.C_SignFinal = kForward<&Module::signFinal>;
  list.C_SignRecoverInit = kForward<&Module::signRecoverInit>;
  list.C_SignRecover = kForward<&Module::signRecover>;
  list.C_VerifyInit = kForward<&Module::verifyInit>;
  list.C_Verify = kForward<&Module::verify>;
  list.C_VerifyUpdate = kForward<&Module::verifyUpdate>;
  list.C_VerifyFinal = kForward<&Module::verifyFinal>;
  list.C_VerifyRecoverInit = kForward<&Module::verifyRecoverInit>;
  list.C_VerifyRecover = kForward<&Module::verifyRecover>;
  list.C_EncryptInit = kForward<&Module::encryptInit>;
  list.C_Encrypt = kForward<&Module::encrypt>;
  list.C_EncryptUpdate = kForward<&Module::encryptUpdate>;
  list.C_EncryptFinal = kForward<&Module::encryptFinal>;
  list.C_DecryptInit = kForward<&Module::decryptInit>;
  list.C_Decrypt = kForward<&Module::decrypt>;
  list.C_DecryptUpdate = kForward<&Module::decryptUpdate>;
  list.C_DecryptFinal = kForward<&Module::decryptFinal>;
  list.C_DigestKey = kForward<&Module::digestKey>;
  list.C_GenerateKey = kForward<&Module::generateKey>;
  list.C_GenerateKeyPair = kForward<&Module::generateKeyPair>;
  list.C_WrapKey = kForward<&Module::wrapKey>;
  list.C_UnwrapKey = kForward<&Module::unwrapKey>;
  list.C_DeriveKey = kForward<&Module::deriveKey>;
  list.C_SeedRandom = kForward<&Module::seedRandom>;
  list.C_GenerateRandom = kForward<&Module::generateRandom>;
  NeverSupported::refuseIn(list);
  return list;
}

constexpr CK_FUNCTION_LIST kList = makeList();

// The standard hands out a list that may be written; this one lies in read-only memory.
CK_RV getFunctionList(CK_FUNCTION_LIST** list) noexcept {
  if (list == nullptr) return CKR_ARGUMENTS_BAD;
  *list = const_cast<CK_FUNCTION_LIST*>(&kList);
  return CKR_OK;
}

}  // namespace

CK_RV tokenFunctionList(CK_FUNCTION_LIST** list) noexcept {
  return guarded([list](PKCS11CryptoKi& module) {
    const CK_RV result = getFunctionList(list);
    if (result == CKR_OK) module.bind();
    return result;
  });
}

}  // namespace keystrand
