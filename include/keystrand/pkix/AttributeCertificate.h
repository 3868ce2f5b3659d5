// AttributeCertificate (RFC 5755 section 4.1): read with the digest of its body, and verified. The body stays encoded:
// this library asks an attribute certificate for nothing but its issuer's signature.
// Thread: one at a time; const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/DigestInfo.h"
#include "keystrand/crypto/KeyInfo.h"
#include "keystrand/crypto/Signature.h"
#include "keystrand/der/OctetValue.h"
#include "keystrand/der/SecureBuffer.h"

namespace keystrand {

class KEYSTRAND_API AttributeCertificate {
 public:
  AttributeCertificate();
  ~AttributeCertificate();
  AttributeCertificate(const AttributeCertificate&) = delete;
  AttributeCertificate& operator=(const AttributeCertificate&) = delete;
  [[nodiscard]] owner<AttributeCertificate*> clone() const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(SecureBuffer& buffer);  // hold the device's semaphore
  // Checks the signature with the issuer's key. Hold the device's semaphore.
  bool verify(CryptoDevice& device, const KeyInfo& key) const;

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  OctetValue info_;  // AttributeCertificateInfo, header and all, as it was read
  std::unique_ptr<AlgorithmIdentifier> signatureAlgorithm_;
  std::unique_ptr<Signature> signature_;
  std::unique_ptr<DigestInfo> digest_;
};

}  // namespace keystrand
