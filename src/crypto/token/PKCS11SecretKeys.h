// The secret keys of the token (PKCS #11 v2.20 sections 12.5, 12.6, 12.11 to 12.13), told apart by their lengths.
#pragma once

#include "crypto/token/PKCS11SecretKey.h"

namespace keystrand {

// A key whose length is the key's own: it shows in CKA_VALUE_LEN.
class PKCS11GenericSecretKey : public PKCS11SecretKey {
 public:
  [[nodiscard]] std::shared_ptr<PKCS11Storage> clone() const override {
    return std::make_shared<PKCS11GenericSecretKey>(*this);
  }

 protected:
  [[nodiscard]] const AttributeTable& table() const override;
  CK_RV prepare() override;
  [[nodiscard]] virtual bool isLength(std::size_t) const { return true; }
};

class PKCS11AESSecretKey final : public PKCS11GenericSecretKey {
 public:
  [[nodiscard]] std::shared_ptr<PKCS11Storage> clone() const override {
    return std::make_shared<PKCS11AESSecretKey>(*this);
  }

 protected:
  [[nodiscard]] bool isLength(std::size_t octets) const override {
    return octets == 16 || octets == 24 || octets == 32;
  }
};

class PKCS11RC2SecretKey final : public PKCS11GenericSecretKey {
 public:
  [[nodiscard]] std::shared_ptr<PKCS11Storage> clone() const override {
    return std::make_shared<PKCS11RC2SecretKey>(*this);
  }

 protected:
  [[nodiscard]] bool isLength(std::size_t octets) const override { return octets >= 1 && octets <= 128; }
};

// One, two or three keys of eight octets with odd parity each.
template <std::size_t Keys>
class PKCS11DESFamilySecretKey final : public PKCS11SecretKey {
 public:
  [[nodiscard]] std::shared_ptr<PKCS11Storage> clone() const override {
    return std::make_shared<PKCS11DESFamilySecretKey>(*this);
  }

 protected:
  [[nodiscard]] const AttributeTable& table() const override { return PKCS11SecretKey::kTable; }
  CK_RV prepare() override;
};

using PKCS11DESSecretKey = PKCS11DESFamilySecretKey<1>;
using PKCS11DES2SecretKey = PKCS11DESFamilySecretKey<2>;
using PKCS11DES3SecretKey = PKCS11DESFamilySecretKey<3>;

}  // namespace keystrand
