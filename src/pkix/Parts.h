// Parts of a structure that may be absent, whether a pointer or an optional holds them.
#pragma once

#include <cstdint>
#include <optional>

#include "der/Reading.h"
#include "support/Memory.h"

namespace keystrand {

// An absent part takes no room and is not written.
template <class Part, class... Tag>
std::uint32_t sizePart(const Part& part, const Buffer& buffer, Tag... tag) {
  return part ? part->size(buffer, tag...) : 0;
}
template <class Part, class... Tag>
void putPart(const Part& part, Buffer& buffer, Tag... tag) {
  if (part) part->put(buffer, tag...);
}

// The same inside an explicit tag.
template <class Part>
std::uint32_t sizeWrappedPart(const Part& part, const Buffer& buffer, unsigned char tag) {
  return part ? sizeWrapped(*part, buffer, tag) : 0;
}
template <class Part>
void putWrappedPart(const Part& part, Buffer& buffer, unsigned char tag) {
  if (part) putWrapped(*part, buffer, tag);
}

// A part that is read when its tag stands next inside the element, and is gone when it does not.
template <class T>
bool getOptional(const Element& body, Buffer& in, std::unique_ptr<T>& part, unsigned char tag) {
  part.reset();
  return !isNext(body, in, tag) || getNew(part, in, tag);
}

// Whether the parts that were read fill the element exactly.
inline bool endsHere(const Element& body, const Buffer& in) {
  return in.readPosition() == body.end;
}

// A new copy, nullptr when there is none; the receiver deletes it.
template <class T>
owner<T*> cloneOf(const std::optional<T>& part) {
  return part ? part->clone() : nullptr;
}

// What a caller handed in, by value; empty for nullptr.
template <class T>
std::optional<T> valueOf(const T* part) {
  return part != nullptr ? std::optional<T>(*part) : std::nullopt;
}

}  // namespace keystrand
