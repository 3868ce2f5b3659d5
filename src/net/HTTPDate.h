// The modification time that a web server gives with a document (RFC 9110 section 5.6.7).
#pragma once

#include <string_view>

#include "keystrand/der/X500Time.h"

namespace keystrand {

// Reads the three forms of HTTP dates, surrounding blanks and line ends allowed. Anything else gives some defined time,
// for most texts one that is never newer than a real one.
X500Time parseHTTPDate(std::string_view text);

}  // namespace keystrand
