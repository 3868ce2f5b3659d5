// Canonical XML 1.0 and 1.1 and Exclusive XML Canonicalization 1.0, of those nodes of a document that are visible.
#pragma once

#include <optional>
#include <string>

#include "xml/XMLTree.h"

namespace keystrand {

struct CanonicalForm {
  std::string text;
  bool isShortened = false;  // whether a marker was cut out
};

class Canonicaliser {
 public:
  // libxml2's numbers: 0 C14N 1.0, 1 exclusive, 2 C14N 1.1.
  Canonicaliser(int mode, bool withComments) : mode_(mode), withComments_(withComments) {}

  // visible(node, parent) is asked for each node; the parent of a namespace node is the element that it is in force
  // for. Nothing for a document with entity references or relative namespaces, or beyond the limits of countNodes.
  template <class Visible>
  [[nodiscard]] std::optional<CanonicalForm> run(xmlDoc& document, Visible visible) const {
    const auto ask = [](void* asked, xmlNode* node, xmlNode* parent) {
      return (*static_cast<Visible*>(asked))(node, parent) ? 1 : 0;
    };
    return execute(document, ask, &visible);
  }

 private:
  std::optional<CanonicalForm> execute(xmlDoc& document, int (*ask)(void*, xmlNode*, xmlNode*), void* visible) const;

  int mode_;
  bool withComments_;
};

}  // namespace keystrand
