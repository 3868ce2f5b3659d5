// What a context reports of its last operation. All times are the context's own copies.
#pragma once

#include <cstdint>
#include <optional>

#include "keystrand/der/X500Time.h"

namespace keystrand {

constexpr std::int32_t kNoError = -1;

struct Report {
  std::int32_t errCode = kNoError;
  unsigned char reason = 0;
  std::optional<X500Time> thisUpdate;
  std::optional<X500Time> nextUpdate;
  std::optional<X500Time> expiredCertsOnCRL;
  std::optional<X500Time> revocationDate;
  std::optional<X500Time> invalidSince;

  void reset() { *this = Report(); }
};

}  // namespace keystrand
