#include "crypto/SHA384.h"

namespace keystrand {

template class BlockDigest<SHA384Algorithm>;

}  // namespace keystrand
