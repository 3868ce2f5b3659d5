// A public key object (PKCS #11 v2.20 section 10.8).
#pragma once

#include "crypto/token/PKCS11Key.h"

namespace keystrand {

class PKCS11PublicKey : public PKCS11Key {
 protected:
  static const AttributeTable kTable;
};

}  // namespace keystrand
