#include "net/BodyRoom.h"

#include <algorithm>

namespace keystrand {

namespace {

constexpr std::uint64_t kFirstReserve = 64U << 10U;

}  // namespace

bool makeRoom(Buffer& body, std::uint64_t n, std::uint64_t limit) {
  if (n > limit || body.size() > limit - n) return false;
  const std::uint64_t needed = body.size() + n;
  if (needed > body.limit())
    body.reserve(static_cast<std::uint32_t>(
        std::min(limit, std::max({needed, 2 * std::uint64_t{body.limit()}, kFirstReserve}))));
  return true;
}

}  // namespace keystrand
