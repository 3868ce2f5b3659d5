// An elliptic-curve public key of the token (PKCS #11 v2.20 section 12.3.3).
#pragma once

#include "crypto/token/PKCS11PublicKey.h"
#include "keystrand/crypto/ECDSAPublicKey.h"

namespace keystrand {

// The value of CKA_EC_PARAMS: one DER element, EcpkParameters, and nothing behind it.
bool getParameters(std::span<const unsigned char> value, ECParameters& out);

class PKCS11ECDSAPublicKey final : public PKCS11PublicKey {
 public:
  [[nodiscard]] std::shared_ptr<PKCS11Storage> clone() const override {
    return std::make_shared<PKCS11ECDSAPublicKey>(*this);
  }
  [[nodiscard]] const ECDSAPublicKey& key() const noexcept { return key_; }

 protected:
  [[nodiscard]] const AttributeTable& table() const override;
  CK_RV prepare() override;

 private:
  ECDSAPublicKey key_;
};

}  // namespace keystrand
