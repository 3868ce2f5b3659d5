#include "crypto/SHA512.h"

namespace keystrand {

template class BlockDigest<SHA512Algorithm>;

}  // namespace keystrand
