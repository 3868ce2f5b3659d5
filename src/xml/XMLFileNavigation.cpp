// The cursor of XMLFile.
#include "xml/XMLFileTree.h"

namespace keystrand {

bool XMLFile::Tree::moveTo(xmlNode* found) {
  if (found == nullptr) return false;
  current = found;
  return true;
}

bool XMLFile::toRoot() {
  tree_->current = xmlDocGetRootElement(tree_->document.get());
  return tree_->current != nullptr;
}

bool XMLFile::find(const char* name) {
  return name != nullptr && tree_->moveTo(search(tree_->element(), name));
}

bool XMLFile::find(const char* name, const char* attribute, const char* value) {
  if (name == nullptr || attribute == nullptr || value == nullptr) return false;
  const auto fits = [&](const xmlNode* node) {
    if (fromXML(node->name) != name) return false;
    const xmlAttr* found = xmlHasProp(node, toXML(attribute));
    return found != nullptr && found->type == XML_ATTRIBUTE_NODE &&
           textBelow(tree_->document.get(), found->children).value_or("") == value;
  };
  return tree_->moveTo(searchIf(tree_->element(), fits));
}

bool XMLFile::findBelow(const char* name) {
  return name != nullptr && tree_->moveTo(search(tree_->childrenOfCurrent(), name));
}

bool XMLFile::findAfter(const char* name) {
  return name != nullptr && tree_->element() != nullptr && tree_->moveTo(search(tree_->current->next, name));
}

bool XMLFile::child(const char* name) {
  if (name == nullptr) return false;
  xmlNode* node = tree_->childrenOfCurrent();
  while (node != nullptr && !isElement(node, name)) node = node->next;
  return tree_->moveTo(node);
}

bool XMLFile::sibling(const char* name) {
  if (name == nullptr || tree_->element() == nullptr) return false;
  xmlNode* node = tree_->current->next;
  while (node != nullptr && !isElement(node, name)) node = node->next;
  return tree_->moveTo(node);
}

bool XMLFile::firstChildElement() {
  return tree_->moveTo(elementFrom(tree_->childrenOfCurrent()));
}

bool XMLFile::nextElement() {
  return tree_->element() != nullptr && tree_->moveTo(elementFrom(tree_->current->next));
}

bool XMLFile::up() {
  return tree_->element() != nullptr && isElement(tree_->current->parent) && tree_->moveTo(tree_->current->parent);
}

bool XMLFile::isCurrent(const char* name) const {
  return name != nullptr && isElement(tree_->current, name);
}

bool XMLFile::namespaceIs(const char* uri) const {
  const xmlNode* element = tree_->element();
  return uri != nullptr && element != nullptr && element->ns != nullptr && fromXML(element->ns->href) == uri;
}

}  // namespace keystrand
