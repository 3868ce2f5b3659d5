#include <algorithm>
#include <cstddef>
#include <utility>

#include "der/Reading.h"
#include "keystrand/pkix/Extension.h"

namespace keystrand {

namespace {

// Elements from the cursor to the end of the list, as their headers tell, so that the array is made once. A list that
// claims more than any certificate holds grows as it is read.
std::size_t countElements(const Element& list, Buffer& in) {
  constexpr std::size_t kMost = 32;
  const std::uint32_t start = in.readPosition();
  Element element;
  std::size_t n = 0;
  while (n < kMost && !list.atEnd(in) && openWhole(element, in, kSequence) && close(element, in)) {
    ++n;
  }
  in.setReadPosition(start);
  return n;
}

}  // namespace

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

std::uint32_t ExtensionList::contentSize(const Buffer& buffer) const {
  std::uint32_t n = 0;
  for (const Extension& extension : items_) n += extension.size(buffer);
  return n;
}

std::uint32_t ExtensionList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void ExtensionList::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  for (const Extension& extension : items_) extension.put(buffer);
}

bool ExtensionList::get(Buffer& buffer) {
  items_.clear();
  Element list;
  if (!openWhole(list, buffer, kSequence)) return false;
  items_.reserve(countElements(list, buffer));
  while (!list.atEnd(buffer)) {
    Extension extension;
    if (!extension.get(buffer)) return false;
    items_.push_back(std::move(extension));
  }
  return true;
}

}  // namespace keystrand
