// Steps that the decoders and writers of the OCSP messages are made of (RFC 6960 section 4, ASN.1 of appendix B).
//
// A SEQUENCE is read when the cursor stands exactly at its end: only then does it come out again as it arrived. One
// that lacks a mandatory element, holds an element that has no place in it, or one that reaches beyond it, is refused.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "der/Octets.h"
#include "der/Reading.h"
#include "keystrand/der/X500Time.h"
#include "pkix/Parts.h"

namespace keystrand {

inline bool ended(const Element& element, const Buffer& in) {
  return in.readPosition() == element.end;
}

// [n] EXPLICIT: `get` reads the one element inside.
template <class Get>
bool getExplicit(Buffer& in, unsigned char tag, Get get) {
  Element wrapper;
  return openWhole(wrapper, in, tag) && !wrapper.atEnd(in) && get() && ended(wrapper, in);
}

// A mandatory part of a SEQUENCE. A SecureBuffer stays one, so that certificates take their digests from it.
template <class T, class AnyBuffer>
bool getPart(const Element& body, AnyBuffer& in, std::unique_ptr<T>& part) {
  part = std::make_unique<T>();
  return !body.atEnd(in) && part->get(in);
}
template <class T>
bool getPart(const Element& body, Buffer& in, std::optional<T>& part) {
  return !body.atEnd(in) && part.emplace().get(in);
}

// An optional one, [n] EXPLICIT: `get` runs when the SEQUENCE goes on with this tag.
template <class Get>
bool getOptional(const Element& body, Buffer& in, unsigned char tag, Get get) {
  return !isNext(body, in, tag) || getExplicit(in, tag, get);
}
template <class T, class AnyBuffer>
bool getOptionalPart(const Element& body, AnyBuffer& in, unsigned char tag, std::unique_ptr<T>& part) {
  part.reset();
  return getOptional(body, in, tag, [&] {
    part = std::make_unique<T>();
    return part->get(in);
  });
}

inline bool getGeneralizedTime(Buffer& in, std::optional<X500Time>& time) {
  return time.emplace().get(in) && time->tag() == X500Time::kGeneralizedTime;
}

// version [0] EXPLICIT INTEGER DEFAULT v1. One that arrived goes back out, the default too, so that the signature over
// it holds.
constexpr unsigned char kVersionTag = 0xA0;

inline bool getVersion(const Element& body, Buffer& in, std::int32_t& version, bool& isExplicit) {
  version = 0;
  isExplicit = isNext(body, in, kVersionTag);
  return getOptional(body, in, kVersionTag, [&] { return in.getInteger(version); });
}
inline std::uint32_t sizeVersion(const Buffer& buffer, std::int32_t version, bool isExplicit) {
  if (version == 0 && !isExplicit) return 0;
  const std::uint32_t n = buffer.sizeInteger(version);
  return buffer.sizeHeader(kVersionTag, n) + n;
}
inline void putVersion(Buffer& buffer, std::int32_t version, bool isExplicit) {
  if (version == 0 && !isExplicit) return;
  buffer.putHeader(kVersionTag, buffer.sizeInteger(version));
  buffer.putInteger(version);
}

}  // namespace keystrand
