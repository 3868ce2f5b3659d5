#include "xml/NodeSet.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "xml/TreeWalk.h"

namespace keystrand {

NodeSet::NodeSet(std::size_t expected) : places_(std::bit_ceil(std::max<std::size_t>(2 * expected, 16))) {}

void NodeSet::insertAll(const xmlNodeSet* result) {
  for (int i = 0; result != nullptr && i < result->nodeNr; ++i) {
    const xmlNode* node = result->nodeTab[i];
    if (node->type != XML_NAMESPACE_DECL) {
      insert(node);
      continue;
    }
    // A namespace node of a result keeps its element in the field that otherwise leads to the next declaration.
    const auto* ns = reinterpret_cast<const xmlNs*>(node);
    const auto* element = reinterpret_cast<const xmlNode*>(ns->next);
    xmlNs* declared =
        element != nullptr ? xmlSearchNs(element->doc, const_cast<xmlNode*>(element), ns->prefix) : nullptr;
    if (declared != nullptr) insertNamespace(element, *declared);
  }
}

// A parser lays nodes one behind the other, none nearer than 64 bytes: what is asked for in document order then lies
// side by side here too.
std::size_t NodeSet::placeOf(const xmlNode* node) const {
  constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
  const std::uint64_t address = reinterpret_cast<std::uintptr_t>(node);
  const std::size_t mask = places_.size() - 1;
  std::size_t place = ((address >> 6) + (address >> 26) * kOdd) & mask;
  while (places_[place] != nullptr && places_[place] != node) place = (place + 1) & mask;
  return place;
}

void NodeSet::grow() {
  std::vector<const xmlNode*> former(places_.size() * 2);
  former.swap(places_);
  for (const xmlNode* node : former)
    if (node != nullptr) places_[placeOf(node)] = node;
}

void NodeSet::insert(const xmlNode* node) {
  if (2 * (count_ + 1) > places_.size()) grow();
  const xmlNode*& place = places_[placeOf(node)];
  if (place == nullptr) ++count_;
  place = node;
}

void NodeSet::insertNamespace(const xmlNode* element, const xmlNs& ns) {
  namespaces_.emplace(element, fromXML(ns.prefix));
}

void NodeSet::insertNamespaces(const NodeSet& other) {
  namespaces_.insert(other.namespaces_.begin(), other.namespaces_.end());
}

void NodeSet::erase(const xmlNode* node) {
  std::size_t place = placeOf(node);
  if (places_[place] == nullptr) return;
  places_[place] = nullptr;
  --count_;
  // Those behind it may stand there only because it did.
  const std::size_t mask = places_.size() - 1;
  for (place = (place + 1) & mask; places_[place] != nullptr; place = (place + 1) & mask) {
    const xmlNode* moved = std::exchange(places_[place], nullptr);
    places_[placeOf(moved)] = moved;
  }
}

void NodeSet::eraseSubtree(xmlNode& top) {
  walkTree(top, [this](const xmlNode* node, int) {
    erase(node);
    return true;
  });
  std::erase_if(namespaces_, [&](const auto& ns) { return isInside(ns.first, &top); });
}

bool NodeSet::contains(const xmlNode* node) const {
  return places_[placeOf(node)] != nullptr;
}

bool NodeSet::containsNamespace(const xmlNode* element, const xmlNs& ns) const {
  return !namespaces_.empty() && namespaces_.contains({element, fromXML(ns.prefix)});
}

bool NodeSet::containsAround(const xmlNode* node) const {
  while (node != nullptr && !contains(node)) node = node->parent;
  return node != nullptr;
}

}  // namespace keystrand
