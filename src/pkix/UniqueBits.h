// A BIT STRING at the optional place of a structure, as UniqueIdentifier (RFC 5280 section 4.1.2.8) has it where it
// carries its own tag.
#pragma once

#include <cstdint>

#include "der/Octets.h"
#include "der/Reading.h"
#include "der/StringTags.h"

namespace keystrand {

inline std::uint32_t sizeOptionalBits(const Buffer& buffer, const OctetValue& bits) {
  return bits.present() ? sizeBits(buffer, bits) : 0;
}

inline void putOptionalBits(Buffer& buffer, const OctetValue& bits, unsigned char unused) {
  if (bits.present()) putBits(buffer, bits, unused);
}

inline bool getOptionalBits(const Element& body, Buffer& in, OctetValue& bits, unsigned char& unused) {
  bits.clear();
  unused = 0;
  return !isNext(body, in, kBitString) || getBits(in, bits, unused);
}

}  // namespace keystrand
