#include "keystrand/support/SystemClock.h"

#include <ctime>
#include <memory>

#include "keystrand/der/X500Time.h"

namespace keystrand {

owner<X500Time*> SystemClock::now() {
  auto time = std::make_unique<X500Time>();
  time->setUTC(unixTime());
  return time.release();
}

owner<X500Time*> SystemClock::nowGeneralized() {
  auto time = std::make_unique<X500Time>();
  time->setGeneralized(unixTime());
  return time.release();
}

std::int64_t SystemClock::unixTime() {
  return std::time(nullptr);
}

}  // namespace keystrand
