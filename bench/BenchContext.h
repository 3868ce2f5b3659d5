// The one context of the benchmarks, over a library with its own software token.
#pragma once

#include "cache/CACache.h"

namespace keystrand::bench {

CACache& context();

}  // namespace keystrand::bench
