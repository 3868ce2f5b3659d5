// BasicOCSPResponse (RFC 6960 section 4.2.1): the signed answer of a responder.
//
// The signature is checked over the data as put writes it, not over the bytes received: a response whose data is not
// DER never verifies. Accessors give clones that the caller deletes, the ...View forms lend the part until the object
// changes; setters store copies, nullptr means absent. Thread: one at a time (verify may store the digest); const
// access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>

#include "keystrand/crypto/DigestInfo.h"
#include "keystrand/crypto/KeyInfo.h"
#include "keystrand/ocsp/OCSPSignature.h"
#include "keystrand/ocsp/ResponseData.h"

namespace keystrand {

class CryptoDevice;

class KEYSTRAND_API BasicOCSPResponse {
 public:
  BasicOCSPResponse();
  ~BasicOCSPResponse();
  BasicOCSPResponse(const BasicOCSPResponse&) = delete;
  BasicOCSPResponse& operator=(const BasicOCSPResponse&) = delete;
  [[nodiscard]] owner<BasicOCSPResponse*> clone() const;

  [[nodiscard]] owner<ResponseData*> tbsResponseData() const;
  [[nodiscard]] const ResponseData* tbsResponseDataView() const noexcept { return tbsResponseData_.get(); }
  void setTbsResponseData(const ResponseData* data);
  [[nodiscard]] owner<AlgorithmIdentifier*> signatureAlgorithm() const { return signature_.signatureAlgorithm(); }
  [[nodiscard]] const AlgorithmIdentifier* signatureAlgorithmView() const noexcept {
    return signature_.signatureAlgorithmView();
  }
  void setSignatureAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<Signature*> signature() const { return signature_.signature(); }
  [[nodiscard]] const Signature* signatureView() const noexcept { return signature_.signatureView(); }
  void setSignature(const Signature* signature) { signature_.setSignature(signature); }
  [[nodiscard]] owner<CertList*> certs() const { return signature_.certs(); }
  [[nodiscard]] const CertList* certsView() const noexcept { return signature_.certsView(); }
  [[nodiscard]] CertList* certsView() noexcept { return signature_.certsView(); }
  void setCerts(const CertList* certs) { signature_.setCerts(certs); }

  // Whether the signature holds for that key. The digest of the data is made once and kept until a setter changes what
  // it was made of, so trying further keys costs one public-key operation each. Hold the device's semaphore.
  bool verify(CryptoDevice& device, const KeyInfo& key);
  // Signs the data with the key loaded in the device; false, nothing changed, when it has none. Hold the device's
  // semaphore.
  bool sign(CryptoDevice& device, const AlgorithmIdentifier& algorithm);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);        // the certificates without their digests
  bool get(SecureBuffer& buffer);  // with them: the normal road. Hold the device's semaphore.

 private:
  template <class AnyBuffer>
  bool read(AnyBuffer& buffer);
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<ResponseData> tbsResponseData_;
  OCSPSignature signature_;
  std::unique_ptr<DigestInfo> digest_;  // of tbsResponseData_; null until the first verification
};

}  // namespace keystrand
