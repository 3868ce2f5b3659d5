// The encryption or decryption that a session has under way (PKCS #11 v2.20 sections 11.8, 11.9), by a secret key or by
// RSA. Asking for the length, and too little room for the result, do not end it; whatever else is no success does.
#pragma once

#include <p11-kit/pkcs11.h>

#include <memory>
#include <span>

#include "crypto/token/CipherMechanisms.h"
#include "crypto/token/PKCS11Key.h"

namespace keystrand {

class CipherOperation {
 public:
  // `usage` is CKA_ENCRYPT, CKA_DECRYPT, CKA_WRAP or CKA_UNWRAP.
  CK_RV begin(const CK_MECHANISM& mechanism, std::shared_ptr<const PKCS11Key> key, CK_ATTRIBUTE_TYPE usage);
  CK_RV whole(const CK_BYTE* data, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength);
  // In parts, with secret keys.
  CK_RV update(const CK_BYTE* part, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength);
  CK_RV finish(CK_BYTE* out, CK_ULONG* outLength);
  // The whole result at once; the operation ends.
  CK_RV take(std::span<const unsigned char> data, SecretBytes& out);
  void end() noexcept;
  // Of the blocks that the data is made of; 1 where it may have any length.
  [[nodiscard]] std::size_t blockLength() const;

 private:
  using Octets = std::span<const unsigned char>;
  CK_RV ended(CK_RV result) noexcept;
  [[nodiscard]] CK_RV compute(Octets data, SecretBytes& out) const;
  [[nodiscard]] CK_RV encryptRSA(Octets data, SecretBytes& out) const;
  [[nodiscard]] CK_RV decryptRSA(Octets data, SecretBytes& out) const;
  [[nodiscard]] CK_RV computeBlocks(Octets data, SecretBytes& out) const;
  [[nodiscard]] CK_ULONG mostOctets(CK_ULONG length) const;
  [[nodiscard]] bool pads() const noexcept { return row_ != nullptr && row_->mode == CipherMode::kCBCPad; }
  void crypt(std::span<unsigned char> blocks, SecretBytes& vector) const;
  // What of these octets is ready, in whole blocks.
  [[nodiscard]] CK_ULONG readyLength(CK_ULONG length) const;

  bool active_ = false;
  bool encrypts_ = false;
  bool padsRSA_ = false;
  bool inParts_ = false;
  std::shared_ptr<const PKCS11Key> key_;  // lives on here though its object be destroyed
  const CipherMechanism* row_ = nullptr;  // none for RSA
  std::unique_ptr<Cipher> cipher_;
  SecretBytes vector_;   // what the next block is chained to
  SecretBytes pending_;  // octets that make no block yet, or the last block while there may be padding in it
};

}  // namespace keystrand
