// An RSA private key of the token (PKCS #11 v2.20 section 12.1.3).
#pragma once

#include "crypto/token/PKCS11PrivateKey.h"
#include "keystrand/crypto/RSAPrivateKey.h"

namespace keystrand {

class PKCS11RSAPrivateKey final : public PKCS11PrivateKey {
 public:
  [[nodiscard]] std::shared_ptr<PKCS11Storage> clone() const override {
    return std::make_shared<PKCS11RSAPrivateKey>(*this);
  }
  [[nodiscard]] const RSAPrivateKey& key() const noexcept { return key_; }

 protected:
  [[nodiscard]] const AttributeTable& table() const override;
  CK_RV prepare() override;

 private:
  RSAPrivateKey key_;
};

}  // namespace keystrand
