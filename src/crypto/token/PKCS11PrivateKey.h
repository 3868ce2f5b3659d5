// A private key object (PKCS #11 v2.20 section 10.9).
#pragma once

#include "crypto/token/PKCS11Key.h"

namespace keystrand {

class PKCS11PrivateKey : public PKCS11Key {
 protected:
  static const AttributeTable kTable;
};

}  // namespace keystrand
