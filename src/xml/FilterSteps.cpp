#include "xml/FilterSteps.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "xml/Subtrees.h"
#include "xml/TreeWalk.h"

namespace keystrand {

bool FilterSteps::add(std::string_view operation, const std::string& expression) {
  const bool isUnion = operation == "union";
  const bool isSubtraction = operation == "subtract";
  if (count_ == kMaxSteps || (!isUnion && !isSubtraction && operation != "intersect")) return false;
  std::optional<NodeSet> nodes = evaluation_.nodes(expression);
  if (!nodes) return false;
  ++count_;
  // The first union is the whole document: there is nothing that a further one would let through.
  if (!isUnion) steps_.push_back({isSubtraction, std::move(*nodes)});
  return true;
}

NodeSet FilterSteps::apply(const NodeSet& nodes) const {
  std::vector<SubtreeTracker> trackers;
  for (const Step& step : steps_) trackers.emplace_back(step.nodes);
  NodeSet passed;
  walkTree(document_, [&](const xmlNode* node, int depth) {
    bool passes = true;
    for (std::size_t i = 0; i < steps_.size(); ++i)
      passes = trackers[i].isInside(node, depth) != steps_[i].isSubtraction && passes;
    if (passes && nodes.contains(node)) passed.insert(node);
    return true;
  });
  return passed;
}

}  // namespace keystrand
