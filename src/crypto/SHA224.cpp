#include "crypto/SHA224.h"

namespace keystrand {

template class BlockDigest<SHA224Algorithm>;

}  // namespace keystrand
