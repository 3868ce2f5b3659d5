// Opening the device, selecting mechanisms, digests. Verification stands in CryptoDeviceVerification.cpp.
#include "keystrand/crypto/CryptoDevice.h"

#include <algorithm>
#include <array>
#include <bit>

#include "crypto/DeviceState.h"
#include "crypto/RSASSA_PSSParameters.h"

namespace keystrand {

namespace {

constexpr ConstantOID kRSASSAPSS = "1.2.840.113549.1.1.10"_oid;

// An absent identifier is an unknown one.
OID textToOID(const char* dotted) {
  return dotted != nullptr ? OID(dotted) : OID();
}
OID oidOf(const AlgorithmIdentifier& algorithm) {
  return algorithm.oidView() != nullptr ? *algorithm.oidView() : OID();
}

// The hash that RSASSA-PSS parameters name; SHA-1 where they name none (RFC 4055 section 3.1).
const DigestRow* hashOfPSS(const AlgorithmIdentifier& algorithm) {
  const auto* parameters = dynamic_cast<const RSASSA_PSSParameters*>(algorithm.parameterView());
  const AlgorithmIdentifier* hash = parameters != nullptr ? parameters->hashView() : nullptr;
  return hash != nullptr ? findDigest(oidOf(*hash)) : findDigest(CKM_SHA_1);
}

}  // namespace

CryptoDevice::CryptoDevice(CryptoKi* cryptoKi) : state_(std::make_unique<State>(cryptoKi)) {}

CryptoDevice::~CryptoDevice() {
  if (state_->session != CK_INVALID_HANDLE) state_->ki.logout(state_->session);
  state_->close();
}

bool CryptoDevice::open(std::uint32_t slotIndex, const unsigned char* pin, std::uint32_t pinLength) {
  State& state = *state_;
  state.close();
  if (state.vendor.withoutPIN) pin = nullptr;
  if (slotIndex >= state.slots.size()) return state.slots.empty() ? false : state.succeeded(CKR_SLOT_ID_INVALID);
  if (!state.openSession(state.slots[slotIndex])) return false;
  if (state.login(state.slots[slotIndex], pin, pin != nullptr ? pinLength : 0)) return true;
  const CK_RV refused = state.lastResult;
  state.close();
  return state.succeeded(refused);
}

void CryptoDevice::close() {
  state_->close();
}

bool CryptoDevice::random8(unsigned char* target) {
  constexpr std::size_t kLength = 8;
  return randomFill(target, kLength);
}

bool CryptoDevice::randomFill(unsigned char* target, std::size_t length) {
  if (state_->succeeded(state_->ki.generateRandom(state_->session, target, length))) return true;
  if (target != nullptr) std::fill_n(target, length, static_cast<unsigned char>(0));
  return false;
}

std::uint32_t CryptoDevice::random32() {
  std::array<unsigned char, sizeof(std::uint32_t)> octets{};
  randomFill(octets.data(), octets.size());
  return std::bit_cast<std::uint32_t>(octets);
}

bool CryptoDevice::setDigest(const char* dotted) {
  return state_->selectDigest(findDigest(textToOID(dotted)));
}
bool CryptoDevice::setDigest(const AlgorithmIdentifier& algorithm) {
  return state_->selectDigest(findDigest(oidOf(algorithm)));
}

owner<DigestInfo*> CryptoDevice::digest(const unsigned char* data, std::size_t length) {
  State& state = *state_;
  if (!state.beginDigest()) return nullptr;
  State::DigestOutput out;
  return state.digestInfo(
      state.ki.digest(state.session, State::pointer({data, length}), length, out.bytes, &out.length), out);
}

bool CryptoDevice::digestInit() {
  return state_->beginDigest();
}

bool CryptoDevice::digestUpdate(const unsigned char* data, std::size_t length) {
  return state_->succeeded(state_->ki.digestUpdate(state_->session, State::pointer({data, length}), length));
}

owner<DigestInfo*> CryptoDevice::digestFinal() {
  State::DigestOutput out;
  return state_->digestInfo(state_->ki.digestFinal(state_->session, out.bytes, &out.length), out);
}

std::uint32_t CryptoDevice::digestLength() {
  return state_->succeeded(state_->digest != nullptr ? CKR_OK : CKR_MECHANISM_INVALID) ? state_->digest->length : 0;
}

bool CryptoDevice::setCipher(const char* dotted) {
  return state_->selectCipher(textToOID(dotted));
}
bool CryptoDevice::setCipher(const AlgorithmIdentifier& algorithm) {
  return state_->selectCipher(oidOf(algorithm));
}

bool CryptoDevice::setSignatureAlgorithm(const char* dotted) {
  return state_->selectSignature(findSignature(textToOID(dotted)));
}

bool CryptoDevice::setSignatureAlgorithm(const AlgorithmIdentifier& algorithm) {
  const OID oid = oidOf(algorithm);
  if (oid == kRSASSAPSS) state_->selectDigest(hashOfPSS(algorithm));
  return state_->selectSignature(findSignature(oid));
}

unsigned long CryptoDevice::lastResult() const noexcept {
  return state_->lastResult;
}

}  // namespace keystrand
