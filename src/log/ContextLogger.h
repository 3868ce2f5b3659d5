// The logger of a new context.
#pragma once

#include <memory>

#include "log/Logger.h"
#include "support/Settings.h"

namespace keystrand {

// Null when logging is off at this moment; a later change of the setting does not reach a context that exists.
inline std::unique_ptr<Logger> contextLogger() {
  const unsigned char level = settings().logLevel;
  if (level == kNoLog) return nullptr;
  return std::make_unique<Logger>(level);
}

}  // namespace keystrand
