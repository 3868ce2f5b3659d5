// Going through a document node by node, and what it may hold for the steps of a signature to work on it.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "xml/XMLTree.h"

namespace keystrand {

inline xmlNode* asNode(xmlAttr* attribute) {
  return reinterpret_cast<xmlNode*>(attribute);
}
inline xmlNode* asNode(xmlDoc* document) {
  return reinterpret_cast<xmlNode*>(document);
}

// Calls visit(node, depth) for the node, of depth 0, and all that hangs below it in document order, attributes behind
// their element, until that gives false. Of what has children only documents and elements are entered. Whether it went
// to the end.
template <class Visit>
bool walkTree(xmlNode& top, Visit visit) {
  int depth = 0;
  for (xmlNode* node = &top; node != nullptr;) {
    if (!visit(node, depth)) return false;
    if (isElement(node)) {
      for (xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
        if (!visit(asNode(attribute), depth + 1)) return false;
    }
    if ((isElement(node) || node->type == XML_DOCUMENT_NODE) && node->children != nullptr) {
      node = node->children;
      ++depth;
      continue;
    }
    while (node->next == nullptr && depth > 0) {
      node = node->parent;
      --depth;
    }
    node = depth > 0 ? node->next : nullptr;
  }
  return true;
}
template <class Visit>
bool walkTree(xmlDoc& document, Visit visit) {
  return walkTree(*asNode(&document), visit);
}

// The namespaces in force for the element that a walk has come to.
class NamespaceScope {
 public:
  // Whether they are others than for the element before.
  bool enter(const xmlNode& element, int depth);
  [[nodiscard]] std::span<xmlNs* const> inForce() const;

 private:
  struct Level {
    int depth;
    std::vector<xmlNs*> inForce;
  };
  std::vector<Level> levels_;  // of the elements around that declare any
};

// How many nodes a document has. An element has a namespace node for each namespace in force for it. Nothing for a
// document that takes libxml2, which searches lists of them one by one and enters elements by recursion,
// to its limits: more than kMaxNodes nodes, kMaxOfElement attributes or namespaces of one element, or kMaxDepth levels.
inline constexpr std::size_t kMaxNodes = 4'000'000;
inline constexpr std::size_t kMaxOfElement = 1000;
inline constexpr int kMaxDepth = 1000;
struct NodeCount {
  std::size_t nodes = 0;  // but for these:
  std::size_t namespaceNodes = 0;
  [[nodiscard]] std::size_t all() const { return nodes + namespaceNodes; }
};
std::optional<NodeCount> countNodes(xmlDoc& document);
// The same for a document that expressions are to search: nothing beyond kMaxSearched nodes, namespace nodes not
// counted. A comparison of two sets of so many takes libxml2 minutes, and nothing stops it within.
inline constexpr std::size_t kMaxSearched = 500'000;
std::optional<NodeCount> countSearched(xmlDoc& document);

}  // namespace keystrand
