// How a context logs a row of the catalogue.
#pragma once

#include "cache/CACache.h"
#include "support/Settings.h"

namespace keystrand {

template <class... Arguments>
void CACache::logMessage(unsigned char level, unsigned long code, Arguments... arguments) {
  logRow(logger_.get(), level, code, settings().language, arguments...);
}

}  // namespace keystrand
