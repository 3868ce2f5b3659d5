// RSA and elliptic-curve pairs (PKCS #11 v2.20 sections 12.1.4, 12.3.5).
#include <algorithm>

#include "crypto/AttributeTemplate.h"
#include "crypto/KeyAttributes.h"
#include "crypto/hvECDSA.h"
#include "crypto/hvRSA.h"
#include "crypto/token/KeyGeneration.h"
#include "crypto/token/PKCS11ECDSAPublicKey.h"

namespace keystrand {

namespace {

constexpr CK_ULONG kLeastBits = 512;
constexpr CK_ULONG kMostBits = 8192;  // more would keep the process busy for minutes

std::optional<std::span<const unsigned char>> findBytes(KeyTemplate given, CK_ATTRIBUTE_TYPE type) {
  const auto attribute = std::ranges::find(given, type, &CK_ATTRIBUTE::type);
  return attribute != given.end() ? std::optional(valueIn(*attribute)) : std::nullopt;
}

CK_RV makeBoth(const Key& key, CK_KEY_TYPE type, KeyTemplate publicGiven, KeyTemplate privateGiven,
               std::shared_ptr<PKCS11Key>& publicKey, std::shared_ptr<PKCS11Key>& privateKey) {
  static constexpr CK_ATTRIBUTE_TYPE kConsumed[] = {CKA_MODULUS_BITS};
  AttributeTemplate half;
  half.addNumber(CKA_CLASS, CKO_PUBLIC_KEY);
  half.addNumber(CKA_KEY_TYPE, type);
  addPublicParts(half, key);
  AttributeTemplate whole;
  whole.addNumber(CKA_CLASS, CKO_PRIVATE_KEY);
  whole.addNumber(CKA_KEY_TYPE, type);
  addPrivateParts(whole, key);
  if (const CK_RV made = makeKey(half, publicGiven, kConsumed, publicKey); made != CKR_OK) return made;
  return makeKey(whole, privateGiven, {}, privateKey);
}

CK_RV rsaPair(KeyTemplate given, RandomGenerator& random, std::unique_ptr<Key>& out) {
  CK_ULONG bits = 0;
  if (const CK_RV found = findNumber(given, CKA_MODULUS_BITS, bits); found != CKR_OK) return found;
  if (bits < kLeastBits || bits > kMostBits) return CKR_KEY_SIZE_RANGE;
  static constexpr unsigned char kUsualExponent[] = {1, 0, 1};
  const BigInteger exponent(findBytes(given, CKA_PUBLIC_EXPONENT).value_or(kUsualExponent));
  auto key = hvRSA::generate(static_cast<int>(bits), exponent, random);
  if (!key) return CKR_ATTRIBUTE_VALUE_INVALID;
  out = std::make_unique<RSAPrivateKey>(std::move(*key));
  return CKR_OK;
}

CK_RV ecPair(KeyTemplate given, RandomGenerator& random, std::unique_ptr<Key>& out) {
  const auto domain = findBytes(given, CKA_EC_PARAMS);
  if (!domain) return CKR_TEMPLATE_INCOMPLETE;
  ECParameters parameters;
  if (!getParameters(*domain, parameters)) return CKR_ATTRIBUTE_VALUE_INVALID;
  const auto key = hvECDSA::generate(parameters, random);
  if (!key) return CKR_DOMAIN_PARAMS_INVALID;
  out = std::make_unique<ECDSAPrivateKey>(*key);
  return CKR_OK;
}

}  // namespace

CK_RV generatePair(const CK_MECHANISM& mechanism, KeyTemplate publicGiven, KeyTemplate privateGiven,
                   RandomGenerator& random, std::shared_ptr<PKCS11Key>& publicKey,
                   std::shared_ptr<PKCS11Key>& privateKey) {
  const bool rsa = mechanism.mechanism == CKM_RSA_PKCS_KEY_PAIR_GEN;
  if (!rsa && mechanism.mechanism != CKM_EC_KEY_PAIR_GEN) return CKR_MECHANISM_INVALID;
  std::unique_ptr<Key> key;
  const CK_RV generated = rsa ? rsaPair(publicGiven, random, key) : ecPair(publicGiven, random, key);
  if (generated != CKR_OK) return generated;
  const CK_RV made = makeBoth(*key, rsa ? CKK_RSA : CKK_EC, publicGiven, privateGiven, publicKey, privateKey);
  if (made != CKR_OK) return made;
  publicKey->setGenerated(mechanism.mechanism);
  privateKey->setGenerated(mechanism.mechanism);
  return CKR_OK;
}

}  // namespace keystrand
