// The libxml2 side of XMLFile. Only the sources of this folder see libxml2's headers.
#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "keystrand/xml/XMLFile.h"
#include "support/Memory.h"

namespace keystrand {

using XMLDocument = std::unique_ptr<xmlDoc, Releaser<&xmlFreeDoc>>;
using XMLNode = std::unique_ptr<xmlNode, Releaser<&xmlFreeNode>>;
using XMLParser = std::unique_ptr<xmlParserCtxt, Releaser<&xmlFreeParserCtxt>>;
using XMLBuffer = std::unique_ptr<xmlBuffer, Releaser<&xmlBufferFree>>;

inline const xmlChar* toXML(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}
inline std::string_view fromXML(const xmlChar* text) {
  return text != nullptr ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

inline bool isElement(const xmlNode* node) {
  return node != nullptr && node->type == XML_ELEMENT_NODE;
}
inline bool isElement(const xmlNode* node, std::string_view name) {
  return isElement(node) && fromXML(node->name) == name;
}
// The first element from this node on, among it and its following siblings.
inline xmlNode* elementFrom(xmlNode* node) {
  while (node != nullptr && !isElement(node)) node = node->next;
  return node;
}

// The first element that fits, depth-first: the start, its descendants, its following siblings and theirs. Only
// elements are entered: what hangs below a reference belongs to the DTD. A loop, since siblings come in any number.
template <class Fits>
xmlNode* searchIf(xmlNode* start, Fits fits) {
  const xmlNode* top = start != nullptr ? start->parent : nullptr;
  for (xmlNode* node = start; node != nullptr;) {
    if (isElement(node) && fits(node)) return node;
    if (isElement(node) && node->children != nullptr) {
      node = node->children;
      continue;
    }
    while (node->next == nullptr && node->parent != top) node = node->parent;
    node = node->next;
  }
  return nullptr;
}
inline xmlNode* search(xmlNode* start, std::string_view name) {
  return searchIf(start, [&](const xmlNode* node) { return fromXML(node->name) == name; });
}

inline bool isInside(const xmlNode* node, const xmlNode* tree) {
  while (node != nullptr && node != tree) node = node->parent;
  return node == tree;
}

// The text of an element or attribute from its children, entities expanded; nothing when there is none or it passes
// XMLFile::kMaxText.
std::optional<std::string> textBelow(const xmlDoc* document, const xmlNode* children);
// The parser lets entities nest 40 deep.
constexpr int kMaxEntityDepth = 48;
// Whether the references in the document stand for XMLFile::kMaxText bytes at most in all, so that a walk through it
// that reads every element takes no more than its own size and that.
bool expandsModestly(const xmlDoc& document);

// A document from octets that are no file's, NUL counting as any other; nullptr for what is not well-formed or expands
// beyond measure.
XMLDocument parseOctets(std::string_view octets);

// The library's own writer; nothing when an attribute is not UTF-8 or longer than XMLFile::kMaxText.
std::optional<std::string> writeDocument(const xmlDoc* document);

}  // namespace keystrand
