#include "BenchContext.h"

#include <memory>

#include "cache/Library.h"

namespace keystrand::bench {

CACache& context() {
  static CACache& made = []() -> CACache& {
    library().cryptoKi = std::make_unique<CryptoKi>();
    library().cryptoDevice = std::make_unique<CryptoDevice>(library().cryptoKi.get());
    library().cryptoDevice->open(0, nullptr, 0);
    library().initialised = true;
    return *new CACache;
  }();
  return made;
}

}  // namespace keystrand::bench
