// CertificateList, the CRL (RFC 5280 section 5.1).
//
// A CRL never keeps its original bytes. What it keeps for a later signature check is the digest of the body, taken over
// the bytes as they arrived by get(SecureBuffer&). Accessors give clones that the caller deletes, the ...View forms
// lend the part until the object changes; setters store clones, nullptr means absent. Thread: one at a time; const
// access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/DigestInfo.h"
#include "keystrand/crypto/KeyInfo.h"
#include "keystrand/crypto/MessageDigest.h"
#include "keystrand/crypto/Signature.h"
#include "keystrand/der/SecureBuffer.h"
#include "keystrand/pkix/CertificateListInfo.h"

namespace keystrand {

class KEYSTRAND_API CertificateList {
 public:
  CertificateList();
  ~CertificateList();
  CertificateList(const CertificateList&) = delete;
  CertificateList& operator=(const CertificateList&) = delete;
  [[nodiscard]] owner<CertificateList*> clone() const;

  [[nodiscard]] owner<CertificateListInfo*> info() const;
  [[nodiscard]] const CertificateListInfo* infoView() const noexcept { return info_.get(); }
  void setInfo(const CertificateListInfo* info);
  [[nodiscard]] owner<CertificateListInfo*> releaseInfo() noexcept;  // hands the body over, without a copy
  [[nodiscard]] owner<AlgorithmIdentifier*> signatureAlgorithm() const;
  [[nodiscard]] const AlgorithmIdentifier* signatureAlgorithmView() const noexcept { return signatureAlgorithm_.get(); }
  void setSignatureAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<Signature*> signature() const;
  void setSignature(const Signature* signature);
  [[nodiscard]] const DigestInfo* digestView() const noexcept { return digest_.get(); }

  // Through the body; nullptr when there is none.
  [[nodiscard]] owner<Name*> issuer() const;
  [[nodiscard]] const Name* issuerView() const noexcept;
  [[nodiscard]] owner<X500Time*> thisUpdate() const;
  [[nodiscard]] const X500Time* thisUpdateView() const noexcept;
  [[nodiscard]] owner<X500Time*> nextUpdate() const;
  [[nodiscard]] const X500Time* nextUpdateView() const noexcept;
  // The list itself, owned by the body; nullptr when the CRL lists nothing.
  [[nodiscard]] RevokedCertificateList* revokedCertificates() noexcept;
  [[nodiscard]] const RevokedCertificateList* revokedCertificates() const noexcept;
  [[nodiscard]] owner<ExtensionList*> crlExtensions() const;
  [[nodiscard]] const ExtensionList* crlExtensionsView() const noexcept;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);        // no digest: verify will say false
  bool get(SecureBuffer& buffer);  // digests the received body. Hold the device's semaphore.
  // Writes the CRL behind what the buffer holds; signs the body first where a signature is missing, and is false when
  // the device cannot. Hold the device's semaphore.
  bool sign(SecureBuffer& buffer);
  // The same with a private key and the digest of the outer algorithm, without a device.
  bool sign(Buffer& buffer, const Key& key, MessageDigest& digester);
  // Checks the signature with the issuer's key over the digest taken by get, also when setInfo has given it another
  // body since. Hold the device's semaphore.
  bool verify(CryptoDevice& device, const KeyInfo& key) const;

 private:
  bool read(Buffer& buffer, SecureBuffer* digester);
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<CertificateListInfo> info_;
  std::unique_ptr<AlgorithmIdentifier> signatureAlgorithm_;
  std::unique_ptr<Signature> signature_;
  std::unique_ptr<DigestInfo> digest_;
};

}  // namespace keystrand
