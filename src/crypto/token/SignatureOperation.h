// What signing and verifying have in common: the mechanism, the key, and the digest or MAC that takes the data in.
#pragma once

#include <p11-kit/pkcs11.h>

#include <memory>
#include <span>

#include "crypto/token/DigestSet.h"
#include "crypto/token/PKCS11Key.h"
#include "crypto/token/SignatureMechanisms.h"

namespace keystrand {

class SignatureOperation {
 public:
  [[nodiscard]] bool isActive() const noexcept { return row_ != nullptr; }
  void end() noexcept;

 protected:
  using Octets = std::span<const unsigned char>;
  // `usage` is what the key has to be meant for.
  CK_RV begin(const CK_MECHANISM& mechanism, std::shared_ptr<const PKCS11Key> key, CK_ATTRIBUTE_TYPE usage);
  // Whether the data may come in parts: only where it is digested, or goes into a MAC.
  [[nodiscard]] bool takesParts() const noexcept { return digest_ != nullptr || mac_ != nullptr; }
  void take(Octets part);

  const SignatureMechanism* row_ = nullptr;
  std::shared_ptr<const PKCS11Key> key_;  // lives on here though its object be destroyed
  DigestSet digests_;
  MessageDigest* digest_ = nullptr;  // one of the set, for a mechanism that digests
  std::unique_ptr<PasswordBasedMac> mac_;
  bool inParts_ = false;
};

}  // namespace keystrand
