// Verification: the key becomes a session object, the token's C_Verify gives the answer, the object goes.
#include <algorithm>
#include <optional>

#include "crypto/DeviceState.h"
#include "crypto/ECDSASigValue.h"
#include "crypto/TemporaryKey.h"
#include "der/BorrowedBuffer.h"

namespace keystrand {

namespace {

// The two halves of an ECDSA signature as PKCS #11 wants them. The encoding must be the one DER allows: a signature
// that could be written in two ways is not accepted.
std::optional<Bytes> halvesOf(std::span<const unsigned char> encoded, const ECDSAPublicKey& key) {
  BorrowedBuffer in(encoded);
  ECDSASigValue value;
  if (!value.get(in)) return std::nullopt;
  Buffer again;
  value.put(again);
  if (!std::ranges::equal(again.range(0, again.size()), encoded)) return std::nullopt;
  return key.parametersView() != nullptr ? value.raw(key.parametersView()->orderBytes()) : std::nullopt;
}

// What is handed to C_Verify as the signature; nothing when it has not the form that its key asks for.
std::optional<Bytes> signatureFor(const Signature& signature, const Key* key, const VendorRow& vendor) {
  const auto octets = signature.view();
  if (const auto* ec = dynamic_cast<const ECDSAPublicKey*>(key)) return halvesOf(octets, *ec);
  const bool drop = vendor.dropsLeadingZero && !octets.empty() && octets.front() == 0;
  return Bytes(octets.begin() + (drop ? 1 : 0), octets.end());
}

}  // namespace

bool CryptoDevice::State::verify(const std::optional<CK_MECHANISM>& mechanism, std::span<const unsigned char> data,
                                 std::span<const unsigned char> octets, CK_OBJECT_HANDLE key) {
  if (!mechanism) return succeeded(CKR_MECHANISM_INVALID);
  return succeeded(ki.verifyInit(session, &*mechanism, key)) &&
         succeeded(ki.verify(session, pointer(data), data.size(), pointer(octets), octets.size()));
}

bool CryptoDevice::State::verifyDigest(const DigestInfo& info, std::span<const unsigned char> octets,
                                       CK_OBJECT_HANDLE key) {
  Buffer work;
  info.put(work);
  return verify(cipher, work.range(0, work.size()), octets, key);
}

// Some signers leave the NULL behind the digest's identifier out, so a signature over either coding is good. With ECDSA
// only the digest itself counts, and there is nothing to try again. The built-in token finds it in either coding; other
// modules would take the coding for the digest, and cut it to the length of the order.
bool CryptoDevice::State::verifyBoth(const DigestInfo& given, std::span<const unsigned char> octets,
                                     CK_OBJECT_HANDLE key) {
  if (given.algorithmView() == nullptr) return succeeded(CKR_DATA_INVALID);
  const bool ec = cipher && cipher->mechanism == CKM_ECDSA;
  if (ec && !vendor.takesDigestInfo) return verify(cipher, given.valueView(), octets, key);
  DigestInfo info(*given.algorithmView(), given.valueView());
  info.setHasParameters(true);
  if (verifyDigest(info, octets, key)) return true;
  if (ec) return false;
  info.setHasParameters(false);
  return verifyDigest(info, octets, key);
}

std::optional<Bytes> CryptoDevice::State::octetsOf(const Signature& value, CK_OBJECT_HANDLE key) {
  const auto info = keyInfoOf(key);
  if (info == nullptr) return std::nullopt;
  auto octets = signatureFor(value, info->keyView(), vendor);
  if (!octets) succeeded(CKR_SIGNATURE_INVALID);
  return octets;
}

bool CryptoDevice::verifyRaw(const unsigned char* data, std::size_t length, const unsigned char* signature,
                             std::size_t signatureLength, Handle key) {
  return state_->verify(state_->signature, {data, length}, {signature, signatureLength}, key);
}

bool CryptoDevice::verifyRaw(const unsigned char* data, std::size_t length, const Signature& signature, Handle key) {
  const auto octets = state_->octetsOf(signature, key);
  return octets && verifyRaw(data, length, octets->data(), octets->size(), key);
}

bool CryptoDevice::verify(const unsigned char* signature, std::size_t signatureLength, const DigestInfo& digest,
                          Handle key) {
  return state_->verifyBoth(digest, {signature, signatureLength}, key);
}

bool CryptoDevice::verify(const Signature& signature, const DigestInfo& digest, Handle key) {
  const auto octets = state_->octetsOf(signature, key);
  return octets && state_->verifyBoth(digest, *octets, key);
}

bool CryptoDevice::verifyRaw(const unsigned char* data, std::size_t length, const Signature& signature,
                             const KeyInfo& key) {
  State& state = *state_;
  TemporaryKey object(state.ki, state.session);
  if (!state.succeeded(object.create(key.keyView()))) return false;
  const auto octets = signatureFor(signature, key.keyView(), state.vendor);
  if (!octets) return state.succeeded(CKR_SIGNATURE_INVALID);
  return state.verify(state.signature, {data, length}, *octets, object.handle());
}

bool CryptoDevice::verify(const Signature& signature, const DigestInfo& digest, const KeyInfo& key) {
  State& state = *state_;
  if (digest.algorithmView() == nullptr) return state.succeeded(CKR_DATA_INVALID);
  TemporaryKey object(state.ki, state.session);
  if (!state.succeeded(object.create(key.keyView()))) return false;
  const auto octets = signatureFor(signature, key.keyView(), state.vendor);
  if (!octets) return state.succeeded(CKR_SIGNATURE_INVALID);
  return state.verifyBoth(digest, *octets, object.handle());
}

// RSASSA-PSS is verified over the data itself, all others over its digest.
bool CryptoDevice::verifyData(const unsigned char* data, std::size_t length, const Signature& signature,
                              const KeyInfo& key) {
  if (state_->isPSS()) return verifyRaw(data, length, signature, key);
  const std::unique_ptr<DigestInfo> info(digest(data, length));
  return info != nullptr && verify(signature, *info, key);
}

bool CryptoDevice::verifyData(const unsigned char* data, std::size_t length, const unsigned char* signature,
                              std::size_t signatureLength, const KeyInfo& key) {
  return verifyData(data, length, Signature({signature, signatureLength}), key);
}

}  // namespace keystrand
