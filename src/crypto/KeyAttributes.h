// The key classes as attributes of PKCS #11 (v2.20 sections 12.1, 12.3).
#pragma once

#include "crypto/AttributeTemplate.h"
#include "keystrand/crypto/Key.h"

namespace keystrand {

// The eight integers, in the order of RSAPrivateKey.
constexpr CK_ATTRIBUTE_TYPE kRSAIntegers[] = {CKA_MODULUS, CKA_PUBLIC_EXPONENT, CKA_PRIVATE_EXPONENT, CKA_PRIME_1,
                                              CKA_PRIME_2, CKA_EXPONENT_1,      CKA_EXPONENT_2,       CKA_COEFFICIENT};

// Of an RSAPrivateKey or ECDSAPrivateKey; false, and nothing added, for another key.
bool addPublicParts(AttributeTemplate& attributes, const Key& key);
bool addPrivateParts(AttributeTemplate& attributes, const Key& key);

}  // namespace keystrand
