#include "keystrand/pkix/Attribute.h"

#include "der/ElementList.h"
#include "der/Octets.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

// Any element, header and all. Its tag is never 0: that would be the end of contents of something else.
bool getValue(Buffer& in, OctetValue& value) {
  const std::uint32_t start = in.readPosition();
  unsigned char tag = 0;
  std::uint32_t n = 0;
  bool definite = false;
  std::span<const unsigned char> content;
  if (in.peekByte() == 0 || !in.getHeader(tag, n, definite) || !definite || !in.view(n, content)) return false;
  value = OctetValue(in.range(start, in.readPosition()));
  return true;
}

}  // namespace

void Attribute::addValue(const unsigned char* encoding, std::uint32_t n) {
  if (encoding != nullptr) values_.emplace_back(std::span(encoding, n));
}

owner<unsigned char*> Attribute::value(int index) const {
  return newBytes(valueView(index));
}

std::span<const unsigned char> Attribute::valueView(int index) const noexcept {
  if (index < 0 || index >= count()) return {};
  return values_[static_cast<std::size_t>(index)].view();
}

std::uint32_t Attribute::valuesSize() const noexcept {
  std::uint32_t n = 0;
  for (const OctetValue& value : values_) n += value.size();
  return n;
}

std::uint32_t Attribute::contentSize(const Buffer& buffer) const {
  return (type_ ? buffer.sizeOID(*type_) : 0) + buffer.sizeSet(valuesSize());
}

std::uint32_t Attribute::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void Attribute::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (type_) buffer.putOID(*type_);
  buffer.putSet(valuesSize());
  for (const OctetValue& value : values_) buffer.putBytes(value.data(), value.size());
}

bool Attribute::get(Buffer& buffer) {
  Element body;
  return openWhole(body, buffer, kSequence) && buffer.getOID(type_.emplace()) &&
         getElements(buffer, kSet, values_, [&](OctetValue& value) { return getValue(buffer, value); }) &&
         buffer.readPosition() == body.end;
}

owner<Attribute*> AttributeList::get(int index) const {
  const Attribute* attribute = view(index);
  return attribute != nullptr ? attribute->clone() : nullptr;
}

std::uint32_t AttributeList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(sizeElements(buffer, items_));
}

void AttributeList::put(Buffer& buffer) const {
  buffer.putSequence(sizeElements(buffer, items_));
  for (const Attribute& item : items_) item.put(buffer);
}

bool AttributeList::get(Buffer& buffer) {
  return getElements(buffer, kSequence, items_);
}

}  // namespace keystrand
