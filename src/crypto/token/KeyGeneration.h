// Keys that the token makes itself (PKCS #11 v2.20 section 11.14): random ones, pairs, and keys out of passwords.
#pragma once

#include <p11-kit/pkcs11.h>

#include <memory>
#include <span>

#include "crypto/SystemRandomGenerator.h"
#include "crypto/token/PKCS11Key.h"

namespace keystrand {

using KeyTemplate = std::span<const CK_ATTRIBUTE>;

// The object of a key whose secret attributes are given in front of what a template says. What both name must agree.
// `consumed` are attributes of the template that are no attributes of the object.
class AttributeTemplate;
CK_RV makeKey(const AttributeTemplate& own, KeyTemplate given, std::span<const CK_ATTRIBUTE_TYPE> consumed,
              std::shared_ptr<PKCS11Key>& out);

// C_GenerateKey. A password mechanism also writes the initialisation vector where its parameter says.
CK_RV generateSecretKey(const CK_MECHANISM& mechanism, KeyTemplate given, RandomGenerator& random,
                        std::shared_ptr<PKCS11Key>& out);
// C_GenerateKeyPair.
CK_RV generatePair(const CK_MECHANISM& mechanism, KeyTemplate publicGiven, KeyTemplate privateGiven,
                   RandomGenerator& random, std::shared_ptr<PKCS11Key>& publicKey,
                   std::shared_ptr<PKCS11Key>& privateKey);

// Octets of a key of that type, 0 where its length is its own.
CK_ULONG fixedLength(CK_KEY_TYPE type);
void setOddParity(std::span<unsigned char> key);

}  // namespace keystrand
