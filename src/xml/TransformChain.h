// How far a chain of transforms (XML Signature section 4.4.3.2) has come: the nodes that it holds, its octets, or both.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "xml/Canonicaliser.h"
#include "xml/FilterSteps.h"
#include "xml/NodeSet.h"

namespace keystrand {

// Every step gives false, and leaves the chain as it was, when it cannot be taken; the two that begin a chain leave
// none.
class TransformChain {
 public:
  bool selectReference(xmlDoc& document, std::string_view uri);
  bool selectWholeDocument(xmlDoc& document);
  bool applyXPath(xmlDoc& document, const std::string& expression);
  bool applyEnveloped(xmlNode& signature);
  bool beginFilter(xmlDoc& document);
  bool addFilter(std::string_view operation, const std::string& expression);
  bool applyFilter();
  bool applyStylesheet(xmlDoc& document, xmlNode& stylesheet);
  bool applyBase64();
  bool canonical(const Canonicaliser& canonicaliser);
  bool canonicalSubtree(const Canonicaliser& canonicaliser, xmlDoc& document, const xmlNode& top);

  [[nodiscard]] const std::optional<std::string>& text() const noexcept { return text_; }
  [[nodiscard]] bool isShortened() const noexcept { return isShortened_; }
  // The octets stay; what points into the document goes.
  void forgetNodes();

 private:
  void begin(xmlDoc& document, bool isWhole);
  [[nodiscard]] std::optional<CanonicalForm> canonicalForm(const Canonicaliser& canonicaliser) const;
  [[nodiscard]] std::string textOfNodes() const;
  bool take(std::optional<CanonicalForm> form);
  bool replaceNodes(NodeSet nodes);

  XMLDocument parsed_;         // of an XPath transform, which reads octets
  xmlDoc* context_ = nullptr;  // the document of the nodes
  std::optional<NodeSet> nodes_;
  bool isWhole_ = false;  // whether the nodes stand there one by one; otherwise they are the tops of subtrees
  std::optional<std::string> text_;
  bool isShortened_ = false;
  std::unique_ptr<FilterSteps> filter_;
};

}  // namespace keystrand
