// The module, its slots and their tokens.
#include "crypto/token/PKCS11CryptoKi.h"

#include <algorithm>
#include <cstdlib>

#include "crypto/token/BlankPadded.h"
#include "crypto/token/Mechanisms.h"

namespace keystrand {

namespace {

CK_INFO moduleInfo() {
  CK_INFO info{};
  info.cryptokiVersion = {2, 0};
  pad(info.manufacturerID, kManufacturer);
  pad(info.libraryDescription, "PKCS #11 PKCS11CryptoKi");
  info.libraryVersion = {2, 0};
  return info;
}

CK_SLOT_INFO slotInfo() {
  CK_SLOT_INFO info{};
  pad(info.slotDescription, "Crypto Software Module");
  pad(info.manufacturerID, kManufacturer);
  info.flags = CKF_TOKEN_PRESENT;
  info.hardwareVersion = {1, 0};
  info.firmwareVersion = {1, 0};
  return info;
}

// The standard's convention for lists: without room for the list, its length.
template <class Row, class Value>
CK_RV giveList(std::span<const Row> rows, Value Row::*member, Value* out, CK_ULONG* count) {
  if (count == nullptr) return CKR_ARGUMENTS_BAD;
  const CK_ULONG room = *count;
  *count = rows.size();
  if (out == nullptr) return CKR_OK;
  if (room < rows.size()) return CKR_BUFFER_TOO_SMALL;
  std::ranges::transform(rows, out, [member](const Row& row) { return row.*member; });
  return CKR_OK;
}

bool areValid(const CK_C_INITIALIZE_ARGS& arguments) {
  const bool none = arguments.CreateMutex == nullptr && arguments.DestroyMutex == nullptr &&
                    arguments.LockMutex == nullptr && arguments.UnlockMutex == nullptr;
  const bool all = arguments.CreateMutex != nullptr && arguments.DestroyMutex != nullptr &&
                   arguments.LockMutex != nullptr && arguments.UnlockMutex != nullptr;
  return arguments.pReserved == nullptr && (none || all);
}

}  // namespace

PKCS11CryptoKi& PKCS11CryptoKi::instance() {
  static PKCS11CryptoKi& module = *new PKCS11CryptoKi;
  return module;
}

// The environment of a process with more rights than its caller is not listened to.
PKCS11CryptoKi::PKCS11CryptoKi() : info_(moduleInfo()), slotInfo_(slotInfo()), slots_(secure_getenv("PKCS11SLOT")) {
  CK_SESSION_HANDLE handle = CK_INVALID_HANDLE;
  for (TokenSession& session : sessions_) session.handle = ++handle;
}

CK_RV PKCS11CryptoKi::initialize(void* arguments) {
  if (arguments != nullptr && !areValid(*static_cast<const CK_C_INITIALIZE_ARGS*>(arguments))) return CKR_ARGUMENTS_BAD;
  if (initialized_) return CKR_CRYPTOKI_ALREADY_INITIALIZED;
  initialized_ = true;
  bindings_ = std::max(bindings_, 1);
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::finalize(void* reserved) {
  if (reserved != nullptr) return CKR_ARGUMENTS_BAD;
  if (--bindings_ == 0) {
    for (const Slot& slot : slots_.rows()) closeAllSessions(slot.id);
    initialized_ = false;
  }
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::getInfo(CK_INFO* info) {
  if (info == nullptr) return CKR_ARGUMENTS_BAD;
  *info = info_;
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::getSlotList(CK_BBOOL, CK_SLOT_ID* slots, CK_ULONG* count) {
  return giveList(slots_.rows(), &Slot::id, slots, count);
}

CK_RV PKCS11CryptoKi::getSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info) {
  if (slots_.find(slot) == nullptr) return CKR_SLOT_ID_INVALID;
  if (info == nullptr) return CKR_ARGUMENTS_BAD;
  *info = slotInfo_;
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::getTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
  const Slot* meant = slots_.find(slot);
  if (meant == nullptr) return CKR_SLOT_ID_INVALID;
  return info != nullptr ? meant->getTokenInfo(*info) : CK_RV{CKR_ARGUMENTS_BAD};
}

CK_RV PKCS11CryptoKi::getMechanismList(CK_SLOT_ID slot, CK_MECHANISM_TYPE* mechanisms, CK_ULONG* count) {
  if (slots_.find(slot) == nullptr) return CKR_SLOT_ID_INVALID;
  return giveList(mechanismTable(), &MechanismRow::mechanism, mechanisms, count);
}

CK_RV PKCS11CryptoKi::getMechanismInfo(CK_SLOT_ID slot, CK_MECHANISM_TYPE mechanism, CK_MECHANISM_INFO* info) {
  if (slots_.find(slot) == nullptr) return CKR_SLOT_ID_INVALID;
  if (info == nullptr) return CKR_ARGUMENTS_BAD;
  const auto row = std::ranges::find(mechanismTable(), mechanism, &MechanismRow::mechanism);
  if (row == mechanismTable().end()) return CKR_MECHANISM_INVALID;
  *info = row->info;
  return CKR_OK;
}

}  // namespace keystrand
