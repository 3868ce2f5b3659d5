// The present time.
#pragma once

#include <cstdint>

#include "keystrand/support/Api.h"

namespace keystrand {

class X500Time;

class KEYSTRAND_API SystemClock {
 public:
  [[nodiscard]] static owner<X500Time*> now();             // as UTCTime; the caller deletes it
  [[nodiscard]] static owner<X500Time*> nowGeneralized();  // as GeneralizedTime; the caller deletes it
  [[nodiscard]] static std::int64_t unixTime();            // seconds since 1970-01-01 00:00:00 GMT
};

}  // namespace keystrand
