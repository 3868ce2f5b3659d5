#include "crypto/SHA256.h"

namespace keystrand {

template class BlockDigest<SHA256Algorithm>;

}  // namespace keystrand
