// Certificate objects (PKCS #11 v2.20 section 10.6): kept as given, never decoded.
#pragma once

#include "crypto/token/PKCS11Storage.h"

namespace keystrand {

class PKCS11Certificate : public PKCS11Storage {
 protected:
  static const AttributeTable kTable;
};

// CKC_X_509.
class PKCS11PublicKeyCertificate final : public PKCS11Certificate {
 public:
  [[nodiscard]] std::shared_ptr<PKCS11Storage> clone() const override {
    return std::make_shared<PKCS11PublicKeyCertificate>(*this);
  }

 protected:
  [[nodiscard]] const AttributeTable& table() const override;
  CK_RV prepare() override;
};

// CKC_VENDOR_DEFINED.
class PKCS11VendorDefinedCertificate final : public PKCS11Certificate {
 public:
  [[nodiscard]] std::shared_ptr<PKCS11Storage> clone() const override {
    return std::make_shared<PKCS11VendorDefinedCertificate>(*this);
  }

 protected:
  [[nodiscard]] const AttributeTable& table() const override;
};

}  // namespace keystrand
