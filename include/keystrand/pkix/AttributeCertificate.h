// AttributeCertificate (RFC 5755 section 4.1): the four fields, read with the digest of the body, and verified.
#pragma once

#include <memory>
#include <vector>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/DigestInfo.h"
#include "keystrand/crypto/KeyInfo.h"
#include "keystrand/crypto/Signature.h"
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
  bool verify(CryptoDevice& device, const KeyInfo& key) const;

 private:
  std::vector<unsigned char> info_;  // AttributeCertificateInfo, as it was read
  std::unique_ptr<AlgorithmIdentifier> signatureAlgorithm_;
  std::unique_ptr<Signature> signature_;
  std::unique_ptr<DigestInfo> digest_;
};

}  // namespace keystrand
