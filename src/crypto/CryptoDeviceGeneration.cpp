// Keys that the token makes for the device, and keys that travel enciphered.
#include <algorithm>
#include <array>
#include <ctime>

#include "crypto/AttributeTemplate.h"
#include "crypto/DeviceState.h"
#include "crypto/TemporaryKey.h"
#include "keystrand/crypto/ECParameters.h"

namespace keystrand {

namespace {

constexpr const char* kRSALabel = "RSA Key";
constexpr const char* kECLabel = "EC Key";
constexpr unsigned char kExponent[] = {1, 0, 1};

struct SecretRow {
  CK_KEY_TYPE type;
  CK_MECHANISM_TYPE generation;
  const char* label;
  bool ownLength;  // not told by the type
};

constexpr SecretRow kSecrets[] = {
    {CKK_AES, CKM_AES_KEY_GEN, "AES Key", true},
    {CKK_DES, CKM_DES_KEY_GEN, "DES Key", false},
    {CKK_DES2, CKM_DES2_KEY_GEN, "DES2 Key", false},
    {CKK_DES3, CKM_DES3_KEY_GEN, "DES3 Key", false},
    {CKK_RC2, CKM_RC2_KEY_GEN, "RC2 Key", true},
    {CKK_GENERIC_SECRET, CKM_GENERIC_SECRET_KEY_GEN, "Secret Key", true},
};

const SecretRow* findSecret(CK_KEY_TYPE type) {
  const auto row = std::ranges::find(kSecrets, type, &SecretRow::type);
  return row != std::end(kSecrets) ? &*row : nullptr;
}

// CK_DATE, "%Y%m%d".
void addDate(AttributeTemplate& attributes, CK_ATTRIBUTE_TYPE type, std::int64_t seconds) {
  const std::time_t when = seconds;
  std::tm parts{};
  std::array<char, sizeof(CK_DATE) + 1> text{};
  if (gmtime_r(&when, &parts) == nullptr) return;
  if (std::strftime(text.data(), text.size(), "%Y%m%d", &parts) == sizeof(CK_DATE))
    attributes.addText(type, text.data());
}

// What the objects of one key have in common.
void addCommon(AttributeTemplate& attributes, bool isPrivate, std::span<const unsigned char> id, const char* label) {
  attributes.addFlag(CKA_TOKEN, true);
  attributes.addFlag(CKA_PRIVATE, isPrivate);
  attributes.addText(CKA_LABEL, label);
  if (!id.empty()) attributes.add(CKA_ID, id);
}

}  // namespace

owner<KeyInfo*> CryptoDevice::State::generatePair(CK_MECHANISM_TYPE type, const AttributeTemplate& half,
                                                  const AttributeTemplate& whole) {
  const CK_MECHANISM mechanism{type, nullptr, 0};
  CK_OBJECT_HANDLE publicKey = CK_INVALID_HANDLE;
  CK_OBJECT_HANDLE privateKey = CK_INVALID_HANDLE;
  if (!succeeded(ki.generateKeyPair(session, &mechanism, half.attributes().data(), half.attributes().size(),
                                    whole.attributes().data(), whole.attributes().size(), &publicKey, &privateKey))) {
    return nullptr;
  }
  listObjects();
  select(privateKey);
  return keyInfoOf(publicKey).release();
}

owner<KeyInfo*> CryptoDevice::generateRSAKeyPair(std::uint32_t bits, const char* label) {
  AttributeTemplate half;
  AttributeTemplate whole;
  addCommon(half, false, {}, label != nullptr ? label : kRSALabel);
  addCommon(whole, true, {}, label != nullptr ? label : kRSALabel);
  half.addNumber(CKA_MODULUS_BITS, bits);
  half.add(CKA_PUBLIC_EXPONENT, kExponent);
  whole.addFlag(CKA_SENSITIVE, true);
  return state_->generatePair(CKM_RSA_PKCS_KEY_PAIR_GEN, half, whole);
}

owner<KeyInfo*> CryptoDevice::generateRSAKeyPair(std::uint32_t bits, const unsigned char* id, std::size_t idLength,
                                                 std::int64_t start, std::int64_t end, const char* label) {
  AttributeTemplate half;
  AttributeTemplate whole;
  half.addNumber(CKA_MODULUS_BITS, bits);
  half.add(CKA_PUBLIC_EXPONENT, kExponent);
  whole.addFlag(CKA_SENSITIVE, true);
  for (AttributeTemplate* attributes : {&half, &whole}) {
    addCommon(*attributes, attributes == &whole, {id, idLength}, label != nullptr ? label : kRSALabel);
    addDate(*attributes, CKA_START_DATE, start);
    addDate(*attributes, CKA_END_DATE, end);
  }
  return state_->generatePair(CKM_RSA_PKCS_KEY_PAIR_GEN, half, whole);
}

owner<KeyInfo*> CryptoDevice::generateECKeyPair(const ECParameters& curve, const char* label) {
  if (state_->keyGeneration != CKM_EC_KEY_PAIR_GEN) {
    state_->succeeded(CKR_MECHANISM_INVALID);
    return nullptr;
  }
  Buffer domain;
  curve.put(domain);
  AttributeTemplate half;
  AttributeTemplate whole;
  addCommon(half, false, {}, label != nullptr ? label : kECLabel);
  addCommon(whole, true, {}, label != nullptr ? label : kECLabel);
  half.add(CKA_EC_PARAMS, domain.range(0, domain.size()));
  whole.addFlag(CKA_SENSITIVE, true);
  return state_->generatePair(CKM_EC_KEY_PAIR_GEN, half, whole);
}

bool CryptoDevice::State::generateSecret(CK_KEY_TYPE type, std::uint32_t length, std::span<const unsigned char> id,
                                         const char* label) {
  const SecretRow* row = findSecret(type);
  if (row == nullptr) return succeeded(CKR_MECHANISM_INVALID);
  AttributeTemplate wanted;
  addCommon(wanted, true, id, label != nullptr ? label : row->label);
  wanted.addFlag(CKA_SENSITIVE, true);
  if (row->ownLength) wanted.addNumber(CKA_VALUE_LEN, length);
  const CK_MECHANISM mechanism{row->generation, nullptr, 0};
  CK_OBJECT_HANDLE made = CK_INVALID_HANDLE;
  if (!succeeded(ki.generateKey(session, &mechanism, wanted.attributes().data(), wanted.attributes().size(), &made))) {
    return false;
  }
  listObjects();
  return select(made);
}

bool CryptoDevice::generateSecret(unsigned long type, std::uint32_t length, const unsigned char* id,
                                  std::size_t idLength) {
  return state_->generateSecret(type, length, {id, idLength}, nullptr);
}
bool CryptoDevice::generateSecret(unsigned long type, std::uint32_t length, const char* label) {
  return state_->generateSecret(type, length, {}, label);
}

bool CryptoDevice::State::wrap(CK_OBJECT_HANDLE secret, const CK_MECHANISM& mechanism, CK_OBJECT_HANDLE by,
                               Buffer& out) {
  out.reset();
  const auto wrapped = resultOf([&](unsigned char* target, CK_ULONG* length) {
    return ki.wrapKey(session, &mechanism, by, secret, target, length);
  });
  if (wrapped) out.append(wrapped->data(), static_cast<std::uint32_t>(wrapped->size()));
  return wrapped.has_value();
}

bool CryptoDevice::State::unwrap(std::span<const unsigned char> wrapped, CK_KEY_TYPE type,
                                 const CK_MECHANISM& mechanism, CK_OBJECT_HANDLE by, const char* label) {
  const SecretRow* row = findSecret(type);
  if (row == nullptr) return succeeded(CKR_KEY_TYPE_INCONSISTENT);
  AttributeTemplate wanted;
  wanted.addNumber(CKA_CLASS, CKO_SECRET_KEY);
  wanted.addNumber(CKA_KEY_TYPE, type);
  addCommon(wanted, true, {}, label != nullptr ? label : row->label);
  wanted.addFlag(CKA_SENSITIVE, true);
  CK_OBJECT_HANDLE made = CK_INVALID_HANDLE;
  if (!succeeded(ki.unwrapKey(session, &mechanism, by, pointer(wrapped), wrapped.size(), wanted.attributes().data(),
                              wanted.attributes().size(), &made))) {
    return false;
  }
  listObjects();
  return select(made);
}

bool CryptoDevice::wrap(Handle key, const KeyInfo& recipient, Buffer& out) {
  State& state = *state_;
  TemporaryKey object(state.ki, state.session);
  const CK_MECHANISM mechanism{CKM_RSA_PKCS, nullptr, 0};
  return state.succeeded(object.create(recipient.keyView(), CKA_WRAP)) &&
         state.wrap(key, mechanism, object.handle(), out);
}

bool CryptoDevice::wrapWithKey(Handle key, Handle wrappingKey, const unsigned char* vector, std::size_t vectorLength,
                               Buffer& out) {
  const auto mechanism = state_->paddedMechanism(wrappingKey);
  if (mechanism == kNoMechanism) return state_->succeeded(CKR_WRAPPING_KEY_TYPE_INCONSISTENT);
  auto parameter = state_->parameterOf(mechanism, wrappingKey, {vector, vectorLength});
  return parameter && state_->wrap(key, {mechanism, parameter->data(), parameter->size()}, wrappingKey, out);
}

bool CryptoDevice::unwrap(const unsigned char* wrapped, std::size_t length, unsigned long type, Handle privateKey,
                          const char* label) {
  return state_->unwrap({wrapped, length}, type, {CKM_RSA_PKCS, nullptr, 0}, privateKey, label);
}

bool CryptoDevice::unwrapWithKey(const unsigned char* wrapped, std::size_t length, unsigned long type,
                                 Handle wrappingKey, const unsigned char* vector, std::size_t vectorLength,
                                 const char* label) {
  const auto mechanism = state_->paddedMechanism(wrappingKey);
  if (mechanism == kNoMechanism) return state_->succeeded(CKR_UNWRAPPING_KEY_TYPE_INCONSISTENT);
  auto parameter = state_->parameterOf(mechanism, wrappingKey, {vector, vectorLength});
  return parameter &&
         state_->unwrap({wrapped, length}, type, {mechanism, parameter->data(), parameter->size()}, wrappingKey, label);
}

}  // namespace keystrand
