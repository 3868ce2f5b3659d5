// Tags, lengths and the headers of constructed values.
#include <algorithm>

#include "der/BufferSteps.h"
#include "der/Element.h"

namespace keystrand {

namespace {

constexpr unsigned char kIndefinite = 0x80;

// Octets of the shortest definite form.
std::uint32_t lengthSize(std::uint32_t n) {
  if (n < 0x80) return 1;
  if (n <= 0xFF) return 2;
  if (n <= 0xFFFF) return 3;
  return n <= 0xFFFFFF ? 4 : 5;
}

std::uint32_t tagSize(std::uint32_t tag) {
  if (tag <= 0xFF) return 1;
  if (tag <= 0xFFFF) return 2;
  return tag <= 0xFFFFFF ? 3 : 4;
}

}  // namespace

// --- lengths -----------------------------------------------------------------------------------------------

void Buffer::putLength(std::uint32_t n) {
  const std::uint32_t octets = lengthSize(n) - 1;
  if (octets != 0) put(static_cast<unsigned char>(0x80 | octets));
  for (std::uint32_t left = std::max(octets, 1U); left-- > 0;) put(static_cast<unsigned char>(n >> 8 * left));
}

std::uint32_t Buffer::sizeLength(std::uint32_t n) const {
  return lengthSize(n);
}

bool Buffer::getLength(std::uint32_t& n) {
  return takeLength(n);
}

// --- headers -----------------------------------------------------------------------------------------------

void Buffer::putHeader(unsigned char tag, std::uint32_t n) {
  put(tag);
  Buffer::putLength(n);
}

void Buffer::putIndefiniteHeader(unsigned char tag) {
  put(tag);
  put(kIndefinite);
}

bool Buffer::getHeader(unsigned char& tag, std::uint32_t& n, bool& definite) {
  return takeHeader(tag, n, definite);
}

bool Buffer::getHeader(unsigned char& tag, std::uint32_t& n) {
  return takeHeader(tag, n);
}

bool Buffer::getIndefiniteHeader(unsigned char& tag) {
  tag = take();
  return take() == kIndefinite;
}

bool Buffer::peekHeader(unsigned char& tag, std::uint32_t& n, bool& definite) {
  clampReadPosition();
  const std::uint32_t start = readPosition_;
  const bool read = takeHeader(tag, n, definite);
  readPosition_ = start;
  return read;
}

bool Buffer::peekHeader(unsigned char& tag, std::uint32_t& n) {
  bool definite = true;
  return Buffer::peekHeader(tag, n, definite);
}

bool Buffer::peekIndefiniteHeader(unsigned char& tag) {
  clampReadPosition();
  tag = peek(readPosition_);
  return peek(std::uint64_t{readPosition_} + 1) == kIndefinite;
}

std::uint32_t Buffer::sizeHeader(unsigned char /*tag*/, std::uint32_t n) const {
  return 1 + lengthSize(n);
}

std::uint32_t Buffer::sizeIndefiniteHeader(unsigned char /*tag*/) const {
  return 2;
}

// --- SEQUENCE and SET --------------------------------------------------------------------------------------

void Buffer::putSequence(std::uint32_t n) {
  Buffer::putHeader(kSequence, n);
}

void Buffer::putSequenceIndefinite() {
  Buffer::putIndefiniteHeader(kSequence);
}

std::uint32_t Buffer::sizeSequence(std::uint32_t n) const {
  return 1 + lengthSize(n) + n;
}

std::uint32_t Buffer::sizeSequenceIndefinite() const {
  return 2;
}

bool Buffer::getSequence(std::uint32_t& n, bool& definite) {
  unsigned char tag = 0;
  return takeHeader(tag, n, definite) && tag == kSequence;
}

bool Buffer::getSequence(std::uint32_t& n) {
  unsigned char tag = 0;
  return takeHeader(tag, n) && tag == kSequence;
}

bool Buffer::getSequenceIndefinite() {
  unsigned char tag = 0;
  return Buffer::getIndefiniteHeader(tag) && tag == kSequence;
}

void Buffer::putSet(std::uint32_t n) {
  Buffer::putHeader(kSet, n);
}

std::uint32_t Buffer::sizeSet(std::uint32_t n) const {
  return 1 + lengthSize(n) + n;
}

bool Buffer::getSet(std::uint32_t& n, bool& definite) {
  unsigned char tag = 0;
  return takeHeader(tag, n, definite) && tag == kSet;
}

bool Buffer::getSet(std::uint32_t& n) {
  unsigned char tag = 0;
  return takeHeader(tag, n) && tag == kSet;
}

// --- wide tags ---------------------------------------------------------------------------------------------

void Buffer::putWide(std::uint32_t tag, std::uint32_t n, const unsigned char* bytes) {
  for (std::uint32_t left = tagSize(tag); left-- > 0;) put(static_cast<unsigned char>(tag >> 8 * left));
  Buffer::putLength(n);
  Buffer::putBytes(bytes, n);
}

std::uint32_t Buffer::sizeWide(std::uint32_t tag, std::uint32_t n) const {
  return Buffer::sizeWideHeader(tag, n) + n;
}

std::uint32_t Buffer::sizeWideHeader(std::uint32_t tag, std::uint32_t n) const {
  return tagSize(tag) + lengthSize(n);
}

}  // namespace keystrand
