#include "keystrand/crypto/CryptoKi.h"

#include <dlfcn.h>
#include <p11-kit/pkcs11.h>

#include <type_traits>

#include "crypto/token/FunctionList.h"

namespace keystrand {

namespace {

using List = CK_FUNCTION_LIST;

// The standard's prototypes know no const, though a module only reads what the methods declare so.
template <class Argument>
auto plain(Argument argument) {
  using Pointed = std::remove_pointer_t<Argument>;
  if constexpr (std::is_pointer_v<Argument> && std::is_const_v<Pointed>) {
    return const_cast<std::remove_const_t<Pointed>*>(argument);
  } else {
    return argument;
  }
}

}  // namespace

template <class Function, class... Arguments>
CryptoKi::Result CryptoKi::call(Function function, Arguments... arguments) const {
  if (list_ == nullptr || list_->*function == nullptr) return CKR_CRYPTOKI_NOT_INITIALIZED;
  return (list_->*function)(plain(arguments)...);
}

CryptoKi::CryptoKi() {
  if (tokenFunctionList(&list_) != CKR_OK) list_ = nullptr;
}

CryptoKi::CryptoKi(const char* fileName) {
  if (fileName == nullptr) return;
  module_ = dlopen(fileName, RTLD_NOW | RTLD_LOCAL);
  if (module_ == nullptr) return;
  const auto entry = reinterpret_cast<CK_C_GetFunctionList>(dlsym(module_, "C_GetFunctionList"));
  if (entry == nullptr || entry(&list_) != CKR_OK) list_ = nullptr;
}

CryptoKi::~CryptoKi() {
  if (list_ != nullptr) finalize(nullptr);
  if (module_ != nullptr) dlclose(module_);
}

CryptoKi::Result CryptoKi::initialize() {
  CK_C_INITIALIZE_ARGS arguments{};
  arguments.flags = CKF_OS_LOCKING_OK;
  void* const given = &arguments;
  return call(&List::C_Initialize, given);
}
CryptoKi::Result CryptoKi::finalize(void* reserved) {
  return call(&List::C_Finalize, reserved);
}
CryptoKi::Result CryptoKi::getInfo(_CK_INFO* info) {
  return call(&List::C_GetInfo, info);
}
CryptoKi::Result CryptoKi::getFunctionList(_CK_FUNCTION_LIST** list) {
  return call(&List::C_GetFunctionList, list);
}

CryptoKi::Result CryptoKi::getSlotList(unsigned char tokenPresent, unsigned long* slots, unsigned long* count) {
  return call(&List::C_GetSlotList, tokenPresent, slots, count);
}
CryptoKi::Result CryptoKi::getSlotInfo(unsigned long slot, _CK_SLOT_INFO* info) {
  return call(&List::C_GetSlotInfo, slot, info);
}
CryptoKi::Result CryptoKi::getTokenInfo(unsigned long slot, _CK_TOKEN_INFO* info) {
  return call(&List::C_GetTokenInfo, slot, info);
}
CryptoKi::Result CryptoKi::waitForSlotEvent(unsigned long flags, unsigned long* slot, void* reserved) {
  return call(&List::C_WaitForSlotEvent, flags, slot, reserved);
}
CryptoKi::Result CryptoKi::getMechanismList(unsigned long slot, unsigned long* mechanisms, unsigned long* count) {
  return call(&List::C_GetMechanismList, slot, mechanisms, count);
}
CryptoKi::Result CryptoKi::getMechanismInfo(unsigned long slot, unsigned long mechanism, _CK_MECHANISM_INFO* info) {
  return call(&List::C_GetMechanismInfo, slot, mechanism, info);
}
CryptoKi::Result CryptoKi::initToken(unsigned long slot, const unsigned char* pin, unsigned long pinLength,
                                     const unsigned char* label) {
  return call(&List::C_InitToken, slot, pin, pinLength, label);
}
CryptoKi::Result CryptoKi::initPIN(Handle session, const unsigned char* pin, unsigned long pinLength) {
  return call(&List::C_InitPIN, session, pin, pinLength);
}
CryptoKi::Result CryptoKi::setPIN(Handle session, const unsigned char* oldPin, unsigned long oldLength,
                                  const unsigned char* newPin, unsigned long newLength) {
  return call(&List::C_SetPIN, session, oldPin, oldLength, newPin, newLength);
}

CryptoKi::Result CryptoKi::openSession(unsigned long slot, unsigned long flags, void* application, Notify notify,
                                       Handle* session) {
  return call(&List::C_OpenSession, slot, flags, application, notify, session);
}
CryptoKi::Result CryptoKi::closeSession(Handle session) {
  return call(&List::C_CloseSession, session);
}
CryptoKi::Result CryptoKi::closeAllSessions(unsigned long slot) {
  return call(&List::C_CloseAllSessions, slot);
}
CryptoKi::Result CryptoKi::getSessionInfo(Handle session, _CK_SESSION_INFO* info) {
  return call(&List::C_GetSessionInfo, session, info);
}
CryptoKi::Result CryptoKi::getOperationState(Handle session, unsigned char* state, unsigned long* length) {
  return call(&List::C_GetOperationState, session, state, length);
}
CryptoKi::Result CryptoKi::setOperationState(Handle session, const unsigned char* state, unsigned long length,
                                             Handle encryptionKey, Handle authenticationKey) {
  return call(&List::C_SetOperationState, session, state, length, encryptionKey, authenticationKey);
}
CryptoKi::Result CryptoKi::login(Handle session, unsigned long user, const unsigned char* pin,
                                 unsigned long pinLength) {
  return call(&List::C_Login, session, user, pin, pinLength);
}
CryptoKi::Result CryptoKi::logout(Handle session) {
  return call(&List::C_Logout, session);
}

CryptoKi::Result CryptoKi::createObject(Handle session, const Attribute* attributes, unsigned long count,
                                        Handle* object) {
  return call(&List::C_CreateObject, session, attributes, count, object);
}
CryptoKi::Result CryptoKi::copyObject(Handle session, Handle object, const Attribute* changes, unsigned long count,
                                      Handle* copy) {
  return call(&List::C_CopyObject, session, object, changes, count, copy);
}
CryptoKi::Result CryptoKi::destroyObject(Handle session, Handle object) {
  return call(&List::C_DestroyObject, session, object);
}
CryptoKi::Result CryptoKi::getObjectSize(Handle session, Handle object, unsigned long* size) {
  return call(&List::C_GetObjectSize, session, object, size);
}
CryptoKi::Result CryptoKi::getAttributeValue(Handle session, Handle object, Attribute* attributes,
                                             unsigned long count) {
  return call(&List::C_GetAttributeValue, session, object, attributes, count);
}
CryptoKi::Result CryptoKi::setAttributeValue(Handle session, Handle object, const Attribute* attributes,
                                             unsigned long count) {
  return call(&List::C_SetAttributeValue, session, object, attributes, count);
}
CryptoKi::Result CryptoKi::findObjectsInit(Handle session, const Attribute* attributes, unsigned long count) {
  return call(&List::C_FindObjectsInit, session, attributes, count);
}
CryptoKi::Result CryptoKi::findObjects(Handle session, Handle* objects, unsigned long maximum, unsigned long* count) {
  return call(&List::C_FindObjects, session, objects, maximum, count);
}
CryptoKi::Result CryptoKi::findObjectsFinal(Handle session) {
  return call(&List::C_FindObjectsFinal, session);
}

CryptoKi::Result CryptoKi::encryptInit(Handle session, const Mechanism* mechanism, Handle key) {
  return call(&List::C_EncryptInit, session, mechanism, key);
}
CryptoKi::Result CryptoKi::encrypt(Handle session, const unsigned char* data, unsigned long length, unsigned char* out,
                                   unsigned long* outLength) {
  return call(&List::C_Encrypt, session, data, length, out, outLength);
}
CryptoKi::Result CryptoKi::encryptUpdate(Handle session, const unsigned char* part, unsigned long length,
                                         unsigned char* out, unsigned long* outLength) {
  return call(&List::C_EncryptUpdate, session, part, length, out, outLength);
}
CryptoKi::Result CryptoKi::encryptFinal(Handle session, unsigned char* out, unsigned long* outLength) {
  return call(&List::C_EncryptFinal, session, out, outLength);
}
CryptoKi::Result CryptoKi::decryptInit(Handle session, const Mechanism* mechanism, Handle key) {
  return call(&List::C_DecryptInit, session, mechanism, key);
}
CryptoKi::Result CryptoKi::decrypt(Handle session, const unsigned char* data, unsigned long length, unsigned char* out,
                                   unsigned long* outLength) {
  return call(&List::C_Decrypt, session, data, length, out, outLength);
}
CryptoKi::Result CryptoKi::decryptUpdate(Handle session, const unsigned char* part, unsigned long length,
                                         unsigned char* out, unsigned long* outLength) {
  return call(&List::C_DecryptUpdate, session, part, length, out, outLength);
}
CryptoKi::Result CryptoKi::decryptFinal(Handle session, unsigned char* out, unsigned long* outLength) {
  return call(&List::C_DecryptFinal, session, out, outLength);
}

CryptoKi::Result CryptoKi::digestInit(Handle session, const Mechanism* mechanism) {
  return call(&List::C_DigestInit, session, mechanism);
}
CryptoKi::Result CryptoKi::digest(Handle session, const unsigned char* data, unsigned long length, unsigned char* out,
                                  unsigned long* outLength) {
  return call(&List::C_Digest, session, data, length, out, outLength);
}
CryptoKi::Result CryptoKi::digestUpdate(Handle session, const unsigned char* part, unsigned long length) {
  return call(&List::C_DigestUpdate, session, part, length);
}
CryptoKi::Result CryptoKi::digestKey(Handle session, Handle key) {
  return call(&List::C_DigestKey, session, key);
}
CryptoKi::Result CryptoKi::digestFinal(Handle session, unsigned char* out, unsigned long* outLength) {
  return call(&List::C_DigestFinal, session, out, outLength);
}

CryptoKi::Result CryptoKi::signInit(Handle session, const Mechanism* mechanism, Handle key) {
  return call(&List::C_SignInit, session, mechanism, key);
}
CryptoKi::Result CryptoKi::sign(Handle session, const unsigned char* data, unsigned long length,
                                unsigned char* signature, unsigned long* signatureLength) {
  return call(&List::C_Sign, session, data, length, signature, signatureLength);
}
CryptoKi::Result CryptoKi::signUpdate(Handle session, const unsigned char* part, unsigned long length) {
  return call(&List::C_SignUpdate, session, part, length);
}
CryptoKi::Result CryptoKi::signFinal(Handle session, unsigned char* signature, unsigned long* signatureLength) {
  return call(&List::C_SignFinal, session, signature, signatureLength);
}
CryptoKi::Result CryptoKi::signRecoverInit(Handle session, const Mechanism* mechanism, Handle key) {
  return call(&List::C_SignRecoverInit, session, mechanism, key);
}
CryptoKi::Result CryptoKi::signRecover(Handle session, const unsigned char* data, unsigned long length,
                                       unsigned char* signature, unsigned long* signatureLength) {
  return call(&List::C_SignRecover, session, data, length, signature, signatureLength);
}

CryptoKi::Result CryptoKi::verifyInit(Handle session, const Mechanism* mechanism, Handle key) {
  return call(&List::C_VerifyInit, session, mechanism, key);
}
CryptoKi::Result CryptoKi::verify(Handle session, const unsigned char* data, unsigned long length,
                                  const unsigned char* signature, unsigned long signatureLength) {
  return call(&List::C_Verify, session, data, length, signature, signatureLength);
}
CryptoKi::Result CryptoKi::verifyUpdate(Handle session, const unsigned char* part, unsigned long length) {
  return call(&List::C_VerifyUpdate, session, part, length);
}
CryptoKi::Result CryptoKi::verifyFinal(Handle session, const unsigned char* signature, unsigned long signatureLength) {
  return call(&List::C_VerifyFinal, session, signature, signatureLength);
}
CryptoKi::Result CryptoKi::verifyRecoverInit(Handle session, const Mechanism* mechanism, Handle key) {
  return call(&List::C_VerifyRecoverInit, session, mechanism, key);
}
CryptoKi::Result CryptoKi::verifyRecover(Handle session, const unsigned char* signature, unsigned long signatureLength,
                                         unsigned char* data, unsigned long* length) {
  return call(&List::C_VerifyRecover, session, signature, signatureLength, data, length);
}

CryptoKi::Result CryptoKi::digestEncryptUpdate(Handle session, const unsigned char* part, unsigned long length,
                                               unsigned char* out, unsigned long* outLength) {
  return call(&List::C_DigestEncryptUpdate, session, part, length, out, outLength);
}
CryptoKi::Result CryptoKi::decryptDigestUpdate(Handle session, const unsigned char* part, unsigned long length,
                                               unsigned char* out, unsigned long* outLength) {
  return call(&List::C_DecryptDigestUpdate, session, part, length, out, outLength);
}
CryptoKi::Result CryptoKi::signEncryptUpdate(Handle session, const unsigned char* part, unsigned long length,
                                             unsigned char* out, unsigned long* outLength) {
  return call(&List::C_SignEncryptUpdate, session, part, length, out, outLength);
}
CryptoKi::Result CryptoKi::decryptVerifyUpdate(Handle session, const unsigned char* part, unsigned long length,
                                               unsigned char* out, unsigned long* outLength) {
  return call(&List::C_DecryptVerifyUpdate, session, part, length, out, outLength);
}

CryptoKi::Result CryptoKi::generateKey(Handle session, const Mechanism* mechanism, const Attribute* attributes,
                                       unsigned long count, Handle* key) {
  return call(&List::C_GenerateKey, session, mechanism, attributes, count, key);
}
CryptoKi::Result CryptoKi::generateKeyPair(Handle session, const Mechanism* mechanism,
                                           const Attribute* publicAttributes, unsigned long publicCount,
                                           const Attribute* privateAttributes, unsigned long privateCount,
                                           Handle* publicKey, Handle* privateKey) {
  return call(&List::C_GenerateKeyPair, session, mechanism, publicAttributes, publicCount, privateAttributes,
              privateCount, publicKey, privateKey);
}
CryptoKi::Result CryptoKi::wrapKey(Handle session, const Mechanism* mechanism, Handle wrappingKey, Handle key,
                                   unsigned char* wrapped, unsigned long* wrappedLength) {
  return call(&List::C_WrapKey, session, mechanism, wrappingKey, key, wrapped, wrappedLength);
}
CryptoKi::Result CryptoKi::unwrapKey(Handle session, const Mechanism* mechanism, Handle unwrappingKey,
                                     const unsigned char* wrapped, unsigned long wrappedLength,
                                     const Attribute* attributes, unsigned long count, Handle* key) {
  return call(&List::C_UnwrapKey, session, mechanism, unwrappingKey, wrapped, wrappedLength, attributes, count, key);
}
CryptoKi::Result CryptoKi::deriveKey(Handle session, const Mechanism* mechanism, Handle baseKey,
                                     const Attribute* attributes, unsigned long count, Handle* key) {
  return call(&List::C_DeriveKey, session, mechanism, baseKey, attributes, count, key);
}

CryptoKi::Result CryptoKi::seedRandom(Handle session, const unsigned char* seed, unsigned long length) {
  return call(&List::C_SeedRandom, session, seed, length);
}
CryptoKi::Result CryptoKi::generateRandom(Handle session, unsigned char* out, unsigned long length) {
  return call(&List::C_GenerateRandom, session, out, length);
}
CryptoKi::Result CryptoKi::getFunctionStatus(Handle session) {
  return call(&List::C_GetFunctionStatus, session);
}
CryptoKi::Result CryptoKi::cancelFunction(Handle session) {
  return call(&List::C_CancelFunction, session);
}

}  // namespace keystrand
