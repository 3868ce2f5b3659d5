#include "cache/Library.h"

namespace keystrand {

Library& library() {
  static auto* instance = new Library;
  return *instance;
}

}  // namespace keystrand
