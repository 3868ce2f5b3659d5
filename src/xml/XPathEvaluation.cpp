#include "xml/XPathEvaluation.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "xml/LibraryErrors.h"
#include "xml/TreeWalk.h"
#include "xml/Watchdog.h"
#include "xml/XPathFunctions.h"

namespace keystrand {
namespace {

constexpr const char* kSignatureNamespace = "http://www.w3.org/2000/09/xmldsig#";
// Of one evaluation. A search for an attribute takes some six for each element.
constexpr unsigned long kMaxSteps = 10'000'000;
constexpr std::size_t kMaxExpression = 10'000;  // bytes

// Of one that may put sets of namespace nodes together or compare them, each with each: nothing else makes more nodes
// than the document has.
constexpr unsigned long kMaxNamespaceSteps = 500'000;

using Result = std::unique_ptr<xmlXPathObject, Releaser<&xmlXPathFreeObject>>;

// libxml2 looks at the limit at each step.
class Limit {
 public:
  explicit Limit(xmlXPathContext& context) : watchdog_(restarted(context)) {}

 private:
  static std::function<void()> restarted(xmlXPathContext& context) {
    context.opCount = 0;
    context.opLimit = kMaxSteps;
    return [&context] { std::atomic_ref(context.opLimit).store(1, std::memory_order_relaxed); };
  }

  Watchdog watchdog_;
};

bool hasNamespaceAxis(std::string_view expression) {
  constexpr std::string_view kAxis = "namespace";
  for (std::size_t at = expression.find(kAxis); at != expression.npos; at = expression.find(kAxis)) {
    expression.remove_prefix(at + kAxis.size());
    const std::size_t next = expression.find_first_not_of(" \t\r\n");
    if (next != expression.npos && expression.substr(next).starts_with("::")) return true;
  }
  return false;
}

// The steps that count as taken before an expression is evaluated.
unsigned long stepsBefore(std::string_view expression) {
  const bool isQuadratic = hasNamespaceAxis(expression) && expression.find_first_of("|=<>") != expression.npos;
  return isQuadratic ? kMaxSteps - kMaxNamespaceSteps : 0;
}

// The node sets of which an expression is the union. What is cut at a place where another operator binds is none: its
// result is no node set, and no more are the results of what it is cut into.
std::vector<std::string> operandsOfUnion(std::string_view expression) {
  std::vector<std::string> operands(1);
  char quote = '\0';
  int depth = 0;
  for (const char c : expression) {
    if (quote != '\0') {
      if (c == quote) quote = '\0';
    } else if (c == '\'' || c == '"') {
      quote = c;
    } else if (c == '(' || c == '[') {
      ++depth;
    } else if (c == ')' || c == ']') {
      --depth;
    } else if (c == '|' && depth == 0) {
      operands.emplace_back();
      continue;
    }
    operands.back() += c;
  }
  return operands;
}

// Collects the nodes for which an expression holds, each in turn being its context node. In the order of libxml2 all
// namespace nodes stand behind all others: a document is gone through twice.
class FittingNodes {
 public:
  FittingNodes(xmlXPathContext& context, xmlXPathCompExpr& expression, unsigned long stepsBefore, std::size_t count)
      : context_(context), expression_(expression), stepsBefore_(stepsBefore) {
    context_.contextSize = static_cast<int>(count);
    context_.proximityPosition = 0;
  }
  // False when an evaluation fails.
  bool visit(xmlNode* node) {
    if (node->type == XML_DTD_NODE) return true;  // no node of XPath
    if (fits(node)) found_.insert(node);
    return !failed_;
  }
  bool visitNamespaces(xmlNode* node, int depth) {
    if (!isElement(node)) return true;
    scope_.enter(*node, depth);
    ++context_.proximityPosition;  // the node of xml, of which no canonical form speaks
    if (found_.contains(node)) {
      context_.proximityPosition += static_cast<int>(scope_.inForce().size());
      return true;
    }
    for (xmlNs* ns : scope_.inForce()) {
      const Result single(xmlXPathNewNodeSet(nullptr));
      if (!single || xmlXPathNodeSetAddNs(single->nodesetval, node, ns) < 0) return false;
      if (fits(single->nodesetval->nodeTab[0])) found_.insertNamespace(node, *ns);
    }
    return !failed_;
  }
  [[nodiscard]] NodeSet taken() { return std::move(found_); }

 private:
  // As the predicate of a filter: a number is a position.
  bool fits(xmlNode* node) {
    context_.node = node;
    context_.opCount = stepsBefore_;
    ++context_.proximityPosition;
    const Result result(xmlXPathCompiledEval(&expression_, &context_));
    failed_ = failed_ || !result;
    return result && xmlXPathEvalPredicate(&context_, result.get()) != 0;
  }

  xmlXPathContext& context_;
  xmlXPathCompExpr& expression_;
  unsigned long stepsBefore_;
  NamespaceScope scope_;
  NodeSet found_;
  bool failed_ = false;
};

}  // namespace

NamespacePrefixes prefixesOf(xmlDoc& document) {
  NamespacePrefixes prefixes;
  NamespaceScope scope;
  walkTree(document, [&](const xmlNode* node, int depth) {
    if (!isElement(node) || !scope.enter(*node, depth)) return true;
    for (const xmlNs* ns : scope.inForce())
      if (ns->prefix != nullptr) prefixes[std::string(fromXML(ns->prefix))] = fromXML(ns->href);
    return true;
  });
  prefixes["ds"] = kSignatureNamespace;
  return prefixes;
}

XPathEvaluation::XPathEvaluation(xmlDoc& document, const NamespacePrefixes& prefixes)
    : document_(document), context_(xmlXPathNewContext(&document)) {
  if (!context_) throw std::bad_alloc();
  context_->error = [](void*, xmlError*) {};
  xmlXPathRegisterFuncLookup(
      context_.get(), [](void*, const xmlChar* name, const xmlChar* uri) { return linearFunction(name, uri); },
      nullptr);
  for (const auto& [prefix, uri] : prefixes)
    xmlXPathRegisterNs(context_.get(), toXML(prefix.c_str()), toXML(uri.c_str()));
}

std::optional<NodeSet> XPathEvaluation::nodes(const std::string& expression, xmlNode* contextNode) {
  if (expression.size() > kMaxExpression) return std::nullopt;
  const LibraryErrors silent;
  const Limit limit(*context_);
  NodeSet found;
  for (const std::string& operand : operandsOfUnion(expression)) {
    context_->node = contextNode;
    context_->opCount = std::max(context_->opCount, stepsBefore(operand));
    const Result result(xmlXPathEvalExpression(toXML(operand.c_str()), context_.get()));
    if (!result || result->type != XPATH_NODESET) return std::nullopt;
    found.insertAll(result->nodesetval);
  }
  return found;
}

std::optional<NodeSet> XPathEvaluation::nodesThatFit(const std::string& expression, std::size_t count) {
  if (expression.size() > kMaxExpression) return std::nullopt;
  const LibraryErrors silent;
  const Limit limit(*context_);
  const std::unique_ptr<xmlXPathCompExpr, Releaser<&xmlXPathFreeCompExpr>> compiled(
      xmlXPathCtxtCompile(context_.get(), toXML(expression.c_str())));
  if (!compiled) return std::nullopt;
  FittingNodes fitting(*context_, *compiled, stepsBefore(expression), count);
  const bool isComplete =
      walkTree(document_, [&](xmlNode* node, int) { return fitting.visit(node); }) &&
      walkTree(document_, [&](xmlNode* node, int depth) { return fitting.visitNamespaces(node, depth); });
  return isComplete ? std::optional(fitting.taken()) : std::nullopt;
}

}  // namespace keystrand
