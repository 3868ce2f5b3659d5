#include "crypto/Octets.h"

#include <memory>

namespace {
constexpr unsigned char kBitStringTag = 0x03;
}

namespace keystrand {

std::span<const unsigned char> presentBytes(const OptionalBytes& bytes) noexcept {
  static constexpr unsigned char kEmpty = 0;
  if (!bytes) return {};
  return bytes->empty() ? std::span<const unsigned char>(&kEmpty, 0) : std::span<const unsigned char>(*bytes);
}

std::uint32_t sizeOctets(const Buffer& buffer, const OptionalBytes& octets) {
  const auto bytes = presentBytes(octets);
  return buffer.sizeOctetString(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

void putOctets(Buffer& buffer, const OptionalBytes& octets) {
  const auto bytes = presentBytes(octets);
  buffer.putOctetString(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

bool getOctets(Buffer& buffer, OptionalBytes& octets) {
  octets.reset();
  unsigned char* bytes = nullptr;
  std::uint32_t n = 0;
  const int form = buffer.getOctetStringRef(bytes, n);
  const std::unique_ptr<unsigned char[]> reassembled(form == 2 ? bytes : nullptr);
  if (form != 0 && bytes != nullptr) octets.emplace(bytes, bytes + n);
  return form != 0;
}

std::uint32_t sizeBits(const Buffer& buffer, const OptionalBytes& bits) {
  return bits ? buffer.sizeBitString(static_cast<std::uint32_t>(bits->size())) : buffer.sizeNull();
}

void putBits(Buffer& buffer, const OptionalBytes& bits, unsigned char unused) {
  const auto bytes = presentBytes(bits);
  if (bits) {
    buffer.putBitString(bytes.data(), static_cast<std::uint32_t>(bytes.size()), unused);
  } else {
    buffer.putNull();
  }
}

bool getBits(Buffer& buffer, OptionalBytes& bits, unsigned char& unused) {
  bits.reset();
  unsigned char tag = 0;
  std::uint32_t n = 0;
  // The reader answers a BIT STRING of no bits and NULL alike, so the tag is looked at first.
  if (!buffer.peekHeader(tag, n)) return false;
  unsigned char* bytes = nullptr;
  const bool read = buffer.getBitString(bytes, n, unused);
  const std::unique_ptr<unsigned char[]> taken(bytes);
  if (read && tag == kBitStringTag) bits.emplace(bytes, bytes + n);
  return read;
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
