// References to parts of a document by the fragment of a URI (XML Signature section 4.4.3.2).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace keystrand {

// The XPath expressions that the reference stands for, to be tried in order until one finds something; none for what is
// no such reference. libxml2's own evaluation of pointers is not used: it has functions that do not end.
std::vector<std::string> expressionsOf(std::string_view uri);

}  // namespace keystrand
