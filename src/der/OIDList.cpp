#include "keystrand/der/OIDList.h"

#include "der/ElementList.h"

namespace keystrand {

void OIDList::add(const char* dotted) {
  items_.emplace_back(dotted);
}

owner<OIDList*> OIDList::clone() const {
  return new OIDList(*this);
}

owner<char*> OIDList::toText(int index) const {
  return has(index) ? view(index)->toText() : nullptr;
}

bool OIDList::equals(int index, const char* dotted) const {
  return has(index) && view(index)->equals(dotted);
}

bool OIDList::equals(int index, const OID& other) const {
  return has(index) && view(index)->equals(other);
}

std::uint32_t OIDList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void OIDList::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  for (const OID& oid : items_) buffer.putOID(oid);
}

std::uint32_t OIDList::contentSize(const Buffer& buffer) const {
  std::uint32_t n = 0;
  for (const OID& oid : items_) n += buffer.sizeOID(oid);
  return n;
}

bool OIDList::get(Buffer& buffer) {
  return getElements(buffer, kSequence, items_, [&buffer](OID& oid) { return buffer.getOID(oid); });
}

}  // namespace keystrand
