// CertificateList, the CRL (RFC 5280 section 5.1), with its body, its entries and the list of them.
//
// The entries of a decoded CRL lie back to back in one immutable block, in the order of the encoding, and are decoded
// on demand; clones share the block. An index over the serial numbers answers find(). Accessors give clones that the
// caller deletes, setters store clones, nullptr means absent.
// Thread: one at a time; const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/DigestInfo.h"
#include "keystrand/crypto/KeyInfo.h"
#include "keystrand/crypto/Signature.h"
#include "keystrand/der/BigInteger.h"
#include "keystrand/der/Name.h"
#include "keystrand/der/SecureBuffer.h"
#include "keystrand/der/X500Time.h"
#include "keystrand/pkix/Extension.h"

namespace keystrand {

// One entry of a CRL (RFC 5280 section 5.1.2.6).
class KEYSTRAND_API RevokedCertificate {
 public:
  RevokedCertificate() = default;
  RevokedCertificate(const RevokedCertificate&) = delete;
  RevokedCertificate& operator=(const RevokedCertificate&) = delete;
  [[nodiscard]] owner<RevokedCertificate*> clone() const;

  void serial(BigInteger& value) const { value = userCertificate_; }
  void setSerial(const BigInteger& value) { userCertificate_ = value; }
  void setSerialFromBytes(const unsigned char* bytes, std::uint32_t n);
  // Upper-case hexadecimal (base 16) or decimal (base 10) text of the serial number, nullptr for another base; delete[].
  [[nodiscard]] owner<char*> serialText(int base) const;
  [[nodiscard]] owner<X500Time*> revocationDate() const;
  [[nodiscard]] const X500Time* revocationDateView() const noexcept {
    return revocationDate_ ? &*revocationDate_ : nullptr;
  }
  void setRevocationDate(const X500Time* time);
  [[nodiscard]] owner<ExtensionList*> extensions() const;
  [[nodiscard]] const ExtensionList* extensionsView() const noexcept { return crlEntryExtensions_.get(); }
  void setExtensions(const ExtensionList* list);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  BigInteger userCertificate_;
  std::optional<X500Time> revocationDate_;
  std::unique_ptr<ExtensionList> crlEntryExtensions_;
};

// The entries in the order of the encoding.
class KEYSTRAND_API RevokedCertificateList {
 public:
  RevokedCertificateList();
  ~RevokedCertificateList();
  RevokedCertificateList(const RevokedCertificateList&) = delete;
  RevokedCertificateList& operator=(const RevokedCertificateList&) = delete;
  [[nodiscard]] owner<RevokedCertificateList*> clone() const;

  [[nodiscard]] int count() const noexcept;
  void add(const RevokedCertificate& entry);
  [[nodiscard]] owner<RevokedCertificate*> get(int index) const;
  // The entry itself, owned by the list and valid as long as it; changes to it are part of the list. nullptr out of range.
  [[nodiscard]] RevokedCertificate* peek(int index);
  // Index of the first entry whose serialText(16) equals this text exactly, or -1.
  [[nodiscard]] int find(std::string_view serialText) const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// TBSCertList
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
  [[nodiscard]] RevokedCertificateList* revokedCertificates() const noexcept { return revokedCertificates_.get(); }
  void setRevokedCertificates(const RevokedCertificateList* list);
  [[nodiscard]] owner<ExtensionList*> crlExtensions() const;
  [[nodiscard]] const ExtensionList* crlExtensionsView() const noexcept { return crlExtensions_.get(); }
  void setCrlExtensions(const ExtensionList* list);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  std::int32_t version_ = -1;
  std::unique_ptr<AlgorithmIdentifier> signature_;
  std::unique_ptr<Name> issuer_;
  std::optional<X500Time> thisUpdate_;
  std::optional<X500Time> nextUpdate_;
  std::unique_ptr<RevokedCertificateList> revokedCertificates_;
  std::unique_ptr<ExtensionList> crlExtensions_;
};

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
  void setSignatureAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<Signature*> signature() const;
  void setSignature(const Signature* signature);
  [[nodiscard]] const DigestInfo* digestView() const noexcept { return digest_.get(); }

  [[nodiscard]] owner<Name*> issuer() const;
  [[nodiscard]] const Name* issuerView() const noexcept;
  [[nodiscard]] owner<X500Time*> thisUpdate() const;
  [[nodiscard]] const X500Time* thisUpdateView() const noexcept;
  [[nodiscard]] owner<X500Time*> nextUpdate() const;
  [[nodiscard]] const X500Time* nextUpdateView() const noexcept;
  // The list itself, owned by the body; nullptr when the CRL lists nothing.
  [[nodiscard]] RevokedCertificateList* revokedCertificates() const noexcept;
  [[nodiscard]] owner<ExtensionList*> crlExtensions() const;
  [[nodiscard]] const ExtensionList* crlExtensionsView() const noexcept;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);        // no digest: verify will say false
  bool get(SecureBuffer& buffer);  // digests the received body. Hold the device's semaphore.
  bool sign(SecureBuffer& buffer);
  // Checks the signature with the issuer's key over the digest taken by get. Hold the device's semaphore.
  bool verify(CryptoDevice& device, const KeyInfo& key) const;

 private:
  template <class AnyBuffer>
  bool read(AnyBuffer& buffer);
  std::unique_ptr<CertificateListInfo> info_;
  std::unique_ptr<AlgorithmIdentifier> signatureAlgorithm_;
  std::unique_ptr<Signature> signature_;
  std::unique_ptr<DigestInfo> digest_;
};

}  // namespace keystrand
