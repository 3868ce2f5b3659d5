// AttributeCertificate (RFC 5755 section 4.1).
//
// It never keeps its original bytes. What it keeps for a later signature check is the digest of the body, taken over
// the bytes as they arrived by get(SecureBuffer&). Accessors give clones that the caller deletes, setters store clones,
// nullptr means absent; the ...View forms lend the part, valid until the object changes. A setter of the body or of the
// algorithm drops the digest: the signature is then checked over what the object would write.
// Thread: one at a time (verify may store the digest); const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/DigestInfo.h"
#include "keystrand/crypto/KeyInfo.h"
#include "keystrand/crypto/MessageDigest.h"
#include "keystrand/crypto/Signature.h"
#include "keystrand/der/SecureBuffer.h"
#include "keystrand/pkix/AttributeCertificateInfo.h"

namespace keystrand {

class KEYSTRAND_API AttributeCertificate {
 public:
  AttributeCertificate();
  ~AttributeCertificate();
  AttributeCertificate(const AttributeCertificate&) = delete;
  AttributeCertificate& operator=(const AttributeCertificate&) = delete;
  [[nodiscard]] owner<AttributeCertificate*> clone() const;

  [[nodiscard]] owner<AttributeCertificateInfo*> info() const;
  [[nodiscard]] const AttributeCertificateInfo* infoView() const noexcept { return info_.get(); }
  void setInfo(const AttributeCertificateInfo* info);
  [[nodiscard]] owner<AlgorithmIdentifier*> outerAlgorithm() const;
  void setOuterAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<Signature*> signature() const;
  void setSignature(const Signature* signature);
  [[nodiscard]] const DigestInfo* digestView() const noexcept { return digest_.get(); }

  // The tag is the outer one, for a place where the certificate stands under an implicit tag.
  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag = 0x30) const;
  void put(Buffer& buffer, unsigned char tag = 0x30) const;
  bool get(Buffer& buffer, unsigned char tag = 0x30);        // looks only: no digest is computed
  bool get(SecureBuffer& buffer, unsigned char tag = 0x30);  // the normal road. Hold the device's semaphore.
  // Writes the certificate behind what the buffer holds; signs the body first where a signature is missing, and is
  // false when the device cannot. Hold the device's semaphore.
  bool sign(SecureBuffer& buffer);
  // The same with a private key and the digest of the outer algorithm, without a device.
  bool sign(Buffer& buffer, const Key& key, MessageDigest& digester);
  // Checks the signature with the issuer's key. Without a digest, and for RSASSA-PSS always, over the body as put
  // writes it, so that only a canonical encoding passes. Hold the device's semaphore.
  bool verify(CryptoDevice& device, const KeyInfo& key);

 private:
  bool read(Buffer& buffer, SecureBuffer* digester, unsigned char tag);
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<AttributeCertificateInfo> info_;
  std::unique_ptr<AlgorithmIdentifier> signatureAlgorithm_;
  std::unique_ptr<Signature> signature_;
  std::unique_ptr<DigestInfo> digest_;
};

}  // namespace keystrand
