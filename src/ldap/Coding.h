// What the structures of LDAP are made of (RFC 4511 sections 4.1 and 5.1): texts and octets under a tag, optional
// elements at the end of a sequence, lists. All reads give false on malformed input and report nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "der/ElementList.h"
#include "der/Reading.h"
#include "der/StringTags.h"
#include "keystrand/der/Buffer.h"
#include "support/Memory.h"

namespace keystrand {

// The most elements that a list is read with. Servers send far shorter ones; a list of tiny elements would take many
// times its encoding in memory.
constexpr std::size_t kMaxElements = 1024;

// LDAPString and its kin. A text ends at its first NUL; a NULL in its place reads as an empty one, so that no text is
// ever missing.
std::uint32_t sizeField(const Buffer& buffer, const std::string& text, unsigned char tag = kOctetString);
void putField(Buffer& buffer, const std::string& text, unsigned char tag = kOctetString);
bool getField(Buffer& in, std::string& text, unsigned char tag = kOctetString);

// OCTET STRING, primitive form only (RFC 4511 section 5.1). A NULL reads as no octets.
std::uint32_t sizeField(const Buffer& buffer, const Bytes& octets, unsigned char tag = kOctetString);
void putField(Buffer& buffer, const Bytes& octets, unsigned char tag = kOctetString);
bool getField(Buffer& in, Bytes& octets, unsigned char tag = kOctetString);

// A structure with operations of its own, under its own tag or under the one given.
template <class T, class... Tag>
auto sizeField(const Buffer& buffer, const T& part, Tag... tag) -> decltype(part.size(buffer, tag...)) {
  return part.size(buffer, tag...);
}
template <class T, class... Tag>
auto putField(Buffer& buffer, const T& part, Tag... tag) -> decltype(part.encode(buffer, tag...)) {
  part.encode(buffer, tag...);
}
template <class T, class... Tag>
auto getField(Buffer& in, T& part, Tag... tag) -> decltype(part.decode(in, tag...)) {
  return part.decode(in, tag...);
}

// An element that may be missing: read when its tag is the next one in the sequence.
template <class T>
std::uint32_t sizeOptional(const Buffer& buffer, const std::optional<T>& part, unsigned char tag) {
  return part ? sizeField(buffer, *part, tag) : 0;
}
template <class T>
void putOptional(Buffer& buffer, const std::optional<T>& part, unsigned char tag) {
  if (part) putField(buffer, *part, tag);
}
template <class T>
bool getOptional(Buffer& in, const Element& sequence, std::optional<T>& part, unsigned char tag) {
  part.reset();
  return !isNext(sequence, in, tag) || getField(in, part.emplace(), tag);
}

// A BOOLEAN that is false unless it stands there; only what is not 0 is written.
inline std::uint32_t sizeFlag(const Buffer& buffer, unsigned char flag) {
  return flag != 0 ? buffer.sizeByteValue() : 0;
}
inline void putFlag(Buffer& buffer, unsigned char flag, unsigned char tag) {
  if (flag != 0) buffer.putByteValue(flag, tag);
}
inline bool getFlag(Buffer& in, const Element& sequence, unsigned char& flag, unsigned char tag) {
  flag = 0;
  return !isNext(sequence, in, tag) || in.getByteValue(flag, tag);
}

// SEQUENCE OF, SET OF.
template <class T>
std::uint32_t sizeItems(const Buffer& buffer, const std::vector<T>& items) {
  std::uint32_t n = 0;
  for (const T& item : items) n += sizeField(buffer, item);
  return n;
}
template <class T>
std::uint32_t sizeListOf(const Buffer& buffer, const std::vector<T>& items, unsigned char tag) {
  const std::uint32_t n = sizeItems(buffer, items);
  return buffer.sizeHeader(tag, n) + n;
}
template <class T>
void putListOf(Buffer& buffer, const std::vector<T>& items, unsigned char tag) {
  buffer.putHeader(tag, sizeItems(buffer, items));
  for (const T& item : items) putField(buffer, item);
}
template <class T>
bool getListOf(Buffer& in, std::vector<T>& items, unsigned char tag) {
  return getElements(in, tag, items, [&](T& item) { return items.size() <= kMaxElements && getField(in, item); });
}

// Whether a sequence has been read to its end and no further: an element that is not known here makes it fail.
inline bool ends(const Element& sequence, const Buffer& in) {
  return in.readPosition() == sequence.end;
}

}  // namespace keystrand
