// TBSCertList, the body of a CRL that its signature covers (RFC 5280 section 5.1.2).
// Accessors give clones that the caller deletes, the ...View forms lend the part until the object changes; setters
// store clones, nullptr means absent. Thread: one at a time; const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/der/Name.h"
#include "keystrand/der/X500Time.h"
#include "keystrand/pkix/Extension.h"
#include "keystrand/pkix/RevokedCertificateList.h"

namespace keystrand {

class KEYSTRAND_API CertificateListInfo {
 public:
  CertificateListInfo();
  ~CertificateListInfo();
  CertificateListInfo(const CertificateListInfo&) = delete;
  CertificateListInfo& operator=(const CertificateListInfo&) = delete;
  [[nodiscard]] owner<CertificateListInfo*> clone() const;

  [[nodiscard]] std::int32_t version() const noexcept { return version_; }  // -1 when absent from the encoding
  void setVersion(std::int32_t version) noexcept { version_ = version; }
  [[nodiscard]] owner<AlgorithmIdentifier*> signatureAlgorithm() const;
  void setSignatureAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<Name*> issuer() const;
  [[nodiscard]] const Name* issuerView() const noexcept { return issuer_.get(); }
  void setIssuer(const Name* name);
  [[nodiscard]] owner<X500Time*> thisUpdate() const;
  [[nodiscard]] const X500Time* thisUpdateView() const noexcept { return thisUpdate_ ? &*thisUpdate_ : nullptr; }
  void setThisUpdate(const X500Time* time);
  [[nodiscard]] owner<X500Time*> nextUpdate() const;
  [[nodiscard]] const X500Time* nextUpdateView() const noexcept { return nextUpdate_ ? &*nextUpdate_ : nullptr; }
  void setNextUpdate(const X500Time* time);
  // The list itself, owned by the body; nullptr when the CRL lists nothing.
  [[nodiscard]] RevokedCertificateList* revokedCertificates() noexcept { return revokedCertificates_.get(); }
  [[nodiscard]] const RevokedCertificateList* revokedCertificates() const noexcept {
    return revokedCertificates_.get();
  }
  void setRevokedCertificates(const RevokedCertificateList* list);
  [[nodiscard]] owner<ExtensionList*> crlExtensions() const;
  [[nodiscard]] const ExtensionList* crlExtensionsView() const noexcept { return crlExtensions_.get(); }
  void setCrlExtensions(const ExtensionList* list);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;
  bool getVersion(Buffer& buffer);
  bool getNextUpdate(Buffer& buffer);
  bool getRevokedCertificates(Buffer& buffer);
  bool getCrlExtensions(Buffer& buffer);
  std::int32_t version_ = -1;
  std::unique_ptr<AlgorithmIdentifier> signature_;
  std::unique_ptr<Name> issuer_;
  std::optional<X500Time> thisUpdate_;
  std::optional<X500Time> nextUpdate_;
  std::unique_ptr<RevokedCertificateList> revokedCertificates_;
  std::unique_ptr<ExtensionList> crlExtensions_;
};

}  // namespace keystrand
