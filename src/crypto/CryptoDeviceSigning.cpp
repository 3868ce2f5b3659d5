// Signatures and MACs. A signature by a key of the token comes out as verification takes it.
#include "crypto/DeviceState.h"
#include "crypto/ECDSASigValue.h"
#include "crypto/TemporaryKey.h"
#include "support/SecretBytes.h"

namespace keystrand {

namespace {

Bytes codingOf(const DigestInfo& info) {
  Buffer out;
  info.put(out);
  const auto octets = out.range(0, out.size());
  return {octets.begin(), octets.end()};
}

std::unique_ptr<Signature> signatureObject(std::span<const unsigned char> octets, bool ec) {
  if (!ec) return std::make_unique<Signature>(octets);
  Buffer out;
  ECDSASigValue(octets).put(out);
  return std::make_unique<Signature>(out.range(0, out.size()));
}

}  // namespace

// A signature that was begun and never asked for its result is given up for the new one: a call without data ends it.
bool CryptoDevice::State::beginSignature(const CK_MECHANISM& mechanism, CK_OBJECT_HANDLE signer) {
  if (succeeded(ki.signInit(session, &mechanism, signer))) return true;
  if (lastResult != CKR_OPERATION_ACTIVE) return false;
  ki.sign(session, nullptr, 0, nullptr, nullptr);
  return succeeded(ki.signInit(session, &mechanism, signer));
}

bool CryptoDevice::State::digestsFirst() const noexcept {
  return signature && !isPSS() && (vendor.signsDigests || signature->mechanism == CKM_ECDSA);
}

std::unique_ptr<Signature> CryptoDevice::State::sign(const std::optional<CK_MECHANISM>& mechanism,
                                                     std::span<const unsigned char> data, CK_OBJECT_HANDLE signer) {
  if (!mechanism) {
    succeeded(CKR_MECHANISM_INVALID);
    return nullptr;
  }
  if (!beginSignature(*mechanism, signer)) return nullptr;
  const auto octets = resultOf([&](unsigned char* target, CK_ULONG* length) {
    return ki.sign(session, pointer(data), data.size(), target, length);
  });
  if (!octets) return nullptr;
  return signatureObject(*octets, mechanism->mechanism == CKM_ECDSA);
}

// ECDSA signs the digest alone, RSA its coding with NULL parameters.
std::unique_ptr<Signature> CryptoDevice::State::signDigest(const DigestInfo& info, CK_OBJECT_HANDLE signer) {
  if (info.algorithmView() == nullptr) {
    succeeded(CKR_DATA_INVALID);
    return nullptr;
  }
  if (cipher && cipher->mechanism == CKM_ECDSA) return sign(cipher, info.valueView(), signer);
  DigestInfo withNull(*info.algorithmView(), info.valueView());
  withNull.setHasParameters(true);
  return sign(cipher, codingOf(withNull), signer);
}

owner<Signature*> CryptoDevice::sign(const DigestInfo& digest, Handle key) {
  return state_->signDigest(digest, key).release();
}

owner<Signature*> CryptoDevice::signRaw(const unsigned char* data, std::size_t length) {
  return signRaw(data, length, state_->keyInUse);
}
owner<Signature*> CryptoDevice::signRaw(const unsigned char* data, std::size_t length, Handle key) {
  return state_->sign(state_->cipher, {data, length}, key).release();
}

owner<Signature*> CryptoDevice::signDigestInfo(const DigestInfo& digest) {
  return sign(digest, state_->keyInUse);
}

owner<Signature*> CryptoDevice::signData(const unsigned char* data, std::size_t length) {
  return signData(data, length, state_->keyInUse);
}

owner<Signature*> CryptoDevice::signData(const unsigned char* data, std::size_t length, Handle key) {
  if (!state_->digestsFirst()) return state_->sign(state_->signature, {data, length}, key).release();
  const std::unique_ptr<DigestInfo> info(digest(data, length));
  return info != nullptr ? sign(*info, key) : nullptr;
}

bool CryptoDevice::signInit() {
  State& state = *state_;
  if (!state.signature) return state.succeeded(CKR_MECHANISM_INVALID);
  return state.digestsFirst() ? digestInit() : state.beginSignature(*state.signature, state.keyInUse);
}

bool CryptoDevice::signUpdate(const unsigned char* data, std::size_t length) {
  State& state = *state_;
  if (state.digestsFirst()) return digestUpdate(data, length);
  return state.succeeded(state.ki.signUpdate(state.session, State::pointer({data, length}), length));
}

owner<Signature*> CryptoDevice::signFinal() {
  State& state = *state_;
  if (state.digestsFirst()) {
    const std::unique_ptr<DigestInfo> info(digestFinal());
    return info != nullptr ? sign(*info, state.keyInUse) : nullptr;
  }
  const auto octets = state.resultOf(
      [&state](unsigned char* target, CK_ULONG* length) { return state.ki.signFinal(state.session, target, length); });
  return octets ? signatureObject(*octets, false).release() : nullptr;
}

owner<Signature*> CryptoDevice::signWithSecret(const unsigned char* data, std::size_t length,
                                               const unsigned char* secret, std::size_t secretLength) {
  State& state = *state_;
  TemporaryKey key(state.ki, state.session);
  if (!state.succeeded(key.createSecret(CKK_GENERIC_SECRET, {secret, secretLength}))) return nullptr;
  return state.sign(state.signature, {data, length}, key.handle()).release();
}

// The value is computed again; that it differs shows after the same time wherever it does.
bool CryptoDevice::verifyWithSecret(const unsigned char* data, std::size_t length, const unsigned char* mac,
                                    std::size_t macLength, const unsigned char* secret, std::size_t secretLength) {
  const std::unique_ptr<Signature> again(signWithSecret(data, length, secret, secretLength));
  if (again == nullptr) return false;
  const auto octets = again->view();
  if (octets.size() != macLength) return state_->succeeded(CKR_SIGNATURE_LEN_RANGE);
  return state_->succeeded(areEqual(octets, {mac, macLength}) ? CKR_OK : CKR_SIGNATURE_INVALID);
}

bool CryptoDevice::verifySecret(const unsigned char* data, std::size_t length, const Signature& mac,
                                const unsigned char* secret, std::size_t secretLength) {
  return verifyWithSecret(data, length, mac.view().data(), mac.view().size(), secret, secretLength);
}

}  // namespace keystrand
