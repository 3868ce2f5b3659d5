// Room for bodies whose length only their end tells, or a peer that may lie.
#pragma once

#include <cstdint>

#include "keystrand/der/Buffer.h"

namespace keystrand {

// No body is longer.
constexpr std::uint64_t kBodyLimit = 512U << 20U;

// Room for n more bytes, doubling so that a long body is not copied with every piece. False beyond the limit.
[[nodiscard]] bool makeRoom(Buffer& body, std::uint64_t n, std::uint64_t limit = kBodyLimit);

}  // namespace keystrand
