// XPath Filter 2: node sets that let nodes through or stop them. All unions count before all intersections, and those
// before all subtractions, whatever the order in which the steps came.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "xml/NodeSet.h"
#include "xml/XPathEvaluation.h"

namespace keystrand {

class FilterSteps {
 public:
  static constexpr std::size_t kMaxSteps = 32;  // with the whole document, which is the first

  FilterSteps(xmlDoc& document, const NamespacePrefixes& prefixes)
      : document_(document), evaluation_(document, prefixes) {}

  // "intersect", "subtract" or "union".
  bool add(std::string_view operation, const std::string& expression);
  // The members of the set that pass. Namespace nodes never do.
  [[nodiscard]] NodeSet apply(const NodeSet& nodes) const;

 private:
  struct Step {
    bool isSubtraction;
    NodeSet nodes;
  };

  xmlDoc& document_;
  XPathEvaluation evaluation_;
  std::vector<Step> steps_;
  std::size_t count_ = 1;
};

}  // namespace keystrand
