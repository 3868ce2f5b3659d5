// The objects of the token as the device sees them, and what it reads out of them.
#include <algorithm>

#include "crypto/DeviceState.h"
#include "der/BorrowedBuffer.h"
#include "der/ConstantOID.h"
#include "keystrand/crypto/ECDSAPublicKey.h"
#include "keystrand/crypto/RSAPublicKey.h"

namespace keystrand {

namespace {

constexpr unsigned char kOctetString = 0x04;

AlgorithmIdentifier rsaEncryption() {
  return AlgorithmIdentifier("1.2.840.113549.1.1.1");
}

std::unique_ptr<KeyInfo> infoOf(const AlgorithmIdentifier& algorithm, const Key& key) {
  auto info = std::make_unique<KeyInfo>();
  info->setAlgorithm(&algorithm);
  info->setKey(&key);
  return info;
}

// From CKA_EC_PARAMS and CKA_EC_POINT, each one DER element.
std::unique_ptr<KeyInfo> ecInfo(std::span<const unsigned char> domain, std::span<const unsigned char> point) {
  BorrowedBuffer in(domain);
  ECParameters parameters;
  if (!parameters.get(in)) return nullptr;
  BorrowedBuffer octets(point);
  unsigned char tag = 0;
  std::uint32_t n = 0;
  std::span<const unsigned char> value;
  if (!octets.getHeader(tag, n) || tag != kOctetString || !octets.view(n, value)) return nullptr;
  ECDSAPublicKey key;
  key.setParameters(&parameters);
  key.setPoint(value);
  AlgorithmIdentifier algorithm("1.2.840.10045.2.1");
  algorithm.setParameter(&parameters);
  return infoOf(algorithm, key);
}

}  // namespace

std::optional<Bytes> CryptoDevice::State::attributeOf(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) {
  constexpr CK_ULONG kLongest = 1UL << 24;
  CK_ATTRIBUTE wanted{type, nullptr, 0};
  const auto fits = [&](CK_ULONG room) {
    return succeeded(ki.getAttributeValue(session, object, &wanted, 1)) &&
           succeeded(wanted.ulValueLen <= room ? CKR_OK : CKR_DEVICE_MEMORY);
  };
  if (!fits(kLongest)) return std::nullopt;
  Bytes value(wanted.ulValueLen);
  wanted.pValue = value.data();
  if (value.empty()) return value;
  if (!fits(value.size())) return std::nullopt;
  value.resize(wanted.ulValueLen);
  return value;
}

std::unique_ptr<KeyInfo> CryptoDevice::State::keyInfoOf(CK_OBJECT_HANDLE object) {
  if (const auto modulus = attributeOf(object, CKA_MODULUS)) {
    const auto exponent = attributeOf(object, CKA_PUBLIC_EXPONENT);
    if (!exponent) return nullptr;
    const RSAPublicKey key{BigInteger(std::span<const unsigned char>(*modulus)),
                           BigInteger(std::span<const unsigned char>(*exponent))};
    return infoOf(rsaEncryption(), key);
  }
  const auto domain = attributeOf(object, CKA_EC_PARAMS);
  const auto point = domain ? attributeOf(object, CKA_EC_POINT) : std::nullopt;
  return point ? ecInfo(*domain, *point) : nullptr;
}

std::vector<CryptoDevice::State::CachedObject>& CryptoDevice::State::objectsOf(CK_OBJECT_CLASS objectClass) {
  return objects[static_cast<std::size_t>(std::ranges::find(kClasses, objectClass) - std::begin(kClasses))];
}

// A token that lists nothing is no failure: the caches stay empty.
void CryptoDevice::State::listObjects() {
  constexpr std::size_t kMost = 4096;
  const CK_RV before = lastResult;
  for (CK_OBJECT_CLASS objectClass : kClasses) {
    auto& found = objectsOf(objectClass);
    found.clear();
    const CK_ATTRIBUTE wanted{CKA_CLASS, &objectClass, sizeof objectClass};
    if (ki.findObjectsInit(session, &wanted, 1) != CKR_OK) continue;
    CK_OBJECT_HANDLE handle = CK_INVALID_HANDLE;
    CK_ULONG count = 0;
    while (found.size() < kMost && ki.findObjects(session, &handle, 1, &count) == CKR_OK && count == 1) {
      found.push_back({handle, {}, {}});
    }
    ki.findObjectsFinal(session);
    const CK_ATTRIBUTE_TYPE id = objectClass == CKO_DATA ? CKA_OBJECT_ID : CKA_ID;
    for (CachedObject& object : found) {
      object.id = attributeOf(object.handle, id).value_or(Bytes());
      object.label = attributeOf(object.handle, CKA_LABEL).value_or(Bytes());
    }
  }
  lastResult = before;
}

// An object without an id has no empty one: it is not found by its id at all.
CK_OBJECT_HANDLE CryptoDevice::State::findById(CK_OBJECT_CLASS objectClass, std::span<const unsigned char> id) {
  if (id.empty()) return CK_INVALID_HANDLE;
  for (const CachedObject& object : objectsOf(objectClass)) {
    if (std::ranges::equal(object.id, id)) return object.handle;
  }
  return CK_INVALID_HANDLE;
}

CK_OBJECT_HANDLE CryptoDevice::State::findByLabel(CK_OBJECT_CLASS objectClass, const char* text) {
  const std::string_view label(text != nullptr ? text : "");
  if (label.empty()) return CK_INVALID_HANDLE;
  for (const CachedObject& object : objectsOf(objectClass)) {
    if (std::ranges::equal(object.label, label, {}, {}, [](char c) { return static_cast<unsigned char>(c); })) {
      return object.handle;
    }
  }
  return CK_INVALID_HANDLE;
}

bool CryptoDevice::State::select(CK_OBJECT_HANDLE object) {
  keyInUse = object;
  return succeeded(object != CK_INVALID_HANDLE ? CKR_OK : CKR_OBJECT_HANDLE_INVALID);
}

}  // namespace keystrand
