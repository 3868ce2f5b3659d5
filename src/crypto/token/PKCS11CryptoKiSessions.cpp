// The sessions of the module, and who is logged in to a token. The virtual token has no PIN, and nobody has to log in
// to it.
#include <algorithm>
#include <memory>

#include "crypto/token/PKCS11CryptoKi.h"

namespace keystrand {

namespace {

// A new PIN. One with a zero octet in it would end there for callers that hold it as text.
CK_RV accept(const CK_BYTE* pin, CK_ULONG length) {
  if (pin == nullptr || std::find(pin, pin + length, 0) != pin + length) return CKR_ARGUMENTS_BAD;
  return length >= DiskToken::kShortestPIN && length <= DiskToken::kLongestPIN ? CKR_OK : CKR_PIN_LEN_RANGE;
}

struct LogsOut {
  void operator()(DiskToken* disk) const noexcept { disk->logout(); }
};

}  // namespace

DiskToken* PKCS11CryptoKi::diskOf(const TokenSession& session) const {
  return slots_.find(session.slot)->disk.get();
}

bool PKCS11CryptoKi::hasSessions(CK_SLOT_ID slot) const {
  return std::ranges::any_of(sessions_, [slot](const TokenSession& row) { return row.open && row.slot == slot; });
}

CK_STATE PKCS11CryptoKi::stateOf(const TokenSession& session) const {
  const DiskToken* disk = diskOf(session);
  if (disk == nullptr || !disk->user()) return session.isReadWrite() ? CKS_RW_PUBLIC_SESSION : CKS_RO_PUBLIC_SESSION;
  if (*disk->user() == CKU_SO) return CKS_RW_SO_FUNCTIONS;
  return session.isReadWrite() ? CKS_RW_USER_FUNCTIONS : CKS_RO_USER_FUNCTIONS;
}

// What keeps the PIN from being taken is told before what keeps the token from it.
CK_RV PKCS11CryptoKi::initToken(CK_SLOT_ID slot, CK_BYTE* pin, CK_ULONG pinLength, CK_BYTE* label) {
  const Slot* meant = slots_.find(slot);
  if (meant == nullptr) return CKR_SLOT_ID_INVALID;
  if (meant->disk == nullptr) return CKR_FUNCTION_NOT_SUPPORTED;
  const CK_RV accepted = label != nullptr ? accept(pin, pinLength) : CK_RV{CKR_ARGUMENTS_BAD};
  if (accepted == CKR_ARGUMENTS_BAD) return accepted;
  if (hasSessions(slot)) return CKR_SESSION_EXISTS;
  if (accepted != CKR_OK) return accepted;
  constexpr std::size_t kLabelLength = 32;
  return meant->disk->initialize({pin, pinLength}, std::span<const CK_BYTE, kLabelLength>(label, kLabelLength));
}

CK_RV PKCS11CryptoKi::initPIN(TokenSession& session, CK_BYTE* pin, CK_ULONG pinLength) {
  DiskToken* disk = diskOf(session);
  if (disk == nullptr) return CKR_FUNCTION_NOT_SUPPORTED;
  const CK_RV accepted = accept(pin, pinLength);
  if (accepted == CKR_ARGUMENTS_BAD) return accepted;
  if (stateOf(session) != CKS_RW_SO_FUNCTIONS) return CKR_USER_NOT_LOGGED_IN;
  return accepted == CKR_OK ? disk->setUserPIN({pin, pinLength}) : accepted;
}

CK_RV PKCS11CryptoKi::setPIN(TokenSession& session, CK_BYTE* former, CK_ULONG formerLength, CK_BYTE* fresh,
                             CK_ULONG freshLength) {
  DiskToken* disk = diskOf(session);
  if (disk == nullptr) return CKR_FUNCTION_NOT_SUPPORTED;
  const CK_RV accepted = former != nullptr ? accept(fresh, freshLength) : CK_RV{CKR_ARGUMENTS_BAD};
  if (accepted == CKR_ARGUMENTS_BAD) return accepted;
  if (!session.isReadWrite()) return CKR_SESSION_READ_ONLY;
  return accepted == CKR_OK ? disk->changePIN({former, formerLength}, {fresh, freshLength}) : accepted;
}

// Beside a session of the security officer there is no other: read-only ones cannot be his, and read-write ones are not
// to see what he does.
CK_RV PKCS11CryptoKi::openSession(CK_SLOT_ID slot, CK_FLAGS flags, void*, CK_NOTIFY, CK_SESSION_HANDLE* session) {
  const Slot* meant = slots_.find(slot);
  if (meant == nullptr) return CKR_SLOT_ID_INVALID;
  if (session == nullptr) return CKR_ARGUMENTS_BAD;
  if ((flags & CKF_SERIAL_SESSION) == 0) return CKR_SESSION_PARALLEL_NOT_SUPPORTED;
  const auto row = std::ranges::find(sessions_, false, &TokenSession::open);
  if (row == sessions_.end()) return CKR_SESSION_COUNT;
  if (meant->disk != nullptr && meant->disk->user() == CK_USER_TYPE{CKU_SO}) return CKR_SESSION_READ_WRITE_SO_EXISTS;
  if (meant->disk != nullptr && !hasSessions(slot)) {
    if (const CK_RV opened = meant->disk->open(); opened != CKR_OK) return opened;
    if (const CK_RV taken = takeIn(*meant, false); taken != CKR_OK) return taken;
  }
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

// The last session takes the login and the objects of its token with it.
CK_RV PKCS11CryptoKi::closeSession(TokenSession& session) {
  session.close();
  dropObjects([&session](const ObjectEntry& entry) { return entry.owner == session.handle; });
  DiskToken* disk = diskOf(session);
  if (disk == nullptr || hasSessions(session.slot)) return CKR_OK;
  disk->close();
  dropObjects([&session](const ObjectEntry& entry) { return entry.slot == session.slot; });
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::closeAllSessions(CK_SLOT_ID slot) {
  if (slots_.find(slot) == nullptr) return CKR_SLOT_ID_INVALID;
  for (TokenSession& session : sessions_) {
    if (session.open && session.slot == slot) closeSession(session);
  }
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::getSessionInfo(TokenSession& session, CK_SESSION_INFO* info) {
  if (info == nullptr) return CKR_ARGUMENTS_BAD;
  *info = {};
  info->slotID = session.slot;
  info->state = stateOf(session);
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

CK_RV PKCS11CryptoKi::login(TokenSession& session, CK_USER_TYPE user, CK_BYTE* pin, CK_ULONG pinLength) {
  if (pin == nullptr) return CKR_ARGUMENTS_BAD;
  if (user != CKU_SO && user != CKU_USER) return CKR_USER_TYPE_INVALID;
  DiskToken* disk = diskOf(session);
  if (disk == nullptr) return CKR_USER_PIN_NOT_INITIALIZED;
  if (disk->user()) return *disk->user() == user ? CKR_USER_ALREADY_LOGGED_IN : CKR_USER_ANOTHER_ALREADY_LOGGED_IN;
  const bool readOnly = std::ranges::any_of(sessions_, [&session](const TokenSession& other) {
    return other.open && other.slot == session.slot && !other.isReadWrite();
  });
  if (user == CKU_SO && readOnly) return CKR_SESSION_READ_ONLY_EXISTS;
  if (const CK_RV result = disk->login(user, {pin, pinLength}); result != CKR_OK) return result;
  if (user == CKU_SO) return CKR_OK;
  std::unique_ptr<DiskToken, LogsOut> withoutObjects(disk);
  const CK_RV taken = takeIn(*slots_.find(session.slot), true);
  if (taken == CKR_OK) static_cast<void>(withoutObjects.release());
  return taken;
}

// Private objects, those of sessions too, go with the user, and so does what is under way with them.
CK_RV PKCS11CryptoKi::logout(TokenSession& session) {
  DiskToken* disk = diskOf(session);
  if (disk == nullptr || !disk->user()) return CKR_USER_NOT_LOGGED_IN;
  disk->logout();
  for (TokenSession& other : sessions_) {
    if (other.open && other.slot == session.slot) other.endOperations();
  }
  dropObjects([&session](const ObjectEntry& entry) { return entry.slot == session.slot && entry.object->isPrivate(); });
  return CKR_OK;
}

}  // namespace keystrand
