#include "crypto/DeviceState.h"

#include <algorithm>

namespace keystrand {

namespace {

constexpr ConstantOID kRSA = "1.2.840.113549.1.1.1"_oid;
constexpr ConstantOID kRawRSA = "2.5.8.1.1"_oid;

CryptoKi& bindingOrNone(CryptoKi* cryptoKi) {
  static CryptoKi& none = *new CryptoKi(nullptr);
  return cryptoKi != nullptr ? *cryptoKi : none;
}

}  // namespace

CryptoDevice::State::State(CryptoKi* cryptoKi) : ki(bindingOrNone(cryptoKi)) {
  CK_ULONG count = 0;
  if (!succeeded(ki.getSlotList(CK_FALSE, nullptr, &count))) return;
  slots.resize(count);
  if (succeeded(ki.getSlotList(CK_FALSE, slots.data(), &count))) {
    slots.resize(std::min<std::size_t>(count, slots.size()));
  } else {
    slots.clear();
    return;
  }
  CK_INFO info{};
  if (!succeeded(ki.getInfo(&info))) return;
  const auto* manufacturer = reinterpret_cast<const char*>(info.manufacturerID);
  vendor = findVendor({manufacturer, sizeof info.manufacturerID});
}

const unsigned char* CryptoDevice::State::pointer(std::span<const unsigned char> octets) noexcept {
  static constexpr unsigned char kNothing = 0;
  return octets.empty() ? &kNothing : octets.data();
}

bool CryptoDevice::State::openSession(CK_SLOT_ID slot) {
  const CK_FLAGS flags = CKF_SERIAL_SESSION | (vendor.readWrite ? CKF_RW_SESSION : 0);
  if (succeeded(ki.openSession(slot, flags, nullptr, nullptr, &session))) return true;
  session = CK_INVALID_HANDLE;
  if (!vendor.fallsBack) return false;
  if (succeeded(ki.openSession(slot, CKF_SERIAL_SESSION, nullptr, nullptr, &session))) return true;
  session = CK_INVALID_HANDLE;
  return false;
}

bool CryptoDevice::State::login(CK_SLOT_ID slot, const unsigned char* pin, CK_ULONG pinLength) {
  CK_TOKEN_INFO info{};
  if (!succeeded(ki.getTokenInfo(slot, &info))) return false;
  if ((info.flags & (CKF_LOGIN_REQUIRED | CKF_USER_PIN_INITIALIZED)) != 0 &&
      !succeeded(ki.login(session, CKU_USER, pin, pinLength))) {
    return false;
  }
  listObjects();
  return succeeded(CKR_OK);
}

void CryptoDevice::State::close() {
  if (session == CK_INVALID_HANDLE) return;
  succeeded(ki.closeSession(session));
  session = CK_INVALID_HANDLE;
  running = nullptr;
  keyInUse = CK_INVALID_HANDLE;
  for (auto& cache : objects) cache.clear();
}

bool CryptoDevice::State::selectDigest(const DigestRow* row) {
  digest = row;
  return succeeded(row != nullptr ? CKR_OK : CKR_MECHANISM_INVALID);
}

bool CryptoDevice::State::selectSignature(const SignatureRow* row) {
  signature.reset();
  cipher.reset();
  keyGeneration = kNoMechanism;
  if (row == nullptr) return selectDigest(nullptr);
  if (row->signature == kNoMechanism) return selectPSS();
  signature = CK_MECHANISM{row->signature, nullptr, 0};
  if (row->cipher != kNoMechanism) cipher = CK_MECHANISM{row->cipher, nullptr, 0};
  if (row->digest != kNoMechanism) digest = findDigest(row->digest);
  keyGeneration = row->keyGeneration;
  return succeeded(CKR_OK);
}

bool CryptoDevice::State::selectPSS() {
  const PSSRow* row = digest != nullptr ? findPSS(digest->mechanism) : nullptr;
  if (row == nullptr) return selectDigest(nullptr);
  pss = row->parameters;
  signature = CK_MECHANISM{row->mechanism, &pss, sizeof pss};
  cipher = signature;
  return succeeded(CKR_OK);
}

bool CryptoDevice::State::selectCipher(const OID& oid) {
  cipher.reset();
  if (oid == kRSA) cipher = CK_MECHANISM{CKM_RSA_PKCS, nullptr, 0};
  if (oid == kRawRSA) cipher = CK_MECHANISM{CKM_RSA_X_509, nullptr, 0};
  return succeeded(cipher ? CKR_OK : CKR_MECHANISM_INVALID);
}

// A digest that was begun and never asked for its result is given up for the new one.
bool CryptoDevice::State::beginDigest() {
  if (digest == nullptr) return succeeded(CKR_MECHANISM_INVALID);
  const CK_MECHANISM mechanism{digest->mechanism, nullptr, 0};
  if (!succeeded(ki.digestInit(session, &mechanism))) {
    if (lastResult != CKR_OPERATION_ACTIVE) return false;
    DigestOutput abandoned;
    ki.digestFinal(session, abandoned.bytes, &abandoned.length);
    if (!succeeded(ki.digestInit(session, &mechanism))) return false;
  }
  running = digest;
  return true;
}

owner<DigestInfo*> CryptoDevice::State::digestInfo(CK_RV result, const DigestOutput& out) {
  if (!succeeded(result) || running == nullptr) return nullptr;
  return new DigestInfo(running->identifier(), {out.bytes, std::min(out.length, DigestOutput::kLongest)});
}

}  // namespace keystrand
