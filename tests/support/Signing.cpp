#include "support/Signing.h"

#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>
#include <stdexcept>

namespace keystrand::test {

namespace {

template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};
using DigestContext = std::unique_ptr<EVP_MD_CTX, Releaser<&EVP_MD_CTX_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Releaser<&EVP_PKEY_CTX_free>>;

void require(bool done, const char* what) {
  if (!done) throw std::runtime_error(what);
}

}  // namespace

ByteString publicKeyInfo(const PrivateKey& key) {
  ByteString der(static_cast<std::size_t>(i2d_PUBKEY(key.get(), nullptr)));
  unsigned char* out = der.data();
  i2d_PUBKEY(key.get(), &out);
  return der;
}

ByteString digestOf(const std::string& digest, const ByteString& data) {
  ByteString value(EVP_MAX_MD_SIZE);
  unsigned int length = 0;
  require(
      EVP_Digest(data.data(), data.size(), value.data(), &length, EVP_get_digestbyname(digest.c_str()), nullptr) == 1,
      "digest");
  value.resize(length);
  return value;
}

ByteString signatureOf(const PrivateKey& key, const SigningSpec& wanted, const ByteString& data,
                       std::optional<int> saltLength) {
  const DigestContext context(EVP_MD_CTX_new());
  EVP_PKEY_CTX* keyContext = nullptr;
  require(EVP_DigestSignInit(context.get(), &keyContext, EVP_get_digestbyname(wanted.digest.c_str()), nullptr,
                             key.get()) == 1,
          "sign");
  if (wanted.pss) {
    require(EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) == 1, "PSS");
    require(EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, saltLength.value_or(RSA_PSS_SALTLEN_DIGEST)) == 1, "salt");
  }
  std::size_t length = 0;
  require(EVP_DigestSign(context.get(), nullptr, &length, data.data(), data.size()) == 1, "sign");
  ByteString signature(length);
  require(EVP_DigestSign(context.get(), signature.data(), &length, data.data(), data.size()) == 1, "sign");
  signature.resize(length);
  return signature;
}

ByteString signatureRound(const PrivateKey& key, const ByteString& octets) {
  const KeyContext context(EVP_PKEY_CTX_new(key.get(), nullptr));
  require(EVP_PKEY_sign_init(context.get()) == 1 && EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) == 1,
          "sign");
  std::size_t length = 0;
  require(EVP_PKEY_sign(context.get(), nullptr, &length, octets.data(), octets.size()) == 1, "sign");
  ByteString signature(length);
  require(EVP_PKEY_sign(context.get(), signature.data(), &length, octets.data(), octets.size()) == 1, "sign");
  return signature;
}

}  // namespace keystrand::test
