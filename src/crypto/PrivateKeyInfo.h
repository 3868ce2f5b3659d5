// PrivateKeyInfo (RFC 5208 section 5) of RSA and elliptic-curve keys: how a private key leaves a token, enciphered.
#pragma once

#include <memory>
#include <span>

#include "keystrand/crypto/Key.h"
#include "support/SecretBytes.h"

namespace keystrand {

// Empty for a key of another kind.
SecretBytes putPrivateKeyInfo(const Key& key);
// The octets behind the structure, padding for example, do not matter; nullptr when there is none.
std::unique_ptr<Key> getPrivateKeyInfo(std::span<const unsigned char> octets);

}  // namespace keystrand
