// One session of the token and what it has under way: at most one operation of each kind.
#pragma once

#include <p11-kit/pkcs11.h>

#include <optional>
#include <vector>

#include "crypto/token/CipherOperation.h"
#include "crypto/token/DigestOperation.h"
#include "crypto/token/RecoverOperation.h"
#include "crypto/token/SignOperation.h"
#include "crypto/token/VerifyOperation.h"

namespace keystrand {

struct TokenSession {
  CK_SESSION_HANDLE handle = CK_INVALID_HANDLE;
  bool open = false;
  CK_SLOT_ID slot = 0;
  CK_FLAGS flags = 0;
  DigestOperation digest;
  CipherOperation encryption;
  CipherOperation decryption;
  SignOperation signature;
  SignOperation recoverableSignature;
  VerifyOperation verification;
  RecoverOperation recovery;
  std::optional<std::vector<CK_OBJECT_HANDLE>> found;  // what a search has still to give, last first

  [[nodiscard]] bool isReadWrite() const noexcept { return (flags & CKF_RW_SESSION) != 0; }
  // The digest instances stay, for the next session in this row.
  void close() noexcept {
    open = false;
    endOperations();
  }
  void endOperations() noexcept {
    digest.end();
    encryption.end();
    decryption.end();
    signature.end();
    recoverableSignature.end();
    verification.end();
    recovery.end();
    found.reset();
  }
};

}  // namespace keystrand
