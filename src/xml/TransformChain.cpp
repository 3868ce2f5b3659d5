#include "xml/TransformChain.h"

#include <libxml/c14n.h>

#include <span>
#include <utility>
#include <vector>

#include "support/Base64.h"
#include "xml/StylesheetRun.h"
#include "xml/Subtrees.h"
#include "xml/XPointer.h"

namespace keystrand {
namespace {

bool isVisible(const NodeSet& nodes, bool isWhole, const xmlNode* node, const xmlNode* parent) {
  if (node->type == XML_NAMESPACE_DECL) {
    const auto& ns = reinterpret_cast<const xmlNs&>(*node);
    return nodes.containsNamespace(parent, ns) || (isWhole ? nodes.contains(parent) : nodes.containsAround(parent));
  }
  return isWhole ? nodes.contains(node) : nodes.containsAround(node);
}

}  // namespace

// --- beginning ------------------------------------------------------------------------------------------------------

// Whatever happens then, nothing of the chain before is taken for what this one selects.
void TransformChain::begin(xmlDoc& document, bool isWhole) {
  text_.reset();
  isShortened_ = false;
  nodes_.reset();
  parsed_.reset();
  context_ = &document;
  isWhole_ = isWhole;
}

bool TransformChain::selectReference(xmlDoc& document, std::string_view uri) {
  begin(document, false);
  if (!countSearched(document)) return false;
  XPathEvaluation evaluation(document, prefixesOf(document));
  for (const std::string& expression : expressionsOf(uri)) {
    nodes_ = evaluation.nodes(expression, asNode(&document));
    if (nodes_ && !nodes_->isEmpty()) return true;
  }
  nodes_.reset();
  return false;
}

bool TransformChain::selectWholeDocument(xmlDoc& document) {
  begin(document, true);
  const std::optional<NodeCount> count = countNodes(document);
  if (!count) return false;
  NodeSet nodes(count->nodes);
  walkTree(document, [&](const xmlNode* node, int) {
    nodes.insert(node);
    return true;
  });
  nodes_ = std::move(nodes);
  return true;
}

void TransformChain::forgetNodes() {
  nodes_.reset();
  context_ = nullptr;
  parsed_.reset();
  filter_.reset();
}

// --- from nodes to nodes --------------------------------------------------------------------------------------------

bool TransformChain::replaceNodes(NodeSet nodes) {
  nodes_ = std::move(nodes);
  isWhole_ = true;
  text_.reset();
  return true;
}

bool TransformChain::applyXPath(xmlDoc& document, const std::string& expression) {
  std::optional<CanonicalForm> form;
  if (!text_ && !(form = canonicalForm(Canonicaliser(XML_C14N_1_0, true)))) return false;
  XMLDocument parsed = parseOctets(text_ ? *text_ : form->text);
  const std::optional<NodeCount> count = parsed ? countSearched(*parsed) : std::nullopt;
  if (!count) return false;
  std::optional<NodeSet> nodes = XPathEvaluation(*parsed, prefixesOf(document)).nodesThatFit(expression, count->all());
  if (!nodes) return false;
  isShortened_ = isShortened_ || (form && form->isShortened);
  parsed_ = std::move(parsed);
  context_ = parsed_.get();
  return replaceNodes(std::move(*nodes));
}

bool TransformChain::applyEnveloped(xmlNode& signature) {
  if (!nodes_) return false;
  NodeSet nodes = isWhole_ ? std::move(*nodes_) : flattened(*context_, *nodes_);
  nodes.eraseSubtree(signature);
  return replaceNodes(std::move(nodes));
}

bool TransformChain::beginFilter(xmlDoc& document) {
  if (!countSearched(document)) return false;
  filter_ = std::make_unique<FilterSteps>(document, prefixesOf(document));
  context_ = &document;
  return true;
}

bool TransformChain::addFilter(std::string_view operation, const std::string& expression) {
  return filter_ && filter_->add(operation, expression);
}

bool TransformChain::applyFilter() {
  if (!filter_ || !nodes_) return false;
  return replaceNodes(filter_->apply(isWhole_ ? *nodes_ : flattened(*context_, *nodes_)));
}

// --- to octets ------------------------------------------------------------------------------------------------------

bool TransformChain::take(std::optional<CanonicalForm> form) {
  if (!form) return false;
  text_ = std::move(form->text);
  isShortened_ = isShortened_ || form->isShortened;
  return true;
}

std::optional<CanonicalForm> TransformChain::canonicalForm(const Canonicaliser& canonicaliser) const {
  if (!nodes_) return std::nullopt;
  return canonicaliser.run(*context_, [this](const xmlNode* node, const xmlNode* parent) {
    return isVisible(*nodes_, isWhole_, node, parent);
  });
}

bool TransformChain::canonical(const Canonicaliser& canonicaliser) {
  return take(canonicalForm(canonicaliser));
}

bool TransformChain::canonicalSubtree(const Canonicaliser& canonicaliser, xmlDoc& document, const xmlNode& top) {
  return take(canonicaliser.run(document, [&](const xmlNode* node, const xmlNode* parent) {
    return isInside(node->type == XML_NAMESPACE_DECL ? parent : node, &top);
  }));
}

bool TransformChain::applyStylesheet(xmlDoc& document, xmlNode& stylesheet) {
  std::optional<std::string> result = runStylesheet(document, stylesheet);
  if (!result) return false;
  text_ = std::move(result);
  return true;
}

std::string TransformChain::textOfNodes() const {
  std::string text;
  walkTree(*context_, [&](const xmlNode* node, int) {
    const bool isText = node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
    if (isText && isVisible(*nodes_, isWhole_, node, node->parent)) text += fromXML(node->content);
    return true;
  });
  return text;
}

bool TransformChain::applyBase64() {
  if (!text_ && !nodes_) return false;
  const std::string coded = text_ ? *text_ : textOfNodes();
  const std::optional<Bytes> octets =
      decodeBase64({reinterpret_cast<const unsigned char*>(coded.data()), coded.size()});
  text_.emplace();
  if (octets) text_->assign(octets->begin(), octets->end());
  return true;
}

}  // namespace keystrand
