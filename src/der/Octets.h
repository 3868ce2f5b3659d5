// OCTET STRINGs and BIT STRINGs that may be absent, between a structure and its encoding.
#pragma once

#include <cstdint>
#include <vector>

#include "keystrand/der/Buffer.h"
#include "keystrand/der/OctetValue.h"

namespace keystrand {

// OCTET STRING (X.690 8.7) in any of its forms; one of several segments in the definite form is refused. An absent one
// stands as NULL on the wire.
std::uint32_t sizeOctets(const Buffer& buffer, const OctetValue& octets);
void putOctets(Buffer& buffer, const OctetValue& octets);
bool getOctets(Buffer& buffer, OctetValue& octets);
// Under a tag of its own.
bool getOctets(Buffer& buffer, OctetValue& octets, unsigned char tag);

// BIT STRING (X.690 8.6); an absent one stands as NULL on the wire.
std::uint32_t sizeBits(const Buffer& buffer, const OctetValue& bits);
void putBits(Buffer& buffer, const OctetValue& bits, unsigned char unused);
bool getBits(Buffer& buffer, OctetValue& bits, unsigned char& unused);
// Under a tag of its own.
bool getBits(Buffer& buffer, OctetValue& bits, unsigned char& unused, unsigned char tag);

// One element of any content kept as it stands, header and all; false unless it carries this tag in the definite form
// and lies within the buffer.
bool getRaw(Buffer& buffer, unsigned char tag, std::vector<unsigned char>& element);

}  // namespace keystrand
