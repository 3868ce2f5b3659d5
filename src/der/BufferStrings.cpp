// OCTET STRING, BIT STRING and text: with copies, and as views.
#include "der/BufferSteps.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

constexpr unsigned char kConstructedOctetString = 0x24;

std::uint32_t sizeOf(std::span<const unsigned char> content) {
  return static_cast<std::uint32_t>(content.size());
}

owner<char*> copyText(std::span<const unsigned char> content) {
  if (content.data() == nullptr) return nullptr;
  return newText({reinterpret_cast<const char*>(content.data()), content.size()});
}

}  // namespace

// --- text --------------------------------------------------------------------------------------------------

void Buffer::putText(const char* text, unsigned char tag) {
  const std::size_t n = text != nullptr ? std::strlen(text) : 0;
  if (n > kMaxSize) return;
  Buffer::putHeader(tag, static_cast<std::uint32_t>(n));
  putRaw(text, static_cast<std::uint32_t>(n));
}

std::uint32_t Buffer::sizeText(const char* text, unsigned char tag) const {
  const auto n = static_cast<std::uint32_t>(text != nullptr ? std::strlen(text) : 0);
  return Buffer::sizeHeader(tag, n) + n;
}

bool Buffer::getText(char*& text, unsigned char tag) {
  std::span<const unsigned char> content;
  const bool read = takeValue(tag, content);
  text = copyText(content);
  return read;
}

// --- OCTET STRING ------------------------------------------------------------------------------------------

void Buffer::putOctetString(const unsigned char* bytes, std::uint32_t n, unsigned char tag) {
  if (bytes == nullptr) return Buffer::putNull();
  if (n > kMaxSize) return;
  Buffer::putHeader(tag, n);
  putRaw(bytes, n);
}

void Buffer::putOctetString(const unsigned char* bytes, std::uint32_t n) {
  Buffer::putOctetString(bytes, n, kOctetString);
}

void Buffer::putOctetString(const char* text) {
  if (text == nullptr) return Buffer::putNull();
  Buffer::putText(text, kOctetString);
}

std::uint32_t Buffer::sizeOctetString(const unsigned char* bytes, std::uint32_t n, unsigned char tag) const {
  return bytes == nullptr ? Buffer::sizeNull() : Buffer::sizeHeader(tag, n) + n;
}

std::uint32_t Buffer::sizeOctetString(const unsigned char* bytes, std::uint32_t n) const {
  return Buffer::sizeOctetString(bytes, n, kOctetString);
}

std::uint32_t Buffer::sizeOctetString(const char* text) const {
  return text == nullptr ? Buffer::sizeNull() : Buffer::sizeText(text, kOctetString);
}

// The twins for text add a NUL and know the primitive form only; the one for bytes adds none and takes the constructed
// form too.
bool Buffer::getOctetString(char*& text, std::uint32_t& n) {
  std::span<const unsigned char> content;
  const bool read = takeValue(kOctetString, content);
  text = copyText(content);
  n = sizeOf(content);
  return read;
}

bool Buffer::getOctetString(char*& text) {
  std::uint32_t n = 0;
  return Buffer::getOctetString(text, n);
}

bool Buffer::getOctetString(unsigned char*& bytes, std::uint32_t& n, unsigned char tag) {
  std::span<const unsigned char> content;
  const bool read = takeValue(tag, content);
  bytes = newBytes(content);
  n = sizeOf(content);
  return read;
}

// A mismatch of tag or length copies nothing and is not told: the fixed-size fields of old files are read this way.
bool Buffer::getOctetString(std::span<unsigned char> dest) {
  unsigned char tag = 0;
  std::uint32_t n = 0;
  if (!takeHeader(tag, n)) return false;
  if (tag != kOctetString || n != dest.size()) return true;
  std::span<const unsigned char> content;
  if (!view(n, content)) return false;
  if (n != 0) std::memcpy(dest.data(), content.data(), n);
  return true;
}

bool Buffer::getOctetString(unsigned char*& bytes, std::uint32_t& n) {
  const int form = Buffer::getOctetStringRef(bytes, n);
  if (form == 1) bytes = newBytes({bytes, n});
  return form != 0;
}

bool Buffer::getOctetStringRef(unsigned char*& bytes, std::uint32_t& n, unsigned char tag) {
  std::span<const unsigned char> content;
  const bool read = takeValue(tag, content);
  n = sizeOf(content);
  bytes = content.data() != nullptr ? data_.get() + (readPosition_ - n) : nullptr;
  return read;
}

int Buffer::getOctetStringRef(unsigned char*& bytes, std::uint32_t& n) {
  clampReadPosition();
  const std::uint32_t start = readPosition_;
  unsigned char tag = 0;
  bool definite = true;
  bytes = nullptr;
  if (!takeHeader(tag, n, definite)) {
    n = 0;
    return 0;
  }
  if (tag == kConstructedOctetString) return reassembleOctetString(bytes, n, definite) ? 2 : 0;
  readPosition_ = start;
  return Buffer::getOctetStringRef(bytes, n, kOctetString) ? 1 : 0;
}

// The indefinite form joins all its segments. The definite form gives the first segment alone, in an array of the outer
// length, and leaves the others unread: objects that were stored this way are read back this way.
bool Buffer::reassembleOctetString(unsigned char*& bytes, std::uint32_t& n, bool definite) {
  if (!definite) return joinSegments(bytes, n);
  const std::uint32_t outer = n;
  n = 0;
  unsigned char tag = 0;
  std::uint32_t inner = 0;
  std::span<const unsigned char> segment;
  if (outer == 0 || outer > remaining() || !takeHeader(tag, inner) || tag != kOctetString || inner > outer ||
      !view(inner, segment))
    return false;
  bytes = new unsigned char[outer]();
  if (inner != 0) std::memcpy(bytes, segment.data(), inner);
  n = outer;
  return true;
}

// The sum of the segments' lengths, with the cursor behind the end of contents.
bool Buffer::sumSegments(std::uint32_t& sum) noexcept {
  for (sum = 0; peek(readPosition_) != 0;) {
    std::span<const unsigned char> segment;
    unsigned char tag = 0;
    std::uint32_t n = 0;
    if (!takeHeader(tag, n) || tag != kOctetString || !view(n, segment)) return false;
    sum += n;
  }
  return take() == 0 && take() == 0;
}

// Two passes, so that the array is made once and no longer than the segments are.
bool Buffer::joinSegments(unsigned char*& bytes, std::uint32_t& n) {
  const std::uint32_t start = readPosition_;
  n = 0;
  std::uint32_t sum = 0;
  if (!sumSegments(sum)) return false;
  const std::uint32_t end = readPosition_;
  bytes = new unsigned char[sum];
  readPosition_ = start;
  while (n < sum) {
    std::span<const unsigned char> segment;
    takeValue(kOctetString, segment);
    if (!segment.empty()) std::memcpy(bytes + n, segment.data(), segment.size());
    n += sizeOf(segment);
  }
  readPosition_ = end;
  return true;
}

// --- BIT STRING (X.690 8.6) --------------------------------------------------------------------------------

std::uint32_t Buffer::sizeBitString(std::uint32_t n) const {
  return Buffer::sizeHeader(kBitString, n + 1) + n + 1;
}

// Null bytes leave the header alone, under the tag of NULL but with the length of the bits: an absent BIT STRING is
// written with putNull() instead.
void Buffer::putBitString(const unsigned char* bytes, std::uint32_t n, unsigned char unused, unsigned char tag) {
  if (n >= kMaxSize) return;
  Buffer::putHeader(bytes != nullptr ? tag : kNull, n + 1);
  if (bytes == nullptr) return;
  put(unused);
  putRaw(bytes, n);
}

void Buffer::putBitString(const unsigned char* bytes, std::uint32_t n, unsigned char unused) {
  Buffer::putBitString(bytes, n, unused, kBitString);
}

// The bits in place: null for NULL and for no bits at all, which needs no unused ones then.
bool Buffer::takeBitString(std::span<const unsigned char>& bits, unsigned char& unused, unsigned char tag) noexcept {
  std::span<const unsigned char> content;
  bits = {};
  unused = 0;
  if (!takeValue(tag, content)) return false;
  if (content.data() == nullptr) return true;
  if (content.empty()) return false;
  unused = content.front();
  if (content.size() > 1) bits = content.subspan(1);
  return true;
}

bool Buffer::getBitString(unsigned char*& bytes, std::uint32_t& n, unsigned char& unused, unsigned char tag) {
  std::span<const unsigned char> bits;
  const bool read = takeBitString(bits, unused, tag);
  bytes = newBytes(bits);
  n = sizeOf(bits);
  if (n != 0) bytes[n - 1] = static_cast<unsigned char>(unused < 8 ? bytes[n - 1] & 0xFF << unused : 0);
  return read;
}

bool Buffer::getBitString(unsigned char*& bytes, std::uint32_t& n, unsigned char& unused) {
  return Buffer::getBitString(bytes, n, unused, kBitString) && (n != 0 || unused == 0);
}

void Buffer::putBitStringHeader(std::uint32_t n, unsigned char unused) {
  if (n >= kMaxSize) return;
  Buffer::putHeader(kBitString, n + 1);
  put(unused);
}

bool Buffer::getBitStringHeader(std::uint32_t& n, unsigned char& unused) {
  unsigned char tag = 0;
  unused = 0;
  if (!takeHeader(tag, n)) return false;
  if (n == 0) return tag == kNull;
  --n;
  if (remaining() == 0) return false;
  unused = take();
  return true;
}

}  // namespace keystrand
