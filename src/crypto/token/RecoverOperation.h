// The verification with recovery of the data that a session has under way (PKCS #11 v2.20 section 11.12): the signature
// is all that is given, and what was signed comes out of it. Asking for the length, and too little room for the data,
// do not end it; any other answer does.
#pragma once

#include <p11-kit/pkcs11.h>

#include <memory>
#include <optional>
#include <span>

#include "crypto/token/PKCS11RSAPublicKey.h"
#include "support/Memory.h"

namespace keystrand {

class RecoverOperation {
 public:
  CK_RV begin(const CK_MECHANISM& mechanism, const std::shared_ptr<const PKCS11Key>& key);
  // CKR_SIGNATURE_LEN_RANGE when the signature is not as long as the modulus, CKR_SIGNATURE_INVALID for whatever else
  // is wrong with key or signature.
  CK_RV recover(const CK_BYTE* signature, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength);
  void end() noexcept { key_.reset(); }

 private:
  CK_RV ended(CK_RV result) noexcept;
  [[nodiscard]] std::optional<Bytes> dataIn(std::span<const unsigned char> signature) const;

  std::shared_ptr<const PKCS11RSAPublicKey> key_;  // none when nothing is under way
  bool padded_ = false;
};

}  // namespace keystrand
