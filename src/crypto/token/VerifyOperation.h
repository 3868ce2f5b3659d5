// The verification that a session has under way (PKCS #11 v2.20 section 11.12). It ends with its answer, whatever that
// is: each answer wants a begin of its own.
#pragma once

#include <p11-kit/pkcs11.h>

#include <memory>
#include <span>

#include "crypto/token/DigestSet.h"
#include "crypto/token/PKCS11Key.h"
#include "crypto/token/SignatureMechanisms.h"

namespace keystrand {

class ECDSAPublicKey;
class RSAPublicKey;

class VerifyOperation {
 public:
  CK_RV begin(const CK_MECHANISM& mechanism, std::shared_ptr<const PKCS11Key> key);
  [[nodiscard]] bool isActive() const noexcept { return row_ != nullptr; }

  // These want an active operation. The answer is CKR_OK, CKR_SIGNATURE_LEN_RANGE when an RSA signature is not as long
  // as the modulus, or CKR_SIGNATURE_INVALID for whatever else is wrong with key, data or signature.
  CK_RV whole(std::span<const unsigned char> data, std::span<const unsigned char> signature);
  // In parts, for the mechanisms that digest.
  CK_RV update(std::span<const unsigned char> part);
  CK_RV finish(std::span<const unsigned char> signature);
  void end() noexcept;

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

  using Octets = std::span<const unsigned char>;
  [[nodiscard]] bool takesParts() const noexcept { return digest_ != nullptr || mac_ != nullptr; }
  void take(Octets part);
  CK_RV checkTaken(Octets signature);
  [[nodiscard]] CK_RV check(Octets data, Octets signature) const;
  CK_RV check(const RSAPublicKey& key, Octets data, Octets signature) const;
  [[nodiscard]] static CK_RV check(const ECDSAPublicKey& key, Octets data, Octets signature);

  const SignatureMechanism* row_ = nullptr;
  std::shared_ptr<const PKCS11Key> key_;  // lives on here though its object be destroyed
  DigestSet digests_;
  MessageDigest* digest_ = nullptr;  // one of the set, for a mechanism that digests
  std::unique_ptr<PasswordBasedMac> mac_;
  bool inParts_ = false;
};

}  // namespace keystrand
