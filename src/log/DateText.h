// How dates stand in messages.
#pragma once

#include <memory>
#include <string>

#include "keystrand/der/X500Time.h"

namespace keystrand {

// "Jan 01 08:30:00 2010 GMT"
inline std::string dateText(const X500Time& time) {
  const std::unique_ptr<char[]> text(time.formatGMT("%b %d %H:%M:%S %Y GMT"));
  return text.get();
}

}  // namespace keystrand
