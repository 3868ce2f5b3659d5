#include "xml/Subtrees.h"

namespace keystrand {

NodeSet flattened(xmlDoc& document, const NodeSet& tops) {
  NodeSet nodes;
  nodes.insertNamespaces(tops);
  SubtreeTracker tracker(tops);
  walkTree(document, [&](const xmlNode* node, int depth) {
    if (!tracker.isInside(node, depth)) return true;
    nodes.insert(node);
    const bool drawsSibling = node->type == XML_COMMENT_NODE || node->type == XML_PI_NODE;
    if (drawsSibling && node->next != nullptr) nodes.insert(node->next);
    return true;
  });
  return nodes;
}

}  // namespace keystrand
