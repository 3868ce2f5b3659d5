// The module's digests, verifications and random numbers.
#include "crypto/token/PKCS11CryptoKi.h"

namespace keystrand {

CK_RV PKCS11CryptoKi::digestInit(TokenSession& session, CK_MECHANISM* mechanism) {
  return session.digest.begin(mechanism);
}

CK_RV PKCS11CryptoKi::digest(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength) {
  return session.digest.whole(data, length, out, outLength);
}

CK_RV PKCS11CryptoKi::digestUpdate(TokenSession& session, CK_BYTE* part, CK_ULONG length) {
  return session.digest.update(part, length);
}

CK_RV PKCS11CryptoKi::digestFinal(TokenSession& session, CK_BYTE* out, CK_ULONG* outLength) {
  return session.digest.finish(out, outLength);
}

CK_RV PKCS11CryptoKi::find(const TokenSession& session, CK_OBJECT_HANDLE handle,
                           std::shared_ptr<const PKCS11Key>& key) {
  std::shared_ptr<PKCS11Storage> object;
  if (find(session, handle, object) != CKR_OK) return CKR_KEY_HANDLE_INVALID;
  key = std::dynamic_pointer_cast<const PKCS11Key>(std::move(object));
  return key != nullptr ? CKR_OK : CKR_KEY_HANDLE_INVALID;
}

CK_RV PKCS11CryptoKi::signInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  return beginWithKey(session, mechanism, key, [&session](const auto& given, auto found) {
    return session.signature.begin(&given, std::move(found), CKA_SIGN);
  });
}

CK_RV PKCS11CryptoKi::sign(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* signature,
                           CK_ULONG* signatureLength) {
  return session.signature.whole(data, length, signature, signatureLength);
}

CK_RV PKCS11CryptoKi::signUpdate(TokenSession& session, CK_BYTE* part, CK_ULONG length) {
  return session.signature.update(part, length);
}

CK_RV PKCS11CryptoKi::signFinal(TokenSession& session, CK_BYTE* signature, CK_ULONG* signatureLength) {
  return session.signature.finish(signature, signatureLength);
}

CK_RV PKCS11CryptoKi::signRecoverInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  return beginWithKey(session, mechanism, key, [&session](const auto& given, auto found) {
    return session.recoverableSignature.begin(&given, std::move(found), CKA_SIGN_RECOVER);
  });
}

CK_RV PKCS11CryptoKi::signRecover(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* signature,
                                  CK_ULONG* signatureLength) {
  return session.recoverableSignature.whole(data, length, signature, signatureLength);
}

CK_RV PKCS11CryptoKi::verifyInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  return beginWithKey(session, mechanism, key, [&session](const auto& given, auto found) {
    return session.verification.begin(given, std::move(found));
  });
}

CK_RV PKCS11CryptoKi::verify(TokenSession& session, CK_BYTE* data, CK_ULONG length, CK_BYTE* signature,
                             CK_ULONG signatureLength) {
  if (data == nullptr || signature == nullptr) {
    session.verification.end();
    return CKR_ARGUMENTS_BAD;
  }
  if (!session.verification.isActive()) return CKR_OPERATION_NOT_INITIALIZED;
  return session.verification.whole({data, length}, {signature, signatureLength});
}

CK_RV PKCS11CryptoKi::verifyUpdate(TokenSession& session, CK_BYTE* part, CK_ULONG length) {
  if (part == nullptr) {
    session.verification.end();
    return CKR_ARGUMENTS_BAD;
  }
  if (!session.verification.isActive()) return CKR_OPERATION_NOT_INITIALIZED;
  return session.verification.update({part, length});
}

CK_RV PKCS11CryptoKi::verifyFinal(TokenSession& session, CK_BYTE* signature, CK_ULONG signatureLength) {
  if (signature == nullptr) {
    session.verification.end();
    return CKR_ARGUMENTS_BAD;
  }
  if (!session.verification.isActive()) return CKR_OPERATION_NOT_INITIALIZED;
  return session.verification.finish({signature, signatureLength});
}

CK_RV PKCS11CryptoKi::verifyRecoverInit(TokenSession& session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key) {
  return beginWithKey(session, mechanism, key,
                      [&session](const auto& given, auto found) { return session.recovery.begin(given, found); });
}

CK_RV PKCS11CryptoKi::verifyRecover(TokenSession& session, CK_BYTE* signature, CK_ULONG signatureLength, CK_BYTE* data,
                                    CK_ULONG* length) {
  return session.recovery.recover(signature, signatureLength, data, length);
}

// The random numbers come from the operating system, which takes no seed.
CK_RV PKCS11CryptoKi::seedRandom(TokenSession&, CK_BYTE* seed, CK_ULONG) {
  return seed == nullptr ? CKR_ARGUMENTS_BAD : CKR_RANDOM_SEED_NOT_SUPPORTED;
}

CK_RV PKCS11CryptoKi::generateRandom(TokenSession&, CK_BYTE* out, CK_ULONG length) {
  if (out == nullptr) return CKR_ARGUMENTS_BAD;
  return random_.fill({out, length}) ? CKR_OK : CKR_RANDOM_NO_RNG;
}

}  // namespace keystrand
