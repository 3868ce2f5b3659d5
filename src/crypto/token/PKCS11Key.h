// A key object (PKCS #11 v2.20 section 10.7).
#pragma once

#include "crypto/token/PKCS11Storage.h"

namespace keystrand {

class PKCS11Key : public PKCS11Storage {
 public:
  [[nodiscard]] CK_KEY_TYPE keyType() const { return number(CKA_KEY_TYPE); }
  // Made by the token itself, with that mechanism.
  void setGenerated(CK_MECHANISM_TYPE mechanism);

 protected:
  static const AttributeTable kTable;
};

}  // namespace keystrand
