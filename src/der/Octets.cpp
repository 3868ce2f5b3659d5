#include "der/Octets.h"

#include "der/StringTags.h"

namespace keystrand {

namespace {

// What a reader of the Buffer handed out. It gives a null pointer for a string of no bits too, which is present here.
bool take(OctetValue& value, bool read, unsigned char* bytes, std::uint32_t n, bool present) {
  value.adopt(read && present && bytes == nullptr ? new unsigned char[0] : bytes, n);
  return read;
}

}  // namespace

std::uint32_t sizeOctets(const Buffer& buffer, const OctetValue& octets) {
  return buffer.sizeOctetString(octets.data(), octets.size());
}

void putOctets(Buffer& buffer, const OctetValue& octets) {
  buffer.putOctetString(octets.data(), octets.size());
}

// Of segments in the definite form the first is read, with the length of all. A string that so becomes longer than what
// it took is refused: what stands behind the first segment could claim the same room again, and be many.
bool getOctets(Buffer& buffer, OctetValue& octets) {
  const std::uint32_t start = buffer.readPosition();
  unsigned char* bytes = nullptr;
  std::uint32_t n = 0;
  const bool read = buffer.getOctetString(bytes, n);
  return take(octets, read, bytes, n, false) && n <= buffer.readPosition() - start;
}

bool getOctets(Buffer& buffer, OctetValue& octets, unsigned char tag) {
  unsigned char* bytes = nullptr;
  std::uint32_t n = 0;
  const bool read = buffer.getOctetString(bytes, n, tag);
  return take(octets, read, bytes, n, false);
}

std::uint32_t sizeBits(const Buffer& buffer, const OctetValue& bits) {
  return bits.present() ? buffer.sizeBitString(bits.size()) : buffer.sizeNull();
}

void putBits(Buffer& buffer, const OctetValue& bits, unsigned char unused) {
  if (bits.present()) {
    buffer.putBitString(bits.data(), bits.size(), unused);
  } else {
    buffer.putNull();
  }
}

bool getBits(Buffer& buffer, OctetValue& bits, unsigned char& unused) {
  unsigned char tag = 0;
  std::uint32_t n = 0;
  unsigned char* bytes = nullptr;
  const bool read = buffer.peekHeader(tag, n) && buffer.getBitString(bytes, n, unused);
  return take(bits, read, bytes, n, tag == kBitString);
}

bool getBits(Buffer& buffer, OctetValue& bits, unsigned char& unused, unsigned char tag) {
  std::uint32_t n = 0;
  unsigned char found = 0;
  unsigned char* bytes = nullptr;
  const bool read = buffer.peekHeader(found, n) && buffer.getBitString(bytes, n, unused, tag);
  return take(bits, read, bytes, n, found == tag);
}

bool getRaw(Buffer& buffer, unsigned char tag, std::vector<unsigned char>& element) {
  const std::uint64_t start = buffer.readPosition();
  unsigned char found = 0;
  std::uint32_t n = 0;
  bool definite = false;
  std::span<const unsigned char> content;
  if (buffer.peekByte() != tag || !buffer.getHeader(found, n, definite) || !definite || !buffer.view(n, content)) {
    return false;
  }
  const auto bytes = buffer.range(start, buffer.readPosition());
  element.assign(bytes.begin(), bytes.end());
  return true;
}

}  // namespace keystrand
