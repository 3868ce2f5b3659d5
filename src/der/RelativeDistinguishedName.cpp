#include <algorithm>

#include "der/ElementList.h"
#include "keystrand/der/Name.h"

namespace keystrand {

namespace {

template <class T>
const T* elementAt(const std::vector<T>& items, int index) {
  return index < 0 || static_cast<std::size_t>(index) >= items.size() ? nullptr
                                                                      : &items[static_cast<std::size_t>(index)];
}

template <class T>
owner<T*> cloneAt(const std::vector<T>& items, int index) {
  const T* element = elementAt(items, index);
  return element != nullptr ? element->clone() : nullptr;
}

// The number of RDNs is compared first, which also keeps a name of very many from being searched for each of another's.
template <class Equal>
bool eachIsFound(std::span<const RelativeDistinguishedName> left, std::span<const RelativeDistinguishedName> right,
                 Equal equal) {
  return left.size() == right.size() && std::ranges::all_of(left, [&](const RelativeDistinguishedName& ours) {
           return std::ranges::any_of(right,
                                      [&](const RelativeDistinguishedName& theirs) { return equal(ours, theirs); });
         });
}

}  // namespace

// --- one RDN -----------------------------------------------------------------------------------------------

owner<AttributeTypeAndValue*> RelativeDistinguishedName::get(int index) const {
  return cloneAt(items_, index);
}

const AttributeTypeAndValue* RelativeDistinguishedName::view(int index) const noexcept {
  return elementAt(items_, index);
}

void RelativeDistinguishedName::normalise() {
  for (AttributeTypeAndValue& attribute : items_) attribute.normalise();
}

bool RelativeDistinguishedName::equals(const RelativeDistinguishedName& other) const noexcept {
  return std::ranges::equal(items_, other.items_, [](const auto& a, const auto& b) { return a.equals(b); });
}

bool RelativeDistinguishedName::equalsAcrossEncodings(const RelativeDistinguishedName& other) const {
  return std::ranges::equal(items_, other.items_,
                            [](const auto& a, const auto& b) { return a.equalsAcrossEncodings(b); });
}

bool RelativeDistinguishedName::equalsPattern(const RelativeDistinguishedName& other) const {
  return std::ranges::equal(items_, other.items_, [](const auto& a, const auto& b) { return a.equalsPattern(b); });
}

std::uint32_t RelativeDistinguishedName::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = sizeElements(buffer, items_);
  return buffer.sizeHeader(tag, n) + n;
}

void RelativeDistinguishedName::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, sizeElements(buffer, items_));
  for (const AttributeTypeAndValue& attribute : items_) attribute.put(buffer);
}

bool RelativeDistinguishedName::get(Buffer& buffer, unsigned char tag) {
  return getElements(buffer, tag, items_);
}

// --- the sequence of them ----------------------------------------------------------------------------------

owner<RelativeDistinguishedName*> RelativeDistinguishedNameList::get(int index) const {
  return cloneAt(items_, index);
}

const RelativeDistinguishedName* RelativeDistinguishedNameList::view(int index) const noexcept {
  return elementAt(items_, index);
}

void RelativeDistinguishedNameList::normalise() {
  for (RelativeDistinguishedName& rdn : items_) rdn.normalise();
}

bool RelativeDistinguishedNameList::equals(const RelativeDistinguishedNameList& other) const noexcept {
  return eachIsFound(items_, other.items_, [](const auto& a, const auto& b) { return a.equals(b); });
}

bool RelativeDistinguishedNameList::equalsAcrossEncodings(const RelativeDistinguishedNameList& other) const {
  return eachIsFound(items_, other.items_, [](const auto& a, const auto& b) { return a.equalsAcrossEncodings(b); });
}

bool RelativeDistinguishedNameList::equalsPattern(const RelativeDistinguishedNameList& other) const {
  return eachIsFound(items_, other.items_, [](const auto& a, const auto& b) { return a.equalsPattern(b); });
}

bool RelativeDistinguishedNameList::equalsInOrder(const RelativeDistinguishedNameList& other) const noexcept {
  return std::ranges::equal(items_, other.items_, [](const auto& a, const auto& b) { return a.equals(b); });
}

std::uint32_t RelativeDistinguishedNameList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(sizeElements(buffer, items_));
}

void RelativeDistinguishedNameList::put(Buffer& buffer) const {
  buffer.putSequence(sizeElements(buffer, items_));
  for (const RelativeDistinguishedName& rdn : items_) rdn.put(buffer);
}

bool RelativeDistinguishedNameList::get(Buffer& buffer) {
  return getElements(buffer, kSequence, items_);
}

}  // namespace keystrand
