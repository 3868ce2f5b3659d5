// Octets that may be absent, as members of the crypto structures. An absent value stands as NULL on the wire, so an
// empty one and an absent one come back each as it arrived.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "keystrand/der/Buffer.h"

namespace keystrand {

using OptionalBytes = std::optional<std::vector<unsigned char>>;

// The bytes for a writer: never a null pointer for a value that is present, though it be empty.
std::span<const unsigned char> presentBytes(const OptionalBytes& bytes) noexcept;

// OCTET STRING (X.690 8.7); NULL reads as absent.
std::uint32_t sizeOctets(const Buffer& buffer, const OptionalBytes& octets);
void putOctets(Buffer& buffer, const OptionalBytes& octets);
bool getOctets(Buffer& buffer, OptionalBytes& octets);

// BIT STRING (X.690 8.6); NULL reads as absent.
std::uint32_t sizeBits(const Buffer& buffer, const OptionalBytes& bits);
void putBits(Buffer& buffer, const OptionalBytes& bits, unsigned char unused);
bool getBits(Buffer& buffer, OptionalBytes& bits, unsigned char& unused);

// One element of any content kept as it stands, header and all; false unless it carries this tag in the definite form
// and lies within the buffer.
bool getRaw(Buffer& buffer, unsigned char tag, std::vector<unsigned char>& element);

}  // namespace keystrand
