#include "crypto/SHA1.h"

namespace keystrand {

template class BlockDigest<SHA1Algorithm>;

}  // namespace keystrand
