// The module, its slot, its token and its sessions.
#include "crypto/token/PKCS11CryptoKi.h"

#include <algorithm>
#include <string_view>

#include "crypto/token/Mechanisms.h"

namespace keystrand {

namespace {

constexpr CK_SLOT_ID kVirtualSlot = 0;
constexpr std::string_view kManufacturer = "Halvorn S.p.A.";

template <std::size_t N>
void pad(unsigned char (&field)[N], std::string_view text) {
  std::ranges::fill(field, static_cast<unsigned char>(' '));
  std::ranges::copy(text.substr(0, N), field);
}

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

// The session figures stand as they are here, whatever is open: five sessions, each of them read-write, are to be had.
CK_TOKEN_INFO virtualTokenInfo() {
  CK_TOKEN_INFO info{};
  pad(info.label, "Not Persistent Token");
  pad(info.manufacturerID, kManufacturer);
  pad(info.model, "Virtual Token");
  pad(info.serialNumber, "0000000000000000");
  info.flags = CKF_RNG | CKF_TOKEN_INITIALIZED;
  info.ulMaxSessionCount = 4;
  info.ulMaxRwSessionCount = 1;
  info.ulMaxPinLen = 8;
  info.ulMinPinLen = 5;
  info.ulTotalPublicMemory = CK_UNAVAILABLE_INFORMATION;
  info.ulFreePublicMemory = CK_UNAVAILABLE_INFORMATION;
  info.ulTotalPrivateMemory = CK_UNAVAILABLE_INFORMATION;
  info.ulFreePrivateMemory = CK_UNAVAILABLE_INFORMATION;
  info.hardwareVersion = {1, 0};
  info.firmwareVersion = {1, 0};
  pad(info.utcTime, "");
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

PKCS11CryptoKi::PKCS11CryptoKi() : info_(moduleInfo()), slotInfo_(slotInfo()), tokenInfo_(virtualTokenInfo()) {
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
    closeAllSessions(kVirtualSlot);
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
  struct Slot {
    CK_SLOT_ID id;
  };
  static constexpr Slot kSlots[] = {{kVirtualSlot}};
  return giveList<Slot>(kSlots, &Slot::id, slots, count);
}

CK_RV PKCS11CryptoKi::getSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO* info) {
  if (slot != kVirtualSlot) return CKR_SLOT_ID_INVALID;
  if (info == nullptr) return CKR_ARGUMENTS_BAD;
  *info = slotInfo_;
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::getTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
  if (slot != kVirtualSlot) return CKR_SLOT_ID_INVALID;
  if (info == nullptr) return CKR_ARGUMENTS_BAD;
  *info = tokenInfo_;
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::getMechanismList(CK_SLOT_ID slot, CK_MECHANISM_TYPE* mechanisms, CK_ULONG* count) {
  if (slot != kVirtualSlot) return CKR_SLOT_ID_INVALID;
  return giveList(mechanismTable(), &MechanismRow::mechanism, mechanisms, count);
}

CK_RV PKCS11CryptoKi::getMechanismInfo(CK_SLOT_ID slot, CK_MECHANISM_TYPE mechanism, CK_MECHANISM_INFO* info) {
  if (slot != kVirtualSlot) return CKR_SLOT_ID_INVALID;
  if (info == nullptr) return CKR_ARGUMENTS_BAD;
  const auto row = std::ranges::find(mechanismTable(), mechanism, &MechanismRow::mechanism);
  if (row == mechanismTable().end()) return CKR_MECHANISM_INVALID;
  *info = row->info;
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::openSession(CK_SLOT_ID slot, CK_FLAGS flags, void*, CK_NOTIFY, CK_SESSION_HANDLE* session) {
  if (slot != kVirtualSlot) return CKR_SLOT_ID_INVALID;
  if (session == nullptr) return CKR_ARGUMENTS_BAD;
  if ((flags & CKF_SERIAL_SESSION) == 0) return CKR_SESSION_PARALLEL_NOT_SUPPORTED;
  const auto row = std::ranges::find(sessions_, false, &TokenSession::open);
  if (row == sessions_.end()) return CKR_SESSION_COUNT;
  row->open = true;
  row->slot = slot;
  row->flags = flags & (CKF_SERIAL_SESSION | CKF_RW_SESSION);
  *session = row->handle;
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::find(CK_SESSION_HANDLE handle, TokenSession*& session) {
  if (handle == CK_INVALID_HANDLE || handle > sessions_.size()) return CKR_SESSION_HANDLE_INVALID;
  session = &sessions_[handle - 1];
  return session->open ? CKR_OK : CKR_SESSION_CLOSED;
}

CK_RV PKCS11CryptoKi::closeSession(TokenSession& session) {
  session.close();
  std::erase_if(objects_, [&session](const auto& row) { return row.second.owner == session.handle; });
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::closeAllSessions(CK_SLOT_ID slot) {
  if (slot != kVirtualSlot) return CKR_SLOT_ID_INVALID;
  for (TokenSession& session : sessions_) closeSession(session);
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::getSessionInfo(TokenSession& session, CK_SESSION_INFO* info) {
  if (info == nullptr) return CKR_ARGUMENTS_BAD;
  *info = {};
  info->slotID = session.slot;
  info->state = session.isReadWrite() ? CKS_RW_PUBLIC_SESSION : CKS_RO_PUBLIC_SESSION;
  info->flags = session.flags;
  return CKR_OK;
}

// The state of an operation is never given out, so none can come back.
CK_RV PKCS11CryptoKi::getOperationState(TokenSession&, CK_BYTE*, CK_ULONG* length) {
  return length == nullptr ? CKR_ARGUMENTS_BAD : CKR_STATE_UNSAVEABLE;
}

CK_RV PKCS11CryptoKi::setOperationState(TokenSession&, CK_BYTE* state, CK_ULONG, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE) {
  return state == nullptr ? CKR_ARGUMENTS_BAD : CKR_SAVED_STATE_INVALID;
}

// The virtual token has no PIN, and nobody has to log in to it.
CK_RV PKCS11CryptoKi::login(TokenSession&, CK_USER_TYPE user, CK_BYTE* pin, CK_ULONG) {
  if (pin == nullptr) return CKR_ARGUMENTS_BAD;
  return user == CKU_SO || user == CKU_USER ? CKR_USER_PIN_NOT_INITIALIZED : CKR_USER_TYPE_INVALID;
}

CK_RV PKCS11CryptoKi::logout(TokenSession&) {
  return CKR_USER_NOT_LOGGED_IN;
}

}  // namespace keystrand
