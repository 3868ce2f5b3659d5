// Values without a string in them: INTEGER, ENUMERATED, BOOLEAN, NULL, OBJECT IDENTIFIER.
#include <algorithm>
#include <iterator>

#include "der/BufferSteps.h"
#include "keystrand/der/OID.h"

namespace keystrand {

namespace {

constexpr unsigned char kBoolean = 1;
constexpr unsigned char kInteger = 2;
constexpr unsigned char kObjectIdentifier = 6;
constexpr unsigned char kEnumerated = 10;

// Content octets of the shortest two's complement form (X.690 8.3.2): leading octets go while the top nine bits agree.
std::uint32_t integerOctets(std::int32_t value) {
  auto bits = static_cast<std::uint32_t>(value);
  std::uint32_t octets = 4;
  for (; octets > 1 && (bits >> 23 == 0 || bits >> 23 == 0x1FF); --octets) bits <<= 8;
  return octets;
}

std::uint32_t subidentifierOctets(std::uint64_t value) {
  std::uint32_t octets = 1;
  while ((value >>= 7) != 0) ++octets;
  return octets;
}

// Arcs 0 and 1 share the first subidentifier (X.690 8.19.4).
std::uint64_t firstSubidentifier(std::span<const std::uint32_t> arcs) {
  return arcs.size() < 2 ? 0 : std::uint64_t{arcs[0]} * 40 + arcs[1];
}

std::span<const std::uint32_t> furtherArcs(std::span<const std::uint32_t> arcs) {
  return arcs.subspan(std::min<std::size_t>(arcs.size(), 2));
}

std::uint32_t oidOctets(std::span<const std::uint32_t> arcs) {
  std::uint32_t octets = subidentifierOctets(firstSubidentifier(arcs));
  for (const std::uint32_t arc : furtherArcs(arcs)) octets += subidentifierOctets(arc);
  return octets;
}

void setFirstArcs(OID& oid, std::uint32_t subidentifier) {
  oid.setArc(0, subidentifier >= 80 ? 2 : subidentifier / 40);
  oid.setArc(1, subidentifier >= 80 ? subidentifier - 80 : subidentifier % 40);
}

// Gives the number of arcs, one above what an OID holds when there were more. Subidentifiers wrap at 32 bits, as arcs
// have no more; padding octets 0x80 are accepted.
int readArcs(std::span<const unsigned char> content, OID& oid) {
  int count = 1;
  std::uint32_t value = 0;
  for (const unsigned char octet : content) {
    value = value << 7 | (octet & 0x7FU);
    if ((octet & 0x80) != 0) continue;
    if (count == 1)
      setFirstArcs(oid, value);
    else if (count < OID::kMaxArcs)
      oid.setArc(count, value);
    count = std::min(count + 1, OID::kMaxArcs + 1);
    value = 0;
  }
  return count;
}

}  // namespace

// --- INTEGER that fits in 32 bits --------------------------------------------------------------------------

void Buffer::putInteger(std::int32_t value, unsigned char tag) {
  const std::uint32_t octets = integerOctets(value);
  Buffer::putHeader(tag, octets);
  for (std::uint32_t left = octets; left-- > 0;)
    put(static_cast<unsigned char>(static_cast<std::uint32_t>(value) >> 8 * left));
}

void Buffer::putInteger(std::int32_t value) {
  Buffer::putInteger(value, kInteger);
}

std::uint32_t Buffer::sizeInteger(std::int32_t value, unsigned char /*tag*/) const {
  return 2 + integerOctets(value);
}

std::uint32_t Buffer::sizeInteger(std::int32_t value) const {
  return 2 + integerOctets(value);
}

// A longer integer, or another element, is passed over as a whole, so that the next get starts behind it. No content at
// all reads as four guard bytes and leaves nothing for whatever follows.
bool Buffer::getInteger(std::int32_t& value, unsigned char tag) {
  unsigned char found = 0;
  std::uint32_t n = 0;
  if (!takeHeader(found, n)) return false;
  if (found != tag || n > 4) {
    Buffer::setReadPosition(std::uint64_t{readPosition_} + n);
    return false;
  }
  if (n == 0) {
    readPosition_ = limit_;
    value = 0x01010101;
    return true;
  }
  std::span<const unsigned char> content;
  if (!view(n, content)) return false;
  std::uint32_t bits = (content[0] & 0x80) != 0 ? ~0U : 0U;
  for (const unsigned char octet : content) bits = bits << 8 | octet;
  value = static_cast<std::int32_t>(bits);
  return true;
}

bool Buffer::getInteger(std::int32_t& value) {
  return Buffer::getInteger(value, kInteger);
}

// --- one-byte values ---------------------------------------------------------------------------------------

void Buffer::putByteValue(unsigned char value, unsigned char tag) {
  put(tag);
  put(1);
  put(value);
}

std::uint32_t Buffer::sizeByteValue() const {
  return 3;
}

// Without content octets the byte behind the header is taken for the value.
bool Buffer::getByteValue(unsigned char& value, unsigned char tag) {
  unsigned char found = 0;
  std::uint32_t n = 0;
  takeHeader(found, n);
  if (n > 1 || found != tag || n > remaining()) return false;
  value = take();
  return true;
}

void Buffer::putByteInteger(unsigned char value) {
  Buffer::putByteValue(value, kInteger);
}
std::uint32_t Buffer::sizeByteInteger() const {
  return 3;
}
bool Buffer::getByteInteger(unsigned char& value) {
  return Buffer::getByteValue(value, kInteger);
}

void Buffer::putEnumerated(unsigned char value) {
  Buffer::putByteValue(value, kEnumerated);
}
std::uint32_t Buffer::sizeEnumerated() const {
  return 3;
}
bool Buffer::getEnumerated(unsigned char& value) {
  return Buffer::getByteValue(value, kEnumerated);
}

// The byte as it stands: whoever wants TRUE as 0xFF gives 0xFF.
void Buffer::putBoolean(unsigned char value) {
  Buffer::putByteValue(value, kBoolean);
}
std::uint32_t Buffer::sizeBoolean() const {
  return 3;
}
bool Buffer::getBoolean(unsigned char& value) {
  return Buffer::getByteValue(value, kBoolean);
}

// --- empty values ------------------------------------------------------------------------------------------

void Buffer::putEmpty(unsigned char tag) {
  put(tag);
  put(0);
}

bool Buffer::getEmpty(unsigned char tag) {
  unsigned char found = 0;
  std::uint32_t n = 0;
  return takeHeader(found, n) && found == tag && n == 0;
}

void Buffer::putNull() {
  Buffer::putEmpty(kNull);
}
std::uint32_t Buffer::sizeNull() const {
  return 2;
}
bool Buffer::getNull() {
  return Buffer::getEmpty(kNull);
}

// --- OBJECT IDENTIFIER (X.690 8.19) ------------------------------------------------------------------------

void Buffer::putOID(const OID& oid, unsigned char tag) {
  const auto putSubidentifier = [this](std::uint64_t value) {
    for (std::uint32_t left = subidentifierOctets(value); left-- > 0;)
      put(static_cast<unsigned char>((value >> 7 * left & 0x7F) | (left != 0 ? 0x80 : 0)));
  };
  const std::span<const std::uint32_t> arcs = oid.arcs();
  Buffer::putHeader(tag, oidOctets(arcs));
  putSubidentifier(firstSubidentifier(arcs));
  for (const std::uint32_t arc : furtherArcs(arcs)) putSubidentifier(arc);
}

void Buffer::putOID(const OID& oid) {
  Buffer::putOID(oid, kObjectIdentifier);
}

std::uint32_t Buffer::sizeOID(const OID& oid) const {
  const std::uint32_t octets = oidOctets(oid.arcs());
  return Buffer::sizeHeader(kObjectIdentifier, octets) + octets;
}

bool Buffer::getOID(OID& oid, unsigned char tag) {
  unsigned char found = 0;
  std::uint32_t n = 0;
  std::span<const unsigned char> content;
  if (!takeHeader(found, n) || found != tag || !view(n, content)) return false;
  if (!content.empty() && (content.back() & 0x80) != 0) return false;  // a subidentifier without an end
  if (oid.overflow()) oid = OID();                                     // the mark would stay
  if (content.empty()) {
    setFirstArcs(oid, 0);
    oid.setCount(2);
  } else {
    oid.setCount(readArcs(content, oid));
  }
  return true;
}

bool Buffer::getOID(OID& oid) {
  return Buffer::getOID(oid, kObjectIdentifier);
}

}  // namespace keystrand
