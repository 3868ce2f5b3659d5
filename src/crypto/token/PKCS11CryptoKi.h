// The PKCS #11 module built into the library: its slots, its sessions and their objects. All is in memory, but for the
// token objects of the slots whose tokens are kept in files.
//
// One for the process, made when it is first asked for and never freed. Each member is the standard's function of that
// name and gives its return values. A function of a session takes the session that the caller's handle names; what it
// returns for a null pointer is CKR_ARGUMENTS_BAD.
//
// Thread: no lock. Every call is made under the semaphore of the device.
#pragma once

#include <p11-kit/pkcs11.h>

#include <array>
#include <map>
#include <memory>

#include "crypto/SystemRandomGenerator.h"
#include "crypto/token/PKCS11Key.h"
#include "crypto/token/SlotTable.h"
#include "crypto/token/TokenSession.h"

namespace keystrand {

class PKCS11CryptoKi {
 public:
  static PKCS11CryptoKi& instance();

  // Counts a binding; the module is ready from the first one on. C_Finalize takes one back, and the last one closes
  // every session, so that one binding does not take the sessions of another away.
  void bind() noexcept { ++bindings_; }
  [[nodiscard]] bool isReady() const noexcept { return bindings_ > 0; }

  CK_RV initialize(void* arguments);
  CK_RV finalize(void* reserved);
  CK_RV getInfo(CK_INFO* info);
  CK_RV getSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID* slots, CK_ULONG* count);
  CK_RV getSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info);
  CK_RV getTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info);
  CK_RV getMechanismList(CK_SLOT_ID slot, CK_MECHANISM_TYPE* mechanisms, CK_ULONG* count);
  CK_RV getMechanismInfo(CK_SLOT_ID slot, CK_MECHANISM_TYPE mechanism, CK_MECHANISM_INFO* info);

  CK_RV initToken(CK_SLOT_ID slot, CK_BYTE* pin, CK_ULONG pinLength, CK_BYTE* label);
  CK_RV initPIN(TokenSession& session, CK_BYTE* pin, CK_ULONG pinLength);
  CK_RV setPIN(TokenSession& session, CK_BYTE* former, CK_ULONG formerLength, CK_BYTE* fresh, CK_ULONG freshLength);

  CK_RV openSession(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify, CK_SESSION_HANDLE* session);
  CK_RV closeSession(TokenSession& session);
  CK_RV closeAllSessions(CK_SLOT_ID slot);
  CK_RV getSessionInfo(TokenSession& session, CK_SESSION_INFO* info);
  CK_RV getOperationState(TokenSession& session, CK_BYTE* state, CK_ULONG* length);
  CK_RV setOperationState(TokenSession& session, CK_BYTE* state, CK_ULONG length, CK_OBJECT_HANDLE encryptionKey,
                          CK_OBJECT_HANDLE authenticationKey);
  CK_RV login(TokenSession& session, CK_USER_TYPE user, CK_BYTE* pin, CK_ULONG pinLength);
  CK_RV logout(TokenSession& session);

  CK_RV createObject(TokenSession& session, CK_ATTRIBUTE* attributes, CK_ULONG count, CK_OBJECT_HANDLE* object);
  CK_RV copyObject(TokenSession& session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* changes, CK_ULONG count,
                   CK_OBJECT_HANDLE* copy);
  CK_RV destroyObject(TokenSession& session, CK_OBJECT_HANDLE object);
  CK_RV getObjectSize(TokenSession& session, CK_OBJECT_HANDLE object, CK_ULONG* size);
  CK_RV getAttributeValue(TokenSession& session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes, CK_ULONG count);
  CK_RV setAttributeValue(TokenSession& session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes, CK_ULONG count);
  CK_RV findObjectsInit(TokenSession& session, CK_ATTRIBUTE* attributes, CK_ULONG count);
  CK_RV findObjects(TokenSession& session, CK_OBJECT_HANDLE* objects, CK_ULONG maximum, CK_ULONG* count);
  CK_RV findObjectsFinal(TokenSession& session);

  CK_RV encryptInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key);
  CK_RV encrypt(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength);
  CK_RV encryptUpdate(TokenSession& session, CK_BYTE* part, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength);
  CK_RV encryptFinal(TokenSession& session, CK_BYTE* out, CK_ULONG* outLength);
  CK_RV decryptInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key);
  CK_RV decrypt(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength);
  CK_RV decryptUpdate(TokenSession& session, CK_BYTE* part, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength);
  CK_RV decryptFinal(TokenSession& session, CK_BYTE* out, CK_ULONG* outLength);

  CK_RV digestInit(TokenSession& session, CK_MECHANISM* mechanism);
  CK_RV digest(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength);
  CK_RV digestUpdate(TokenSession& session, CK_BYTE* part, CK_ULONG length);
  CK_RV digestKey(TokenSession& session, CK_OBJECT_HANDLE key);
  CK_RV digestFinal(TokenSession& session, CK_BYTE* out, CK_ULONG* outLength);

  CK_RV signInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key);
  CK_RV sign(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* signature, CK_ULONG* signatureLength);
  CK_RV signUpdate(TokenSession& session, CK_BYTE* part, CK_ULONG length);
  CK_RV signFinal(TokenSession& session, CK_BYTE* signature, CK_ULONG* signatureLength);
  CK_RV signRecoverInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key);
  CK_RV signRecover(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* signature,
                    CK_ULONG* signatureLength);

  CK_RV verifyInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key);
  CK_RV verify(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* signature, CK_ULONG signatureLength);
  CK_RV verifyUpdate(TokenSession& session, CK_BYTE* part, CK_ULONG length);
  CK_RV verifyFinal(TokenSession& session, CK_BYTE* signature, CK_ULONG signatureLength);
  CK_RV verifyRecoverInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key);
  CK_RV verifyRecover(TokenSession& session, CK_BYTE* signature, CK_ULONG signatureLength, CK_BYTE* data,
                      CK_ULONG* length);

  CK_RV generateKey(TokenSession& session, CK_MECHANISM* mechanism, CK_ATTRIBUTE* attributes, CK_ULONG count,
                    CK_OBJECT_HANDLE* key);
  CK_RV generateKeyPair(TokenSession& session, CK_MECHANISM* mechanism, CK_ATTRIBUTE* publicAttributes,
                        CK_ULONG publicCount, CK_ATTRIBUTE* privateAttributes, CK_ULONG privateCount,
                        CK_OBJECT_HANDLE* publicKey, CK_OBJECT_HANDLE* privateKey);
  CK_RV wrapKey(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE wrappingKey, CK_OBJECT_HANDLE key,
                CK_BYTE* wrapped, CK_ULONG* wrappedLength);
  CK_RV unwrapKey(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE unwrappingKey, CK_BYTE* wrapped,
                  CK_ULONG wrappedLength, CK_ATTRIBUTE* attributes, CK_ULONG count, CK_OBJECT_HANDLE* key);
  CK_RV deriveKey(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE baseKey, CK_ATTRIBUTE* attributes,
                  CK_ULONG count, CK_OBJECT_HANDLE* key);

  CK_RV seedRandom(TokenSession& session, CK_BYTE* seed, CK_ULONG length);
  CK_RV generateRandom(TokenSession& session, CK_BYTE* out, CK_ULONG length);

  // CKR_SESSION_HANDLE_INVALID outside the table, CKR_SESSION_CLOSED for a row that is not open.
  CK_RV find(CK_SESSION_HANDLE handle, TokenSession*& session);

 private:
  struct ObjectEntry {
    std::shared_ptr<PKCS11Storage> object;
    CK_SLOT_ID slot;
    CK_SESSION_HANDLE owner;   // none for an object that is kept in a file
    std::uint64_t number = 0;  // there
  };
  using Objects = std::map<CK_OBJECT_HANDLE, ObjectEntry>;

  PKCS11CryptoKi();
  [[nodiscard]] DiskToken* diskOf(const TokenSession& session) const;
  [[nodiscard]] CK_STATE stateOf(const TokenSession& session) const;
  [[nodiscard]] bool hasSessions(CK_SLOT_ID slot) const;
  // Puts the token's objects of one kind at the disposal of its sessions.
  CK_RV takeIn(const Slot& slot, bool privateOnes);
  template <class Condition>
  void dropObjects(Condition condition);

  // The objects of the session's slot alone.
  [[nodiscard]] Objects::iterator find(const TokenSession& session, CK_OBJECT_HANDLE handle);
  CK_RV find(const TokenSession& session, CK_OBJECT_HANDLE handle, std::shared_ptr<PKCS11Storage>& object);
  CK_RV find(const TokenSession& session, CK_OBJECT_HANDLE handle, std::shared_ptr<const PKCS11Key>& key);
  // Begins an operation with a mechanism and a key: `begin` gets both.
  template <class Begin>
  CK_RV beginWithKey(const TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key, Begin begin);
  CK_RV add(const TokenSession& owner, std::shared_ptr<PKCS11Storage> object, CK_OBJECT_HANDLE* handle);
  CK_RV destroy(Objects::iterator row);

  int bindings_ = 0;
  bool initialized_ = false;
  CK_INFO info_{};
  CK_SLOT_INFO slotInfo_{};
  SlotTable slots_;
  std::array<TokenSession, 5> sessions_;  // of the handles 1 to 5
  Objects objects_;
  CK_OBJECT_HANDLE lastObject_ = CK_INVALID_HANDLE;
  SystemRandomGenerator random_;
};

template <class Begin>
CK_RV PKCS11CryptoKi::beginWithKey(const TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key,
                                   Begin begin) {
  if (mechanism == nullptr) return CKR_ARGUMENTS_BAD;
  std::shared_ptr<const PKCS11Key> found;
  if (const CK_RV result = find(session, key, found); result != CKR_OK) return result;
  return begin(*mechanism, std::move(found));
}

template <class Condition>
void PKCS11CryptoKi::dropObjects(Condition condition) {
  std::erase_if(objects_, [&condition](const auto& row) { return condition(row.second); });
}

}  // namespace keystrand
