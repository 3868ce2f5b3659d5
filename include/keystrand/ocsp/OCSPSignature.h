// Signature (RFC 6960 section 4.1.1): the optional signature of a request, and the elements behind the data of a
// BasicOCSPResponse. Accessors give clones that the caller deletes, the ...View forms lend the part until the object
// changes; setters store copies, nullptr means absent.
#pragma once

#include <cstdint>
#include <memory>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/Signature.h"
#include "keystrand/der/SecureBuffer.h"
#include "keystrand/pkix/Certificate.h"

namespace keystrand {

struct Element;

class KEYSTRAND_API OCSPSignature {
 public:
  OCSPSignature();
  ~OCSPSignature();
  OCSPSignature(const OCSPSignature&) = delete;
  OCSPSignature& operator=(const OCSPSignature&) = delete;
  [[nodiscard]] owner<OCSPSignature*> clone() const;

  [[nodiscard]] owner<AlgorithmIdentifier*> signatureAlgorithm() const;
  [[nodiscard]] const AlgorithmIdentifier* signatureAlgorithmView() const noexcept { return signatureAlgorithm_.get(); }
  void setSignatureAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<Signature*> signature() const;
  [[nodiscard]] const Signature* signatureView() const noexcept { return signature_.get(); }
  void setSignature(const Signature* signature);
  [[nodiscard]] owner<CertList*> certs() const;
  [[nodiscard]] const CertList* certsView() const noexcept { return certs_.get(); }
  [[nodiscard]] CertList* certsView() noexcept { return certs_.get(); }
  void setCerts(const CertList* certs);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);        // the certificates without their digests
  bool get(SecureBuffer& buffer);  // with them. Hold the device's semaphore.

 private:
  friend class BasicOCSPResponse;  // ends with the same elements

  void copyFrom(const OCSPSignature& other);
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;
  void putContent(Buffer& buffer) const;
  template <class AnyBuffer>
  bool getContent(const Element& body, AnyBuffer& buffer);
  template <class AnyBuffer>
  bool read(AnyBuffer& buffer);

  std::unique_ptr<AlgorithmIdentifier> signatureAlgorithm_;
  std::unique_ptr<Signature> signature_;
  std::unique_ptr<CertList> certs_;
};

}  // namespace keystrand
