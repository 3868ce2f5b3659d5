// Proxy auto-configuration scripts, run by libpacparser where the library was built with it.
#pragma once

#include <memory>
#include <string>

#include "net/ProxyPlatform.h"

namespace keystrand {

// nullptr for a script that does not compile, and always without an interpreter.
std::unique_ptr<ProxyScript> compilePAC(std::string text);

}  // namespace keystrand
