#include "xml/TreeWalk.h"

#include <algorithm>

namespace keystrand {

bool NamespaceScope::enter(const xmlNode& element, int depth) {
  bool changed = false;
  for (; !levels_.empty() && levels_.back().depth >= depth; changed = true) levels_.pop_back();
  if (element.nsDef == nullptr) return changed;
  Level level{depth, levels_.empty() ? std::vector<xmlNs*>() : levels_.back().inForce};
  for (xmlNs* declared = element.nsDef; declared != nullptr; declared = declared->next) {
    const auto former = std::ranges::find_if(
        level.inForce, [&](const xmlNs* ns) { return fromXML(ns->prefix) == fromXML(declared->prefix); });
    if (former != level.inForce.end())
      *former = declared;
    else
      level.inForce.push_back(declared);
  }
  levels_.push_back(std::move(level));
  return true;
}

std::span<xmlNs* const> NamespaceScope::inForce() const {
  return levels_.empty() ? std::span<xmlNs* const>() : levels_.back().inForce;
}

namespace {

bool hasFew(const auto* list) {
  std::size_t count = 0;
  for (; list != nullptr && count <= kMaxOfElement; list = list->next) ++count;
  return count <= kMaxOfElement;
}

}  // namespace

std::optional<NodeCount> countNodes(xmlDoc& document) {
  NodeCount count;
  NamespaceScope scope;
  const bool isWithin = walkTree(document, [&](const xmlNode* node, int depth) {
    ++count.nodes;
    if (isElement(node)) {
      if (depth > kMaxDepth || !hasFew(node->properties) || !hasFew(node->nsDef)) return false;
      scope.enter(*node, depth);
      count.namespaceNodes += scope.inForce().size() + 1;  // and xml
    }
    return count.all() <= kMaxNodes && scope.inForce().size() <= kMaxOfElement;
  });
  return isWithin ? std::optional(count) : std::nullopt;
}

std::optional<NodeCount> countSearched(xmlDoc& document) {
  const std::optional<NodeCount> count = countNodes(document);
  return count && count->nodes <= kMaxSearched ? count : std::nullopt;
}

}  // namespace keystrand
