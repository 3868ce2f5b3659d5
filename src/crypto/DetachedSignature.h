// Signing with a key and a digest at hand, without a device.
#pragma once

#include <memory>
#include <span>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/Key.h"
#include "keystrand/crypto/MessageDigest.h"
#include "keystrand/crypto/Signature.h"

namespace keystrand {

// By the algorithm RSASSA-PSS, with a salt as long as the digest, or else by PKCS #1 v1.5 or ECDSA as the key is. The
// digester has to be the one that the algorithm names: nobody compares the two. Nothing for a key that cannot sign.
std::unique_ptr<Signature> detachedSignature(std::span<const unsigned char> data, const AlgorithmIdentifier& algorithm,
                                             const Key& key, MessageDigest& digester);

}  // namespace keystrand
