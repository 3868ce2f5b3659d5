// The table that the build makes of data/roots.
#pragma once

#include <span>

namespace keystrand {

// The PEM texts (RFC 7468), in the order of their file names.
std::span<const char* const> embeddedRoots();

}  // namespace keystrand
