// Owners for the handles of OpenSSL's big numbers and curves, and the guard of its error queue.
#pragma once

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/err.h>

#include <memory>

#include "support/Memory.h"

namespace keystrand {

using BigNumber = std::unique_ptr<BIGNUM, Releaser<&BN_free>>;
using BigNumberContext = std::unique_ptr<BN_CTX, Releaser<&BN_CTX_free>>;
using CurveGroup = std::unique_ptr<EC_GROUP, Releaser<&EC_GROUP_free>>;
using CurvePoint = std::unique_ptr<EC_POINT, Releaser<&EC_POINT_free>>;

// What fails while it lives leaves nothing in the thread's error queue, which belongs to the application as well.
class ErrorMark {
 public:
  ErrorMark() { ERR_set_mark(); }
  ~ErrorMark() { ERR_pop_to_mark(); }
  ErrorMark(const ErrorMark&) = delete;
  ErrorMark& operator=(const ErrorMark&) = delete;
};

}  // namespace keystrand
