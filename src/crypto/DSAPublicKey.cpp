#include "crypto/DSAPublicKey.h"

#include "crypto/IntegerBytes.h"

namespace keystrand {

owner<unsigned char*> DSAPublicKey::keyBytes() const {
  return newMagnitude(value_);
}

}  // namespace keystrand
