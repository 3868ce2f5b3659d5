// Keys of the token: their selection, import and export.
#include <cstring>

#include "crypto/AttributeTemplate.h"
#include "crypto/DeviceState.h"
#include "keystrand/crypto/ECDSAPrivateKey.h"
#include "keystrand/crypto/RSAPrivateKey.h"

namespace keystrand {

namespace {

constexpr const char* kRSALabel = "RSA Key";

constexpr CK_ATTRIBUTE_TYPE kIntegers[] = {CKA_MODULUS, CKA_PUBLIC_EXPONENT, CKA_PRIVATE_EXPONENT, CKA_PRIME_1,
                                           CKA_PRIME_2, CKA_EXPONENT_1,      CKA_EXPONENT_2,       CKA_COEFFICIENT};

void addInteger(AttributeTemplate& attributes, CK_ATTRIBUTE_TYPE type, const BigInteger& value) {
  SecretBytes octets(value.magnitudeLength());
  value.magnitude(octets);
  if (!octets.empty()) attributes.add(type, octets);
}

void addRSA(AttributeTemplate& attributes, const RSAPrivateKey& key) {
  attributes.addNumber(CKA_KEY_TYPE, CKK_RSA);
  std::size_t i = 0;
  for (const CK_ATTRIBUTE_TYPE type : kIntegers) addInteger(attributes, type, key.integers()[i++]);
}

void addEC(AttributeTemplate& attributes, const ECDSAPrivateKey& key) {
  Buffer work;
  if (key.parametersView() != nullptr) key.parametersView()->put(work);
  attributes.addNumber(CKA_KEY_TYPE, CKK_EC);
  attributes.add(CKA_EC_PARAMS, work.range(0, work.size()));
  addInteger(attributes, CKA_VALUE, key.value());
}

}  // namespace

bool CryptoDevice::selectPrivateKey(const unsigned char* id, std::size_t idLength) {
  return state_->select(state_->findById(CKO_PRIVATE_KEY, {id, idLength}));
}
bool CryptoDevice::selectPrivateKey(const char* label) {
  return state_->select(label != nullptr ? state_->findByLabel(CKO_PRIVATE_KEY, label) : CK_INVALID_HANDLE);
}
bool CryptoDevice::selectPublicKey(const unsigned char* id, std::size_t idLength) {
  return state_->select(state_->findById(CKO_PUBLIC_KEY, {id, idLength}));
}
bool CryptoDevice::selectPublicKey(const char* label) {
  return state_->select(label != nullptr ? state_->findByLabel(CKO_PUBLIC_KEY, label) : CK_INVALID_HANDLE);
}
bool CryptoDevice::selectPrivateKeyAt(std::uint32_t index) {
  const auto& keys = state_->objectsOf(CKO_PRIVATE_KEY);
  return state_->select(index < keys.size() ? keys[index].handle : CK_INVALID_HANDLE);
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
  if (const auto* rsa = dynamic_cast<const RSAPrivateKey*>(&key)) {
    addRSA(attributes, *rsa);
  } else if (const auto* ec = dynamic_cast<const ECDSAPrivateKey*>(&key)) {
    addEC(attributes, *ec);
  } else {
    return state.succeeded(CKR_KEY_TYPE_INCONSISTENT);
  }
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
  if (label == nullptr) return nullptr;
  const CK_OBJECT_HANDLE found = state_->findByLabel(CKO_PUBLIC_KEY, label);
  return exportPublicKey(found != CK_INVALID_HANDLE ? found : state_->findByLabel(CKO_PRIVATE_KEY, label));
}
owner<KeyInfo*> CryptoDevice::exportPublicKey(Handle key) {
  return state_->keyInfoOf(key).release();
}

}  // namespace keystrand
