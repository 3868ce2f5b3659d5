// Keys of the token: their selection, import and export.
#include "crypto/AttributeTemplate.h"
#include "crypto/DeviceState.h"
#include "crypto/KeyAttributes.h"

namespace keystrand {

namespace {

constexpr const char* kRSALabel = "RSA Key";

}  // namespace

bool CryptoDevice::selectPrivateKey(const unsigned char* id, std::size_t idLength) {
  return state_->select(state_->findById(CKO_PRIVATE_KEY, {id, idLength}));
}
bool CryptoDevice::selectPrivateKey(const char* label) {
  return state_->select(state_->findByLabel(CKO_PRIVATE_KEY, label));
}
bool CryptoDevice::selectPublicKey(const unsigned char* id, std::size_t idLength) {
  return state_->select(state_->findById(CKO_PUBLIC_KEY, {id, idLength}));
}
bool CryptoDevice::selectPublicKey(const char* label) {
  return state_->select(state_->findByLabel(CKO_PUBLIC_KEY, label));
}
bool CryptoDevice::selectPrivateKeyAt(std::uint32_t index) {
  return state_->select(state_->at(CKO_PRIVATE_KEY, index));
}
CryptoDevice::Handle CryptoDevice::selectedKey() const noexcept {
  return state_->keyInUse;
}

bool CryptoDevice::importKey(const Key& key, const char* label) {
  return importKey(key, nullptr, 0, label);
}

bool CryptoDevice::importKey(const Key& key, const unsigned char* id, std::size_t idLength, const char* label) {
  State& state = *state_;
  AttributeTemplate attributes;
  attributes.addNumber(CKA_CLASS, CKO_PRIVATE_KEY);
  attributes.addNumber(CKA_KEY_TYPE, key.kind() == KeyKind::kECPrivate ? CKK_EC : CKK_RSA);
  if (!addPrivateParts(attributes, key)) return state.succeeded(CKR_KEY_TYPE_INCONSISTENT);
  attributes.addFlag(CKA_TOKEN, true);
  attributes.addFlag(CKA_PRIVATE, true);
  attributes.addFlag(CKA_SENSITIVE, true);
  attributes.addText(CKA_LABEL, label != nullptr ? label : kRSALabel);
  if (id != nullptr) attributes.add(CKA_ID, {id, idLength});
  CK_OBJECT_HANDLE made = CK_INVALID_HANDLE;
  if (!state.succeeded(attributes.create(state.ki, state.session, made))) return false;
  state.listObjects();
  return state.select(made);
}

owner<KeyInfo*> CryptoDevice::exportPublicKey(const char* label) {
  const CK_OBJECT_HANDLE found = state_->findByLabel(CKO_PUBLIC_KEY, label);
  return exportPublicKey(found != CK_INVALID_HANDLE ? found : state_->findByLabel(CKO_PRIVATE_KEY, label));
}
owner<KeyInfo*> CryptoDevice::exportPublicKey(Handle key) {
  return state_->keyInfoOf(key).release();
}

}  // namespace keystrand
