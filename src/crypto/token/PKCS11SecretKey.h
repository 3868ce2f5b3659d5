// A secret key object (PKCS #11 v2.20 section 10.10). What it computes with is the value itself.
#pragma once

#include "crypto/token/PKCS11Key.h"

namespace keystrand {

class PKCS11SecretKey : public PKCS11Key {
 public:
  [[nodiscard]] std::span<const unsigned char> value() const { return bytes(CKA_VALUE); }

 protected:
  static const AttributeTable kTable;
};

}  // namespace keystrand
