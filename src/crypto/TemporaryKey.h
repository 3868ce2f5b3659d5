// A key that lives for one operation of the device: an object of the session until it goes out of scope.
#pragma once

#include <p11-kit/pkcs11.h>

#include "keystrand/crypto/CryptoKi.h"
#include "keystrand/crypto/ECDSAPublicKey.h"
#include "keystrand/crypto/RSAPublicKey.h"

namespace keystrand {

class TemporaryKey {
 public:
  TemporaryKey(CryptoKi& ki, CK_SESSION_HANDLE session) : ki_(ki), session_(session) {}
  TemporaryKey(const TemporaryKey&) = delete;
  TemporaryKey& operator=(const TemporaryKey&) = delete;
  ~TemporaryKey() {
    if (handle_ != CK_INVALID_HANDLE) ki_.destroyObject(session_, handle_);
  }

  // A public key; only those of RSA and of elliptic curves. `usage` is CKA_VERIFY, CKA_ENCRYPT or CKA_WRAP.
  CK_RV create(const Key* key, CK_ATTRIBUTE_TYPE usage = CKA_VERIFY) {
    usage_ = usage;
    if (const auto* rsa = dynamic_cast<const RSAPublicKey*>(key)) return createRSA(*rsa);
    if (const auto* ec = dynamic_cast<const ECDSAPublicKey*>(key)) return createEC(*ec);
    return CKR_KEY_TYPE_INCONSISTENT;
  }
  // A secret key that the mechanism makes.
  CK_RV generate(const CK_MECHANISM& mechanism) { return ki_.generateKey(session_, &mechanism, nullptr, 0, &handle_); }
  // A secret key of that type.
  CK_RV createSecret(CK_KEY_TYPE type, std::span<const unsigned char> value);
  [[nodiscard]] CK_OBJECT_HANDLE handle() const noexcept { return handle_; }

 private:
  CK_RV createRSA(const RSAPublicKey& key);
  CK_RV createEC(const ECDSAPublicKey& key);
  CK_RV create(CK_KEY_TYPE type, const CK_ATTRIBUTE& first, const CK_ATTRIBUTE& second);

  CryptoKi& ki_;
  CK_SESSION_HANDLE session_;
  CK_ATTRIBUTE_TYPE usage_ = CKA_VERIFY;
  CK_OBJECT_HANDLE handle_ = CK_INVALID_HANDLE;
};

}  // namespace keystrand
