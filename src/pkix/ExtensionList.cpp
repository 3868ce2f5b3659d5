#include <algorithm>
#include <cstddef>

#include "der/ElementList.h"
#include "keystrand/pkix/Extension.h"

namespace keystrand {

bool ExtensionList::remove(int index) {
  if (view(index) == nullptr) return false;
  items_.erase(items_.begin() + index);
  return true;
}

bool ExtensionList::replace(int index, const Extension& extension) {
  if (view(index) == nullptr) return false;
  items_[static_cast<std::size_t>(index)] = extension;
  return true;
}

owner<Extension*> ExtensionList::get(int index) const {
  const Extension* extension = view(index);
  return extension != nullptr ? extension->clone() : nullptr;
}

const Extension* ExtensionList::find(const OID& oid) const noexcept {
  const auto found = std::ranges::find_if(items_, [&](const Extension& extension) { return extension.equals(oid); });
  return found != items_.end() ? &*found : nullptr;
}

owner<char*> ExtensionList::id(int index) const {
  const Extension* extension = view(index);
  return extension != nullptr ? extension->id() : nullptr;
}

bool ExtensionList::equals(int index, const char* dotted) const {
  const Extension* extension = view(index);
  return extension != nullptr && extension->equals(dotted);
}

bool ExtensionList::equals(int index, const OID& oid) const {
  const Extension* extension = view(index);
  return extension != nullptr && extension->equals(oid);
}

bool ExtensionList::equals(int index, const Extension& other) const {
  const Extension* extension = view(index);
  return extension != nullptr && extension->equals(other);
}

std::uint32_t ExtensionList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(sizeElements(buffer, items_));
}

void ExtensionList::put(Buffer& buffer) const {
  buffer.putSequence(sizeElements(buffer, items_));
  for (const Extension& extension : items_) extension.put(buffer);
}

bool ExtensionList::get(Buffer& buffer) {
  return getElements(buffer, kSequence, items_);
}

}  // namespace keystrand
