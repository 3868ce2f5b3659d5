// An RSA public key of the token (PKCS #11 v2.20 section 12.1.2).
#pragma once

#include "crypto/token/PKCS11PublicKey.h"
#include "keystrand/crypto/RSAPublicKey.h"

namespace keystrand {

class PKCS11RSAPublicKey final : public PKCS11PublicKey {
 public:
  [[nodiscard]] std::shared_ptr<PKCS11Storage> clone() const override {
    return std::make_shared<PKCS11RSAPublicKey>(*this);
  }
  [[nodiscard]] const RSAPublicKey& key() const noexcept { return key_; }

 protected:
  [[nodiscard]] const AttributeTable& table() const override;
  CK_RV prepare() override;

 private:
  RSAPublicKey key_;
};

}  // namespace keystrand
