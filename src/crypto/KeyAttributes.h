// The key classes as attributes of PKCS #11 (v2.20 sections 12.1, 12.3).
#pragma once

#include "crypto/AttributeTemplate.h"
#include "keystrand/crypto/Key.h"

namespace keystrand {

// Of an RSAPrivateKey or ECDSAPrivateKey; false, and nothing added, for another key.
bool addPublicParts(AttributeTemplate& attributes, const Key& key);
bool addPrivateParts(AttributeTemplate& attributes, const Key& key);

}  // namespace keystrand
