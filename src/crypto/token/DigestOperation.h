// The digest that a session has under way (PKCS #11 v2.20 section 11.10). An error ends it; asking for the length, and
// too little room for the result, do not.
#pragma once

#include <p11-kit/pkcs11.h>

#include <span>

#include "crypto/token/DigestSet.h"

namespace keystrand {

class DigestOperation {
 public:
  CK_RV begin(const CK_MECHANISM* mechanism);
  CK_RV whole(const CK_BYTE* data, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength);
  CK_RV update(const CK_BYTE* part, CK_ULONG length);
  CK_RV finish(CK_BYTE* out, CK_ULONG* outLength);
  // What was digested may have been a key.
  void end() noexcept {
    if (active_ != nullptr) active_->reset();
    active_ = nullptr;
  }

 private:
  CK_RV ended(CK_RV result) noexcept;

  DigestSet digests_;
  MessageDigest* active_ = nullptr;  // one of the set
  bool inParts_ = false;
};

}  // namespace keystrand
