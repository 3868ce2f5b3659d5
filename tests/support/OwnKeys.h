// Private keys that OpenSSL made, as the library's own classes, and back.
#pragma once

#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>
#include <span>

#include "der/BorrowedBuffer.h"
#include "keystrand/crypto/ECDSAPrivateKey.h"
#include "keystrand/crypto/RSAPrivateKey.h"
#include "support/BuilderParts.h"

namespace keystrand::test {

// RSAPrivateKey or ECPrivateKey in DER.
inline ByteString privateKeyCoding(const PrivateKey& key) {
  return builder::encoded(key.get(), i2d_PrivateKey);
}

inline std::unique_ptr<Key> ownKey(const PrivateKey& key) {
  std::unique_ptr<Key> own;
  if (EVP_PKEY_get_base_id(key.get()) == EVP_PKEY_EC) {
    own = std::make_unique<ECDSAPrivateKey>();
  } else {
    own = std::make_unique<RSAPrivateKey>();
  }
  const ByteString der = privateKeyCoding(key);
  BorrowedBuffer in(der);
  return own->getPrivate(in) && in.remaining() == 0 ? std::move(own) : nullptr;
}

// OpenSSL's reading of what putPrivate writes; empty when it refuses.
inline PrivateKey openSSLKey(const Key& key) {
  Buffer out;
  key.putPrivate(out);
  const auto der = out.range(0, out.size());
  const unsigned char* position = der.data();
  const int kind = key.kind() == KeyKind::kECPrivate ? EVP_PKEY_EC : EVP_PKEY_RSA;
  EVP_PKEY* read = der.size() == key.privateSize(out)
                       ? d2i_PrivateKey(kind, nullptr, &position, static_cast<long>(der.size()))
                       : nullptr;
  return {read, EVP_PKEY_free};
}

inline bool verifiesInOpenSSL(const PrivateKey& key, const SigningSpec& made, const ByteString& data,
                              std::span<const unsigned char> signature) {
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  EVP_PKEY_CTX* keyContext = nullptr;
  if (EVP_DigestVerifyInit(context.get(), &keyContext, EVP_get_digestbyname(made.digest.c_str()), nullptr, key.get()) !=
      1) {
    return false;
  }
  if (made.pss && (EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) != 1 ||
                   EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, RSA_PSS_SALTLEN_DIGEST) != 1)) {
    return false;
  }
  return EVP_DigestVerify(context.get(), signature.data(), signature.size(), data.data(), data.size()) == 1;
}

}  // namespace keystrand::test
