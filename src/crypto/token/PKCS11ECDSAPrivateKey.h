// An elliptic-curve private key of the token (PKCS #11 v2.20 section 12.3.4).
#pragma once

#include "crypto/token/PKCS11PrivateKey.h"
#include "keystrand/crypto/ECDSAPrivateKey.h"

namespace keystrand {

class PKCS11ECDSAPrivateKey final : public PKCS11PrivateKey {
 public:
  [[nodiscard]] std::shared_ptr<PKCS11Storage> clone() const override {
    return std::make_shared<PKCS11ECDSAPrivateKey>(*this);
  }
  [[nodiscard]] const ECDSAPrivateKey& key() const noexcept { return key_; }

 protected:
  [[nodiscard]] const AttributeTable& table() const override;
  CK_RV prepare() override;

 private:
  ECDSAPrivateKey key_;
};

}  // namespace keystrand
