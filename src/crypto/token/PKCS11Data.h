// A data object (PKCS #11 v2.20 section 10.5).
#pragma once

#include "crypto/token/PKCS11Storage.h"

namespace keystrand {

class PKCS11Data final : public PKCS11Storage {
 public:
  [[nodiscard]] std::shared_ptr<PKCS11Storage> clone() const override { return std::make_shared<PKCS11Data>(*this); }

 protected:
  [[nodiscard]] const AttributeTable& table() const override;
};

}  // namespace keystrand
