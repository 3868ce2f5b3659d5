// The library's own software token, open for the targets that digest and verify.
#pragma once

#include "Property.h"
#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"

namespace keystrand::fuzz {

inline CryptoDevice& device() {
  static CryptoKi cryptoKi;
  static CryptoDevice opened(&cryptoKi);
  static const bool open = opened.open(0, nullptr, 0);
  require(open, "the device opens");
  return opened;
}

}  // namespace keystrand::fuzz
