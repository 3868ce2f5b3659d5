// What a fuzz target demands of an answer.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace keystrand::fuzz {

// Ends the process, so that the input at hand is kept, when a property does not hold.
inline void require(bool holds, const char* property) {
  if (holds) return;
  static_cast<void>(std::fprintf(stderr, "does not hold: %s\n", property));
  std::abort();
}

}  // namespace keystrand::fuzz
