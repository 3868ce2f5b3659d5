// Expressions over one document. Its prefixes are known, ds stands for XML Signature, and the document itself is all
// that an expression reaches. Every evaluation ends: by the number of its steps, or by a Watchdog between two of them.
#pragma once

#include <libxml/xpath.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "xml/NodeSet.h"

namespace keystrand {

// The prefixes of a document. The last element with a prefix in force says what it stands for.
using NamespacePrefixes = std::map<std::string, std::string>;
NamespacePrefixes prefixesOf(xmlDoc& document);

class XPathEvaluation {
 public:
  XPathEvaluation(xmlDoc& document, const NamespacePrefixes& prefixes);

  // Each gives nothing for what is no expression, takes too long or has another result than nodes. The operands of a
  // union are evaluated one by one: libxml2 puts node sets together by comparing each with each.
  std::optional<NodeSet> nodes(const std::string& expression, xmlNode* contextNode = nullptr);
  // The nodes of the document for which the expression holds, out of so many: what "(//. | //@* | //namespace::*)[...]"
  // selects, without its unions, for which libxml2 needs minutes. Namespace nodes that a member has are left out.
  std::optional<NodeSet> nodesThatFit(const std::string& expression, std::size_t count);

 private:
  using Context = std::unique_ptr<xmlXPathContext, Releaser<&xmlXPathFreeContext>>;

  xmlDoc& document_;
  Context context_;
};

}  // namespace keystrand
