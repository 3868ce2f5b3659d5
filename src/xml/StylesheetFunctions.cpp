#include "xml/StylesheetFunctions.h"

#include <libxml/xpathInternals.h>
#include <libxslt/functions.h>

#include <algorithm>
#include <new>
#include <span>
#include <string>
#include <unordered_set>
#include <utility>

#include "xml/XMLTree.h"
#include "xml/XPathFunctions.h"

namespace keystrand {
namespace {

constexpr std::size_t kMaxKeyText = std::size_t{32} * 1024 * 1024;  // bytes

using Value = std::unique_ptr<xmlXPathObject, Releaser<&xmlXPathFreeObject>>;

std::string taken(owner<xmlChar*> text) {
  std::string copy(fromXML(text));
  xmlFree(text);
  return copy;
}

// An argument of a function that is called with so many; nullptr for one that is not there.
xmlXPathObject* argumentOf(const xmlXPathParserContext& parser, int index, int count) {
  const int place = parser.valueNr - count + index;
  return index < count && place >= parser.valueFrame ? parser.valueTab[place] : nullptr;
}

bool isNodeSet(const xmlXPathObject* value) {
  return value != nullptr && value->type == XPATH_NODESET && value->nodesetval != nullptr;
}
std::span<xmlNode* const> nodesOf(const xmlXPathObject& value) {
  return {value.nodesetval->nodeTab, static_cast<std::size_t>(value.nodesetval->nodeNr)};
}

// As libxslt's document() where that gives anything: there is no document but the stylesheet's own, whose address is
// empty. The fragment of another would be an expression in a context of its own, which nothing stops.
void ownDocument(xmlXPathParserContext& parser, int count) {
  xmlXPathObject* address = argumentOf(parser, 0, count);
  if (address == nullptr) return xmlXPathErr(&parser, XPATH_INVALID_ARITY);
  const auto isEmpty = [](xmlNode* node) { return taken(xmlXPathCastNodeToString(node)).empty(); };
  const bool isOwn = isNodeSet(address) ? std::ranges::all_of(nodesOf(*address), isEmpty)
                                        : taken(xmlXPathCastToString(address)).empty();
  return isOwn ? xsltDocumentFunction(&parser, count) : xmlXPathErr(&parser, XPATH_EXPR_ERROR);
}

// As libxslt's key(), which looks a value up as often as it stands in the nodes given, and compares each time what it
// finds with all that it has.
void keyOfDistinct(xmlXPathParserContext& parser, int count) {
  xmlXPathObject* values = argumentOf(parser, 1, count);
  if (!isNodeSet(values)) return xsltKeyFunction(&parser, count);
  const Value distinct(xmlXPathNewNodeSet(nullptr));
  std::unordered_set<std::string> known;
  std::size_t size = 0;
  for (xmlNode* node : nodesOf(*values)) {
    std::string value = taken(xmlXPathCastNodeToString(node));
    size += value.size();
    if (!distinct || size > kMaxKeyText) return xmlXPathErr(&parser, XPATH_MEMORY_ERROR);
    if (known.insert(std::move(value)).second) xmlXPathNodeSetAddUnique(distinct->nodesetval, node);
  }
  std::swap(values->nodesetval, distinct->nodesetval);
  xsltKeyFunction(&parser, count);
}

// Nothing is thrown into libxml2.
template <auto Function>
void guarded(xmlXPathParserContext* parser, int count) {
  try {
    Function(*parser, count);
  } catch (const std::bad_alloc&) {
    xmlXPathErr(parser, XPATH_MEMORY_ERROR);
  }
}

}  // namespace

xmlXPathFunction stylesheetFunction(void* context, const xmlChar* name, const xmlChar* uri) {
  if (uri == nullptr && fromXML(name) == "document") return guarded<ownDocument>;
  if (uri == nullptr && fromXML(name) == "key") return guarded<keyOfDistinct>;
  const xmlXPathFunction linear = linearFunction(name, uri);
  return linear != nullptr ? linear : xsltXPathFunctionLookup(context, name, uri);
}

}  // namespace keystrand
