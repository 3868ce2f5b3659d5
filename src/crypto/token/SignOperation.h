// The signature or MAC that a session has under way (PKCS #11 v2.20 section 11.11). Asking for the length, and too
// little room for the result, do not end it; any other answer does.
#pragma once

#include "crypto/token/SignatureOperation.h"

namespace keystrand {

class SignOperation : public SignatureOperation {
 public:
  // `usage` is CKA_SIGN, or CKA_SIGN_RECOVER for the mechanisms out of which the data comes back.
  CK_RV begin(const CK_MECHANISM* mechanism, std::shared_ptr<const PKCS11Key> key, CK_ATTRIBUTE_TYPE usage) {
    return SignatureOperation::begin(*mechanism, std::move(key), usage);
  }
  CK_RV whole(const CK_BYTE* data, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength);
  // In parts, for the mechanisms that digest.
  CK_RV update(const CK_BYTE* part, CK_ULONG length);
  CK_RV finish(CK_BYTE* out, CK_ULONG* outLength);

 private:
  CK_RV ended(CK_RV result) noexcept;
  [[nodiscard]] CK_ULONG resultLength() const;
  // Tells the length where there is no room for the result.
  CK_RV makeRoom(const CK_BYTE* out, CK_ULONG* outLength, bool& there) const;
  CK_RV signTaken(std::span<unsigned char> out);
  CK_RV sign(Octets data, std::span<unsigned char> out);
  CK_RV signRSA(Octets data, std::span<unsigned char> out);
  CK_RV signEC(Octets data, std::span<unsigned char> out);
};

}  // namespace keystrand
