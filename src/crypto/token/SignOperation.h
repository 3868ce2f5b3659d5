// The signature or MAC that a session has under way (PKCS #11 v2.20 section 11.11). Asking for the length, and too
// little room for the result, do not end it; any other answer does.
#pragma once

#include <p11-kit/pkcs11.h>

#include <memory>
#include <span>

#include "crypto/token/DigestSet.h"
#include "crypto/token/PKCS11Key.h"
#include "crypto/token/SignatureMechanisms.h"

namespace keystrand {

class SignOperation {
 public:
  // `usage` is CKA_SIGN, or CKA_SIGN_RECOVER for the mechanisms out of which the data comes back.
  CK_RV begin(const CK_MECHANISM* mechanism, std::shared_ptr<const PKCS11Key> key, CK_ATTRIBUTE_TYPE usage);
  CK_RV whole(const CK_BYTE* data, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength);
  // In parts, for the mechanisms that digest.
  CK_RV update(const CK_BYTE* part, CK_ULONG length);
  CK_RV finish(CK_BYTE* out, CK_ULONG* outLength);
  void end() noexcept;

 private:
  using Octets = std::span<const unsigned char>;
  CK_RV ended(CK_RV result) noexcept;
  [[nodiscard]] bool takesParts() const noexcept { return digest_ != nullptr || mac_ != nullptr; }
  void take(Octets part);
  [[nodiscard]] CK_ULONG resultLength() const;
  // Tells the length where there is no room for the result.
  CK_RV makeRoom(const CK_BYTE* out, CK_ULONG* outLength, bool& there) const;
  CK_RV signTaken(std::span<unsigned char> out);
  CK_RV sign(Octets data, std::span<unsigned char> out);
  CK_RV signRSA(Octets data, std::span<unsigned char> out);
  CK_RV signEC(Octets data, std::span<unsigned char> out);

  const SignatureMechanism* row_ = nullptr;
  std::shared_ptr<const PKCS11Key> key_;  // lives on here though its object be destroyed
  DigestSet digests_;
  MessageDigest* digest_ = nullptr;  // one of the set, for a mechanism that digests
  std::unique_ptr<PasswordBasedMac> mac_;
  bool inParts_ = false;
};

}  // namespace keystrand
