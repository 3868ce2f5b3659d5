// Sets that name whole subtrees by the nodes on their top.
#pragma once

#include <climits>

#include "xml/NodeSet.h"
#include "xml/TreeWalk.h"

namespace keystrand {

// Tells during a walk through a document whether the walk is inside a subtree of the set.
class SubtreeTracker {
 public:
  explicit SubtreeTracker(const NodeSet& tops) : tops_(&tops) {}

  // To be asked for every node of the walk.
  bool isInside(const xmlNode* node, int depth) {
    if (depth <= topDepth_) topDepth_ = tops_->contains(node) ? depth : kOutside;
    return topDepth_ != kOutside;
  }

 private:
  static constexpr int kOutside = INT_MAX;

  const NodeSet* tops_;
  int topDepth_ = kOutside;
};

// Every node of these subtrees one by one, and of a comment or processing instruction the sibling that follows it.
// The namespace nodes of elements are not listed: the canonical form counts them by their element.
NodeSet flattened(xmlDoc& document, const NodeSet& tops);

}  // namespace keystrand
