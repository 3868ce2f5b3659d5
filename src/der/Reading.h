// Steps that most decoders of this library are made of.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "der/Element.h"
#include "keystrand/der/Buffer.h"
#include "keystrand/support/PointerList.h"

namespace keystrand {

// The tag of the next element, stray end-of-contents octets passed over; 0 where no header can be read.
inline unsigned char nextTag(Buffer& in) {
  unsigned char tag = 0;
  std::uint32_t n = 0;
  return in.peekHeader(tag, n) ? tag : static_cast<unsigned char>(0);
}

// A new part, read from the buffer into its owner; what was read so far stays there when it fails.
template <class T, class... Tag>
bool getNew(std::unique_ptr<T>& part, Buffer& in, Tag... tag) {
  part = std::make_unique<T>();
  return part->get(in, tag...);
}

// Opens a constructed element of definite length whose content lies within the buffer.
inline bool openWhole(Element& element, Buffer& in, unsigned char tag) {
  return element.open(in, tag) && element.left(in) <= in.remaining();
}

// The same for one that may have the indefinite form: extension values ought to be DER, and not all of them are.
inline bool openAnyWhole(Element& element, Buffer& in, unsigned char tag) {
  return element.openAny(in, tag) && (!element.definite || element.left(in) <= in.remaining());
}

// The end-of-contents octets of the indefinite form (X.690 8.1.5).
inline bool readEnd(const Element& element, Buffer& in) {
  return element.definite || in.getEndOfContents();
}

// Whether an element goes on, and with this tag.
inline bool isNext(const Element& element, Buffer& in, unsigned char tag) {
  return !element.atEnd(in) && nextTag(in) == tag;
}

// Moves the cursor to the end of an element, over content that its reader left unread; false when it read beyond.
inline bool close(const Element& element, Buffer& in) {
  if (!element.definite) return in.getEndOfContents();
  if (in.readPosition() > element.end) return false;
  in.setReadPosition(element.end);
  return true;
}

// The elements of the list that this tag opens, each read by its own get. When one fails those before it stay.
template <class T, class AnyBuffer>
bool getList(OwnedList<T>& items, AnyBuffer& in, unsigned char tag = kSequence) {
  Element list;
  items.clearAll();
  if (!openWhole(list, in, tag)) return false;
  while (!list.atEnd(in)) {
    const std::uint32_t before = in.readPosition();
    auto element = std::make_unique<T>();
    if (!element->get(in) || in.readPosition() == before) return false;
    items.append(std::move(element));
  }
  return true;
}

// Bytes that the elements of a list take together.
template <class T>
std::uint32_t sizeOfAll(const OwnedList<T>& items, const Buffer& buffer) {
  std::uint32_t n = 0;
  for (int i = 0; i < items.count(); ++i) n += items.view(i)->size(buffer);
  return n;
}

// A part inside an explicit tag (X.690 8.14.2).
template <class T>
std::uint32_t sizeWrapped(const T& part, const Buffer& buffer, unsigned char tag) {
  const std::uint32_t n = part.size(buffer);
  return buffer.sizeHeader(tag, n) + n;
}
template <class T>
void putWrapped(const T& part, Buffer& buffer, unsigned char tag) {
  buffer.putHeader(tag, part.size(buffer));
  part.put(buffer);
}

template <class T>
void putAll(const OwnedList<T>& items, Buffer& buffer) {
  for (int i = 0; i < items.count(); ++i) items.view(i)->put(buffer);
}

}  // namespace keystrand
