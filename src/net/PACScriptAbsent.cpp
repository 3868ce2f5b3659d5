#include "net/PACScript.h"

namespace keystrand {

std::unique_ptr<ProxyScript> compilePAC(std::string /*text*/) {
  return nullptr;
}

}  // namespace keystrand
