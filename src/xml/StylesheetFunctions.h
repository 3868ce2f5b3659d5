// The functions that a stylesheet's expressions call: libxslt's and libxml2's but for those of which a stranger would
// make one step that nothing stops.
#pragma once

#include <libxml/xpath.h>

namespace keystrand {

// To be registered as the lookup of a context for expressions, which is its first argument.
xmlXPathFunction stylesheetFunction(void* context, const xmlChar* name, const xmlChar* uri);

}  // namespace keystrand
