// A stylesheet that stands in a document, applied to that document. It reads and writes no file, asks no network,
// takes no part from elsewhere and ends.
#pragma once

#include <optional>
#include <string>

#include "xml/XMLTree.h"

namespace keystrand {

// The text that comes out; nothing for what is no stylesheet or fails.
std::optional<std::string> runStylesheet(xmlDoc& document, xmlNode& stylesheet);

}  // namespace keystrand
