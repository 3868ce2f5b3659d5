// What the entities of a document would make of it.
#include "xml/XMLTree.h"

namespace keystrand {
namespace {

// Counts the bytes that references stand for, elements within entities included, and one for each reference, so that
// references to nothing end too.
class ExpansionCounter {
 public:
  explicit ExpansionCounter(const xmlDoc& document) : document_(document) {}

  // A list of nodes and all below them. What stands in the document itself costs nothing: depth 0.
  bool count(const xmlNode* first, int depth) {
    int level = 0;
    for (const xmlNode* node = first; node != nullptr;) {
      if (!countOne(*node, depth)) return false;
      if (isElement(node) && node->children != nullptr) {
        node = node->children;
        ++level;
        continue;
      }
      for (; node->next == nullptr && level > 0; --level) node = node->parent;
      node = node->next;
    }
    return true;
  }

 private:
  bool countOne(const xmlNode& node, int depth) {
    if (node.type == XML_ENTITY_REF_NODE) return countReference(node, depth);
    if (isElement(&node)) return countAttributes(node, depth);
    return depth == 0 || (node.type != XML_TEXT_NODE && node.type != XML_CDATA_SECTION_NODE) ||
           spend(fromXML(node.content).size());
  }
  bool countAttributes(const xmlNode& element, int depth) {
    for (const xmlAttr* attribute = element.properties; attribute != nullptr; attribute = attribute->next)
      if (!count(attribute->children, depth)) return false;
    return true;
  }
  bool countReference(const xmlNode& reference, int depth) {
    if (depth == kMaxEntityDepth || !spend(1)) return false;
    const xmlEntity* entity = xmlGetDocEntity(&document_, reference.name);
    return entity == nullptr || count(entity->children, depth + 1);
  }
  bool spend(std::size_t bytes) {
    if (bytes > XMLFile::kMaxText - spent_) return false;
    spent_ += bytes;
    return true;
  }

  const xmlDoc& document_;
  std::size_t spent_ = 0;
};

}  // namespace

bool expandsModestly(const xmlDoc& document) {
  const bool hasEntities = document.intSubset != nullptr && document.intSubset->entities != nullptr;
  return !hasEntities || ExpansionCounter(document).count(document.children, 0);
}

}  // namespace keystrand
