// The binding to a PKCS #11 v2 function list: one method for each function of the list, and the words for return
// values, mechanisms and flags. By default the list is that of the token built into this library; no other is loaded by
// itself.
//
// The methods pass their arguments on and hand back the CK_RV as it came. They take the standard's types: CK_BYTE_PTR
// is unsigned char*, and CK_ULONG, every handle, identifier, flag and return value is unsigned long. The structures are
// complete for whoever includes a pkcs11.h with these tags, as <p11-kit/pkcs11.h> is.
//
// Thread: no state of its own. The built-in token's state is one per process, and it has no lock: the semaphore of
// cache_getCryptoDeviceSemaphore keeps to one call at a time.
#pragma once

#include "keystrand/support/Api.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the standard's tags are what they are
struct _CK_ATTRIBUTE;
struct _CK_FUNCTION_LIST;
struct _CK_INFO;
struct _CK_MECHANISM;
struct _CK_MECHANISM_INFO;
struct _CK_SESSION_INFO;
struct _CK_SLOT_INFO;
struct _CK_TOKEN_INFO;
// NOLINTEND(bugprone-reserved-identifier)

namespace keystrand {

class KEYSTRAND_API CryptoKi {
 public:
  using Attribute = _CK_ATTRIBUTE;
  using Mechanism = _CK_MECHANISM;
  using Handle = unsigned long;  // of a session or an object
  using Result = unsigned long;  // CK_RV
  using Notify = Result (*)(Handle session, unsigned long event, void* application);

  // The built-in token, ready without initialize().
  CryptoKi();
  // A module in a file, found as the dynamic loader finds it. It wants initialize() before anything else.
  explicit CryptoKi(const char* fileName);
  // Finalises the module and lets go of its file.
  ~CryptoKi();
  CryptoKi(const CryptoKi&) = delete;
  CryptoKi& operator=(const CryptoKi&) = delete;

  // nullptr when the binding failed: no such file, no module in it, or a module that gives no list. Every method below
  // then returns CKR_CRYPTOKI_NOT_INITIALIZED (400), as it does for a function that the module leaves out.
  [[nodiscard]] const _CK_FUNCTION_LIST* functionList() const noexcept { return list_; }

  // --- general purpose (PKCS #11 v2.20 section 11.4) ---------------------------------------------------------------
  // C_Initialize with locking left to the operating system.
  Result initialize();
  Result finalize(void* reserved);
  Result getInfo(_CK_INFO* info);
  Result getFunctionList(_CK_FUNCTION_LIST** list);

  // --- slots and tokens (11.5) -------------------------------------------------------------------------------------
  Result getSlotList(unsigned char tokenPresent, unsigned long* slots, unsigned long* count);
  Result getSlotInfo(unsigned long slot, _CK_SLOT_INFO* info);
  Result getTokenInfo(unsigned long slot, _CK_TOKEN_INFO* info);
  Result waitForSlotEvent(unsigned long flags, unsigned long* slot, void* reserved);
  Result getMechanismList(unsigned long slot, unsigned long* mechanisms, unsigned long* count);
  Result getMechanismInfo(unsigned long slot, unsigned long mechanism, _CK_MECHANISM_INFO* info);
  Result initToken(unsigned long slot, const unsigned char* pin, unsigned long pinLength, const unsigned char* label);
  Result initPIN(Handle session, const unsigned char* pin, unsigned long pinLength);
  Result setPIN(Handle session, const unsigned char* oldPin, unsigned long oldLength, const unsigned char* newPin,
                unsigned long newLength);

  // --- sessions (11.6) ---------------------------------------------------------------------------------------------
  Result openSession(unsigned long slot, unsigned long flags, void* application, Notify notify, Handle* session);
  Result closeSession(Handle session);
  Result closeAllSessions(unsigned long slot);
  Result getSessionInfo(Handle session, _CK_SESSION_INFO* info);
  Result getOperationState(Handle session, unsigned char* state, unsigned long* length);
  Result setOperationState(Handle session, const unsigned char* state, unsigned long length, Handle encryptionKey,
                           Handle authenticationKey);
  Result login(Handle session, unsigned long user, const unsigned char* pin, unsigned long pinLength);
  Result logout(Handle session);

  // --- objects (11.7) ----------------------------------------------------------------------------------------------
  Result createObject(Handle session, const Attribute* attributes, unsigned long count, Handle* object);
  Result copyObject(Handle session, Handle object, const Attribute* changes, unsigned long count, Handle* copy);
  Result destroyObject(Handle session, Handle object);
  Result getObjectSize(Handle session, Handle object, unsigned long* size);
  Result getAttributeValue(Handle session, Handle object, Attribute* attributes, unsigned long count);
  Result setAttributeValue(Handle session, Handle object, const Attribute* attributes, unsigned long count);
  Result findObjectsInit(Handle session, const Attribute* attributes, unsigned long count);
  Result findObjects(Handle session, Handle* objects, unsigned long maximum, unsigned long* count);
  Result findObjectsFinal(Handle session);

  // --- encryption and decryption (11.8, 11.9) ----------------------------------------------------------------------
  Result encryptInit(Handle session, const Mechanism* mechanism, Handle key);
  Result encrypt(Handle session, const unsigned char* data, unsigned long length, unsigned char* out,
                 unsigned long* outLength);
  Result encryptUpdate(Handle session, const unsigned char* part, unsigned long length, unsigned char* out,
                       unsigned long* outLength);
  Result encryptFinal(Handle session, unsigned char* out, unsigned long* outLength);
  Result decryptInit(Handle session, const Mechanism* mechanism, Handle key);
  Result decrypt(Handle session, const unsigned char* data, unsigned long length, unsigned char* out,
                 unsigned long* outLength);
  Result decryptUpdate(Handle session, const unsigned char* part, unsigned long length, unsigned char* out,
                       unsigned long* outLength);
  Result decryptFinal(Handle session, unsigned char* out, unsigned long* outLength);

  // --- digests (11.10) ---------------------------------------------------------------------------------------------
  Result digestInit(Handle session, const Mechanism* mechanism);
  Result digest(Handle session, const unsigned char* data, unsigned long length, unsigned char* out,
                unsigned long* outLength);
  Result digestUpdate(Handle session, const unsigned char* part, unsigned long length);
  Result digestKey(Handle session, Handle key);
  Result digestFinal(Handle session, unsigned char* out, unsigned long* outLength);

  // --- signatures and MACs (11.11) ---------------------------------------------------------------------------------
  Result signInit(Handle session, const Mechanism* mechanism, Handle key);
  Result sign(Handle session, const unsigned char* data, unsigned long length, unsigned char* signature,
              unsigned long* signatureLength);
  Result signUpdate(Handle session, const unsigned char* part, unsigned long length);
  Result signFinal(Handle session, unsigned char* signature, unsigned long* signatureLength);
  Result signRecoverInit(Handle session, const Mechanism* mechanism, Handle key);
  Result signRecover(Handle session, const unsigned char* data, unsigned long length, unsigned char* signature,
                     unsigned long* signatureLength);

  // --- their verification (11.12) ----------------------------------------------------------------------------------
  Result verifyInit(Handle session, const Mechanism* mechanism, Handle key);
  Result verify(Handle session, const unsigned char* data, unsigned long length, const unsigned char* signature,
                unsigned long signatureLength);
  Result verifyUpdate(Handle session, const unsigned char* part, unsigned long length);
  Result verifyFinal(Handle session, const unsigned char* signature, unsigned long signatureLength);
  Result verifyRecoverInit(Handle session, const Mechanism* mechanism, Handle key);
  Result verifyRecover(Handle session, const unsigned char* signature, unsigned long signatureLength,
                       unsigned char* data, unsigned long* length);

  // --- two operations in one (11.13) -------------------------------------------------------------------------------
  Result digestEncryptUpdate(Handle session, const unsigned char* part, unsigned long length, unsigned char* out,
                             unsigned long* outLength);
  Result decryptDigestUpdate(Handle session, const unsigned char* part, unsigned long length, unsigned char* out,
                             unsigned long* outLength);
  Result signEncryptUpdate(Handle session, const unsigned char* part, unsigned long length, unsigned char* out,
                           unsigned long* outLength);
  Result decryptVerifyUpdate(Handle session, const unsigned char* part, unsigned long length, unsigned char* out,
                             unsigned long* outLength);

  // --- key management (11.14) --------------------------------------------------------------------------------------
  Result generateKey(Handle session, const Mechanism* mechanism, const Attribute* attributes, unsigned long count,
                     Handle* key);
  Result generateKeyPair(Handle session, const Mechanism* mechanism, const Attribute* publicAttributes,
                         unsigned long publicCount, const Attribute* privateAttributes, unsigned long privateCount,
                         Handle* publicKey, Handle* privateKey);
  Result wrapKey(Handle session, const Mechanism* mechanism, Handle wrappingKey, Handle key, unsigned char* wrapped,
                 unsigned long* wrappedLength);
  Result unwrapKey(Handle session, const Mechanism* mechanism, Handle unwrappingKey, const unsigned char* wrapped,
                   unsigned long wrappedLength, const Attribute* attributes, unsigned long count, Handle* key);
  Result deriveKey(Handle session, const Mechanism* mechanism, Handle baseKey, const Attribute* attributes,
                   unsigned long count, Handle* key);

  // --- random numbers and the functions of old (11.15, 11.16) ------------------------------------------------------
  Result seedRandom(Handle session, const unsigned char* seed, unsigned long length);
  Result generateRandom(Handle session, unsigned char* out, unsigned long length);
  Result getFunctionStatus(Handle session);
  Result cancelFunction(Handle session);

  // --- words; each returns a new text that the caller delete[]s ----------------------------------------------------
  // In Italian.
  [[nodiscard]] static owner<char*> errorText(Result result);
  // The standard's name without CKM_, as "RSA_PKCS_KEY_PAIR_GEN"; empty for a mechanism without one.
  [[nodiscard]] static owner<char*> mechanismName(unsigned long mechanism);
  // The names of the flags that are set, without CKF_, in ascending order of their bits, one blank behind each.
  [[nodiscard]] static owner<char*> tokenFlagsText(const _CK_TOKEN_INFO& info);
  [[nodiscard]] static owner<char*> mechanismFlagsText(const _CK_MECHANISM_INFO& info);
  [[nodiscard]] static owner<char*> slotFlagsText(const _CK_SLOT_INFO& info);
  // The name of a CK_STATE without CKS_, and a blank.
  [[nodiscard]] static owner<char*> sessionStateText(unsigned long state);

  // --- listings on standard output, for a command-line tool --------------------------------------------------------
  void listSlots();
  void listToken(unsigned long slot);
  void listMechanisms(unsigned long slot);
  void listObjects(Handle session);

 private:
  template <class Function, class... Arguments>
  Result call(Function function, Arguments... arguments) const;

  _CK_FUNCTION_LIST* list_ = nullptr;
  void* module_ = nullptr;
};

}  // namespace keystrand
