// Building and changing a document.
#include <array>
#include <cstdio>

#include "der/UTF8Text.h"
#include "xml/XMLFileTree.h"

namespace keystrand {
namespace {

std::string hexText(std::uint32_t value) {
  std::array<char, 9> digits{};
  static_cast<void>(std::snprintf(digits.data(), digits.size(), "%.8X", value));
  return digits.data();
}

std::string repaired(const char* text) {
  std::string result;
  appendRepaired(result, text);
  return result;
}

xmlNs* namespaceOf(const xmlNode* node) {
  return node->type == XML_ELEMENT_NODE ? node->ns : nullptr;
}

// An element for a place where the namespace of its surroundings counts.
XMLNode newElement(xmlDoc* document, xmlNs* ns, const char* name) {
  return XMLNode(xmlNewDocNode(document, ns, toXML(name), nullptr));
}

}  // namespace

bool XMLFile::Tree::makeRoot(XMLNode node) {
  if (!node) return false;
  if (xmlNode* former = xmlDocGetRootElement(document.get())) remove(former);
  current = node.release();
  xmlDocSetRootElement(document.get(), current);
  return true;
}

xmlNode* XMLFile::Tree::addBelow(XMLNode node) {
  if (!node || element() == nullptr) return nullptr;
  xmlNode* added = xmlAddChild(current, node.get());  // a text may melt into the one before it, and is then gone
  if (added != nullptr) static_cast<void>(node.release());
  return added;
}

void XMLFile::Tree::remove(xmlNode* node) {
  std::erase_if(bookmarks, [&](const xmlNode* mark) { return isInside(mark, node); });
  transforms.forgetNodes();
  if (isInside(current, node)) current = isElement(node->parent) ? node->parent : nullptr;
  xmlUnlinkNode(node);
  const XMLNode gone(node);
}

// --- elements -------------------------------------------------------------------------------------------------------

bool XMLFile::addElement(const char* name) {
  if (name == nullptr) return false;
  Tree& tree = *tree_;
  if (tree.current == nullptr) return tree.makeRoot(newElement(tree.document.get(), nullptr, name));
  return tree.moveTo(tree.addBelow(newElement(tree.document.get(), namespaceOf(tree.current), name)));
}

bool XMLFile::insertFirst(const char* name) {
  xmlNode* first = elementFrom(tree_->childrenOfCurrent());
  if (name == nullptr || first == nullptr) return addElement(name);
  XMLNode added = newElement(tree_->document.get(), namespaceOf(tree_->current), name);
  return added && tree_->moveTo(xmlAddPrevSibling(first, added.release()));
}

// A second element beside the root would make no document.
bool XMLFile::insertBefore(const char* name) {
  if (tree_->current == nullptr) return addElement(name);
  if (name == nullptr || !isElement(tree_->current->parent)) return false;
  XMLNode added = newElement(tree_->document.get(), namespaceOf(tree_->current), name);
  return added && tree_->moveTo(xmlAddPrevSibling(tree_->current, added.release()));
}

bool XMLFile::insertAfter(const char* name) {
  if (tree_->current == nullptr) return addElement(name);
  if (name == nullptr || !isElement(tree_->current->parent)) return false;
  XMLNode added = newElement(tree_->document.get(), namespaceOf(tree_->current), name);
  return added && tree_->moveTo(xmlAddNextSibling(tree_->current, added.release()));
}

bool XMLFile::addLeaf(const char* name, const char* text) {
  if (name == nullptr) return false;
  if (tree_->current == nullptr)
    return tree_->makeRoot(XMLNode(xmlNewDocNode(tree_->document.get(), nullptr, toXML(name), toXML(text))));
  return tree_->element() != nullptr && xmlNewChild(tree_->current, nullptr, toXML(name), toXML(text)) != nullptr;
}

bool XMLFile::addTextChild(const char* name, const char* text) {
  if (name == nullptr) return false;
  if (tree_->current == nullptr)
    return tree_->makeRoot(XMLNode(xmlNewDocRawNode(tree_->document.get(), nullptr, toXML(name), toXML(text))));
  return tree_->element() != nullptr && xmlNewTextChild(tree_->current, nullptr, toXML(name), toXML(text)) != nullptr;
}

bool XMLFile::addLeafNumber(const char* name, long value) {
  return addLeaf(name, std::to_string(value).c_str());
}

bool XMLFile::addLeafHex(const char* name, std::uint32_t value) {
  return addLeaf(name, hexText(value).c_str());
}

// --- texts and comments ---------------------------------------------------------------------------------------------

bool XMLFile::addText(const char* text) {
  return text != nullptr && tree_->addBelow(XMLNode(xmlNewDocText(tree_->document.get(), toXML(text)))) != nullptr;
}

bool XMLFile::addNumber(int value) {
  return addText(std::to_string(value).c_str());
}

bool XMLFile::addHex(std::uint32_t value) {
  return addText(hexText(value).c_str());
}

bool XMLFile::replaceText(const char* text) {
  xmlNode* first = tree_->childrenOfCurrent();
  if (text == nullptr || first == nullptr) return addText(text);
  XMLNode added(xmlNewDocText(tree_->document.get(), toXML(text)));
  if (!added || xmlReplaceNode(first, added.get()) == nullptr) return false;
  static_cast<void>(added.release());
  tree_->remove(first);
  return true;
}

bool XMLFile::addComment(const char* text) {
  if (text == nullptr) return false;
  XMLNode comment(xmlNewDocComment(tree_->document.get(), toXML(text)));
  if (tree_->current != nullptr) return tree_->addBelow(std::move(comment)) != nullptr;
  if (!comment || xmlAddChild(reinterpret_cast<xmlNode*>(tree_->document.get()), comment.get()) == nullptr)
    return false;
  static_cast<void>(comment.release());
  return true;
}

// --- attributes and namespaces --------------------------------------------------------------------------------------

bool XMLFile::addAttribute(const char* name, const char* value) {
  if (name == nullptr || value == nullptr || tree_->element() == nullptr) return false;
  return xmlNewProp(tree_->current, toXML(name), toXML(repaired(value).c_str())) != nullptr;
}

bool XMLFile::setAttribute(const char* name, const char* value) {
  if (name == nullptr || value == nullptr || tree_->element() == nullptr) return false;
  return xmlSetProp(tree_->current, toXML(name), toXML(repaired(value).c_str())) != nullptr;
}

bool XMLFile::addHexAttribute(const char* name, std::uint32_t value) {
  return addAttribute(name, hexText(value).c_str());
}

bool XMLFile::setNamespace(const char* prefix, const char* uri) {
  if (uri == nullptr || tree_->element() == nullptr) return false;
  const std::string repairedPrefix = prefix != nullptr ? repaired(prefix) : std::string();
  xmlNs* declared =
      xmlNewNs(tree_->current, toXML(uri), repairedPrefix.empty() ? nullptr : toXML(repairedPrefix.c_str()));
  if (declared == nullptr) return false;
  xmlSetNs(tree_->current, declared);
  return true;
}

// --- removing and copying -------------------------------------------------------------------------------------------

bool XMLFile::removeLastChild() {
  xmlNode* last = tree_->element() != nullptr ? tree_->current->last : nullptr;
  while (last != nullptr && !isElement(last)) last = last->prev;
  if (last != nullptr) tree_->remove(last);
  return last != nullptr;
}

bool XMLFile::removeChild(const char* name) {
  if (name == nullptr) return false;
  xmlNode* node = tree_->childrenOfCurrent();
  while (node != nullptr && !isElement(node, name)) node = node->next;
  if (node != nullptr) tree_->remove(node);
  return node != nullptr;
}

bool XMLFile::removeElement(const char* name) {
  if (!find(name)) return false;
  tree_->remove(tree_->current);
  return true;
}

bool XMLFile::copyCurrent() {
  if (tree_->element() == nullptr) return false;
  tree_->clipboard.reset(xmlDocCopyNode(tree_->current, nullptr, 1));
  return tree_->clipboard != nullptr;
}

bool XMLFile::pasteCopy() {
  if (!tree_->clipboard) return false;
  if (tree_->current == nullptr) {
    xmlSetTreeDoc(tree_->clipboard.get(), tree_->document.get());
    return tree_->makeRoot(std::move(tree_->clipboard));
  }
  xmlNs* const ns = namespaceOf(tree_->current);
  if (!tree_->moveTo(tree_->addBelow(std::move(tree_->clipboard)))) return false;
  xmlSetNs(tree_->current, ns);
  return true;
}

namespace {

// Copies first, then adds: the source may be the target.
bool appendCopies(const xmlNode* first, xmlNode& target) {
  std::vector<XMLNode> copies;
  for (const xmlNode* node = first; node != nullptr; node = node->next) {
    copies.emplace_back(xmlDocCopyNode(const_cast<xmlNode*>(node), target.doc, 1));
    if (!copies.back()) return false;
  }
  for (XMLNode& copy : copies) {
    if (xmlAddChild(&target, copy.get()) == nullptr) return false;
    static_cast<void>(copy.release());
  }
  return !copies.empty();
}

}  // namespace

bool XMLFile::appendDocument(const XMLFile& other) {
  return tree_->element() != nullptr &&
         appendCopies(xmlDocGetRootElement(other.tree_->document.get()), *tree_->current);
}

bool XMLFile::appendSubtree(const XMLFile& other) {
  return tree_->element() != nullptr && appendCopies(other.tree_->element(), *tree_->current);
}

}  // namespace keystrand
