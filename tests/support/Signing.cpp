#include "support/Signing.h"

#include "support/BuilderParts.h"

namespace keystrand::test {

using namespace builder;

ByteString publicKeyInfo(const PrivateKey& key) {
  return encoded(key.get(), i2d_PUBKEY);
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
  const DigestContext context = signer(key, wanted, saltLength.value_or(RSA_PSS_SALTLEN_DIGEST));
  std::size_t length = 0;
  require(EVP_DigestSign(context.get(), nullptr, &length, data.data(), data.size()) == 1, "sign");
  ByteString signature(length);
  require(EVP_DigestSign(context.get(), signature.data(), &length, data.data(), data.size()) == 1, "sign");
  signature.resize(length);
  return signature;
}

using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Releaser<&EVP_PKEY_CTX_free>>;

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
