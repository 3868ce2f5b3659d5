// EMSA-PSS, the encoding of RSASSA-PSS (RFC 8017 section 9.1). The mask generation function is MGF1 with the hash of
// the message, and the salt is as long as the hash.
#pragma once

#include <optional>
#include <span>

#include "keystrand/crypto/MessageDigest.h"
#include "support/Memory.h"

namespace keystrand {

// Whether `block`, the result of the public operation with a modulus of `modulusBits`, as long as that modulus, encodes
// this digest of a message, made with `hash`.
bool isPSSEncoded(std::span<const unsigned char> block, int modulusBits, std::span<const unsigned char> digest,
                  MessageDigest& hash);

// The block, as long as the modulus, that encodes this digest; nothing when the modulus has not the room.
std::optional<Bytes> encodePSS(int modulusBits, std::span<const unsigned char> digest,
                               std::span<const unsigned char> salt, MessageDigest& hash);

}  // namespace keystrand
