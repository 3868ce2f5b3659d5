// The module's ciphers, and how keys are made, wrapped and taken in.
#include <algorithm>

#include "crypto/KeyAttributes.h"
#include "crypto/PrivateKeyInfo.h"
#include "crypto/token/KeyGeneration.h"
#include "crypto/token/PKCS11CryptoKi.h"
#include "crypto/token/PKCS11ECDSAPrivateKey.h"
#include "crypto/token/PKCS11RSAPrivateKey.h"
#include "crypto/token/PKCS11SecretKey.h"

namespace keystrand {

namespace {

// The octets that are enciphered when this key is wrapped: a secret key's own, filled up with zeros to whole blocks, or
// the PrivateKeyInfo of a private key.
CK_RV wrappingOf(const PKCS11Key& key, std::size_t blockLength, SecretBytes& out) {
  if (const auto* secret = dynamic_cast<const PKCS11SecretKey*>(&key)) {
    out.assign(secret->value().begin(), secret->value().end());
    out.resize((out.size() + blockLength - 1) / blockLength * blockLength);
    return CKR_OK;
  }
  if (const auto* rsa = dynamic_cast<const PKCS11RSAPrivateKey*>(&key)) out = putPrivateKeyInfo(rsa->key());
  if (const auto* ec = dynamic_cast<const PKCS11ECDSAPrivateKey*>(&key)) out = putPrivateKeyInfo(ec->key());
  if (out.empty() || out.size() % blockLength != 0) return CKR_KEY_NOT_WRAPPABLE;
  return CKR_OK;
}

// A secret key whose length is not its type's own has the one that the template wants, or that of the octets.
CK_RV addSecret(AttributeTemplate& own, KeyTemplate given, SecretBytes octets) {
  CK_ULONG type = 0;
  if (const CK_RV found = findNumber(given, CKA_KEY_TYPE, type); found != CKR_OK) return found;
  CK_ULONG length = fixedLength(type);
  if (length == 0) {
    const CK_RV found = findNumber(given, CKA_VALUE_LEN, length);
    if (found == CKR_ATTRIBUTE_VALUE_INVALID) return found;
    if (found != CKR_OK) length = octets.size();
  }
  if (octets.size() < length) return CKR_WRAPPED_KEY_LEN_RANGE;
  octets.resize(length);
  own.addNumber(CKA_KEY_TYPE, type);
  own.add(CKA_VALUE, octets);
  return CKR_OK;
}

CK_RV addPrivate(AttributeTemplate& own, const SecretBytes& octets) {
  const auto key = getPrivateKeyInfo(octets);
  if (key == nullptr) return CKR_WRAPPED_KEY_INVALID;
  own.addNumber(CKA_KEY_TYPE, key->kind() == KeyKind::kRSAPrivate ? CKK_RSA : CKK_EC);
  addPrivateParts(own, *key);
  return CKR_OK;
}

CK_RV unwrapped(KeyTemplate given, SecretBytes octets, std::shared_ptr<PKCS11Key>& out) {
  static constexpr CK_ATTRIBUTE_TYPE kConsumed[] = {CKA_VALUE_LEN};
  CK_ULONG objectClass = 0;
  if (const CK_RV found = findNumber(given, CKA_CLASS, objectClass); found != CKR_OK) return found;
  if (objectClass != CKO_SECRET_KEY && objectClass != CKO_PRIVATE_KEY) return CKR_TEMPLATE_INCONSISTENT;
  AttributeTemplate own;
  const CK_RV added =
      objectClass == CKO_SECRET_KEY ? addSecret(own, given, std::move(octets)) : addPrivate(own, octets);
  return added == CKR_OK ? makeKey(own, given, kConsumed, out) : added;
}

// The same failures have names of their own where a key is wrapped or unwrapped.
CK_RV renamed(CK_RV result, CK_RV handle, CK_RV type) {
  if (result == CKR_KEY_HANDLE_INVALID) return handle;
  return result == CKR_KEY_TYPE_INCONSISTENT ? type : result;
}

}  // namespace

CK_RV PKCS11CryptoKi::encryptInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  return beginWithKey(session, mechanism, key, [&session](const auto& given, auto found) {
    return session.encryption.begin(given, std::move(found), CKA_ENCRYPT);
  });
}
CK_RV PKCS11CryptoKi::encrypt(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* out,
                              CK_ULONG* outLength) {
  return session.encryption.whole(data, length, out, outLength);
}
CK_RV PKCS11CryptoKi::encryptUpdate(TokenSession& session, CK_BYTE* part, CK_ULONG length, CK_BYTE* out,
                                    CK_ULONG* outLength) {
  return session.encryption.update(part, length, out, outLength);
}
CK_RV PKCS11CryptoKi::encryptFinal(TokenSession& session, CK_BYTE* out, CK_ULONG* outLength) {
  return session.encryption.finish(out, outLength);
}
CK_RV PKCS11CryptoKi::decryptInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  return beginWithKey(session, mechanism, key, [&session](const auto& given, auto found) {
    return session.decryption.begin(given, std::move(found), CKA_DECRYPT);
  });
}
CK_RV PKCS11CryptoKi::decrypt(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* out,
                              CK_ULONG* outLength) {
  return session.decryption.whole(data, length, out, outLength);
}
CK_RV PKCS11CryptoKi::decryptUpdate(TokenSession& session, CK_BYTE* part, CK_ULONG length, CK_BYTE* out,
                                    CK_ULONG* outLength) {
  return session.decryption.update(part, length, out, outLength);
}
CK_RV PKCS11CryptoKi::decryptFinal(TokenSession& session, CK_BYTE* out, CK_ULONG* outLength) {
  return session.decryption.finish(out, outLength);
}

// The octets of a secret key go into the digest that is under way.
CK_RV PKCS11CryptoKi::digestKey(TokenSession& session, CK_OBJECT_HANDLE key) {
  std::shared_ptr<const PKCS11Key> found;
  if (const CK_RV result = find(session, key, found); result != CKR_OK) return result;
  const auto* secret = dynamic_cast<const PKCS11SecretKey*>(found.get());
  if (secret == nullptr) return CKR_KEY_INDIGESTIBLE;
  return session.digest.update(secret->value().data(), secret->value().size());
}

CK_RV PKCS11CryptoKi::generateKey(TokenSession& session, CK_MECHANISM* mechanism, CK_ATTRIBUTE* attributes,
                                  CK_ULONG count, CK_OBJECT_HANDLE* key) {
  if (mechanism == nullptr || (attributes == nullptr && count != 0) || key == nullptr) return CKR_ARGUMENTS_BAD;
  std::shared_ptr<PKCS11Key> made;
  const CK_RV result = generateSecretKey(*mechanism, {attributes, count}, random_, made);
  return result == CKR_OK ? add(session, std::move(made), key) : result;
}

CK_RV PKCS11CryptoKi::generateKeyPair(TokenSession& session, CK_MECHANISM* mechanism, CK_ATTRIBUTE* publicAttributes,
                                      CK_ULONG publicCount, CK_ATTRIBUTE* privateAttributes, CK_ULONG privateCount,
                                      CK_OBJECT_HANDLE* publicKey, CK_OBJECT_HANDLE* privateKey) {
  if (mechanism == nullptr || (publicAttributes == nullptr && publicCount != 0) ||
      (privateAttributes == nullptr && privateCount != 0) || publicKey == nullptr || privateKey == nullptr) {
    return CKR_ARGUMENTS_BAD;
  }
  std::shared_ptr<PKCS11Key> half;
  std::shared_ptr<PKCS11Key> whole;
  const CK_RV result = generatePair(*mechanism, {publicAttributes, publicCount}, {privateAttributes, privateCount},
                                    random_, half, whole);
  if (result != CKR_OK) return result;
  if (const CK_RV added = add(session, std::move(half), publicKey); added != CKR_OK) return added;
  const CK_RV added = add(session, std::move(whole), privateKey);
  if (added != CKR_OK) destroy(objects_.find(*publicKey));
  return added;
}

CK_RV PKCS11CryptoKi::wrapKey(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE wrappingKey,
                              CK_OBJECT_HANDLE key, CK_BYTE* wrapped, CK_ULONG* wrappedLength) {
  if (mechanism == nullptr || wrappedLength == nullptr) return CKR_ARGUMENTS_BAD;
  std::shared_ptr<const PKCS11Key> meant;
  if (const CK_RV result = find(session, key, meant); result != CKR_OK) return result;
  if (!meant->flag(CKA_EXTRACTABLE)) return CKR_KEY_UNEXTRACTABLE;
  CipherOperation operation;
  const CK_RV begun = beginWithKey(session, mechanism, wrappingKey, [&operation](const auto& given, auto found) {
    return operation.begin(given, std::move(found), CKA_WRAP);
  });
  if (begun != CKR_OK) return renamed(begun, CKR_WRAPPING_KEY_HANDLE_INVALID, CKR_WRAPPING_KEY_TYPE_INCONSISTENT);
  SecretBytes octets;
  if (const CK_RV taken = wrappingOf(*meant, operation.blockLength(), octets); taken != CKR_OK) return taken;
  const CK_RV result = operation.whole(octets.data(), octets.size(), wrapped, wrappedLength);
  return result == CKR_DATA_LEN_RANGE ? CK_RV{CKR_KEY_SIZE_RANGE} : result;
}

CK_RV PKCS11CryptoKi::unwrapKey(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE unwrappingKey,
                                CK_BYTE* wrapped, CK_ULONG wrappedLength, CK_ATTRIBUTE* attributes, CK_ULONG count,
                                CK_OBJECT_HANDLE* key) {
  if (mechanism == nullptr || wrapped == nullptr || attributes == nullptr || key == nullptr) return CKR_ARGUMENTS_BAD;
  CipherOperation operation;
  const CK_RV begun = beginWithKey(session, mechanism, unwrappingKey, [&operation](const auto& given, auto found) {
    return operation.begin(given, std::move(found), CKA_UNWRAP);
  });
  if (begun != CKR_OK) return renamed(begun, CKR_UNWRAPPING_KEY_HANDLE_INVALID, CKR_UNWRAPPING_KEY_TYPE_INCONSISTENT);
  SecretBytes octets;
  const CK_RV taken = operation.take({wrapped, wrappedLength}, octets);
  if (taken == CKR_ENCRYPTED_DATA_LEN_RANGE) return CKR_WRAPPED_KEY_LEN_RANGE;
  if (taken != CKR_OK) return CKR_WRAPPED_KEY_INVALID;
  std::shared_ptr<PKCS11Key> made;
  const CK_RV result = unwrapped({attributes, count}, std::move(octets), made);
  return result == CKR_OK ? add(session, std::move(made), key) : result;
}

// No mechanism of the token derives one key from another.
CK_RV PKCS11CryptoKi::deriveKey(TokenSession&, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE, CK_ATTRIBUTE*, CK_ULONG,
                                CK_OBJECT_HANDLE*) {
  return mechanism == nullptr ? CKR_ARGUMENTS_BAD : CKR_MECHANISM_INVALID;
}

}  // namespace keystrand
