// The verification that a session has under way (PKCS #11 v2.20 section 11.12). It ends with its answer, whatever that
// is: each answer wants a begin of its own.
#pragma once

#include "crypto/token/SignatureOperation.h"

namespace keystrand {

class ECDSAPublicKey;
class RSAPublicKey;

class VerifyOperation : public SignatureOperation {
 public:
  CK_RV begin(const CK_MECHANISM& mechanism, std::shared_ptr<const PKCS11Key> key) {
    return SignatureOperation::begin(mechanism, std::move(key), CKA_VERIFY);
  }
  // These want an active operation. The answer is CKR_OK, CKR_SIGNATURE_LEN_RANGE when an RSA signature is not as long
  // as the modulus, or CKR_SIGNATURE_INVALID for whatever else is wrong with key, data or signature.
  CK_RV whole(std::span<const unsigned char> data, std::span<const unsigned char> signature);
  // In parts, for the mechanisms that digest.
  CK_RV update(std::span<const unsigned char> part);
  CK_RV finish(std::span<const unsigned char> signature);

 private:
  class Ending {
   public:
    explicit Ending(VerifyOperation& operation) : operation_(operation) {}
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;
    ~Ending() { operation_.end(); }

   private:
    VerifyOperation& operation_;
  };

  CK_RV checkTaken(Octets signature);
  [[nodiscard]] CK_RV check(Octets data, Octets signature) const;
  CK_RV check(const RSAPublicKey& key, Octets data, Octets signature) const;
  [[nodiscard]] static CK_RV check(const ECDSAPublicKey& key, Octets data, Octets signature);
};

}  // namespace keystrand
