// A set of nodes of one document. Nodes are told apart by their address; a namespace node by its element and prefix,
// since libxml2 makes it anew for each result.
#pragma once

#include <libxml/xpath.h>

#include <cstdint>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "xml/XMLTree.h"

namespace keystrand {

class NodeSet {
 public:
  explicit NodeSet(std::size_t expected = 0);

  void insert(const xmlNode* node);
  void insertAll(const xmlNodeSet* result);  // of an expression
  void insertNamespace(const xmlNode* element, const xmlNs& ns);
  void insertNamespaces(const NodeSet& other);
  void eraseSubtree(xmlNode& top);
  [[nodiscard]] bool contains(const xmlNode* node) const;
  [[nodiscard]] bool containsNamespace(const xmlNode* element, const xmlNs& ns) const;
  // Whether the node or one of those that it lies in is here.
  [[nodiscard]] bool containsAround(const xmlNode* node) const;
  [[nodiscard]] bool isEmpty() const noexcept { return count_ == 0 && namespaces_.empty(); }
  [[nodiscard]] std::size_t size() const noexcept { return count_; }  // without namespace nodes

 private:
  [[nodiscard]] std::size_t placeOf(const xmlNode* node) const;
  void grow();
  void erase(const xmlNode* node);

  // Open addressing, a power of two in size and at most half full: each lookup is one line of the processor's cache.
  std::vector<const xmlNode*> places_;
  std::size_t count_ = 0;
  std::set<std::pair<const xmlNode*, std::string_view>> namespaces_;  // the views lie in the document
};

}  // namespace keystrand
