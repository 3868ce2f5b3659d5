// The body of an attribute certificate with its validity period (RFC 5755 section 4.1).
//
// Accessors give clones that the caller deletes, setters store clones, nullptr means absent; the ...View forms lend the
// part, valid until the object changes. Thread: one at a time; const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/der/BigInteger.h"
#include "keystrand/der/Buffer.h"
#include "keystrand/der/OctetValue.h"
#include "keystrand/der/X500Time.h"
#include "keystrand/pkix/AttCertIssuer.h"
#include "keystrand/pkix/Attribute.h"
#include "keystrand/pkix/Extension.h"
#include "keystrand/pkix/Holder.h"

namespace keystrand {

// AttCertValidityPeriod (RFC 5755 section 4.2.6): two GeneralizedTimes. A UTCTime is read too and written as it came.
class KEYSTRAND_API AttCertValidity {
 public:
  [[nodiscard]] owner<AttCertValidity*> clone() const { return new AttCertValidity(*this); }
  [[nodiscard]] owner<X500Time*> notBeforeTime() const;
  [[nodiscard]] const X500Time* notBeforeTimeView() const noexcept {
    return notBeforeTime_ ? &*notBeforeTime_ : nullptr;
  }
  void setNotBeforeTime(const X500Time* time);
  [[nodiscard]] owner<X500Time*> notAfterTime() const;
  [[nodiscard]] const X500Time* notAfterTimeView() const noexcept { return notAfterTime_ ? &*notAfterTime_ : nullptr; }
  void setNotAfterTime(const X500Time* time);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag = 0x30) const;
  void put(Buffer& buffer, unsigned char tag = 0x30) const;
  bool get(Buffer& buffer, unsigned char tag = 0x30);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::optional<X500Time> notBeforeTime_;
  std::optional<X500Time> notAfterTime_;
};

// AttributeCertificateInfo. A part that a setter has not given is left out of the encoding.
class KEYSTRAND_API AttributeCertificateInfo {
 public:
  static constexpr std::int32_t kV2 = 1;

  AttributeCertificateInfo() = default;
  AttributeCertificateInfo(const AttributeCertificateInfo&) = delete;
  AttributeCertificateInfo& operator=(const AttributeCertificateInfo&) = delete;
  [[nodiscard]] owner<AttributeCertificateInfo*> clone() const;

  [[nodiscard]] std::int32_t version() const noexcept { return version_; }  // as encoded: 1 is v2
  void setVersion(std::int32_t version) noexcept { version_ = version; }
  [[nodiscard]] owner<Holder*> holder() const;
  [[nodiscard]] const Holder* holderView() const noexcept { return holder_.get(); }
  void setHolder(const Holder* holder);
  [[nodiscard]] owner<AttCertIssuer*> issuer() const;
  [[nodiscard]] const AttCertIssuer* issuerView() const noexcept { return issuer_.get(); }
  void setIssuer(const AttCertIssuer* issuer);
  [[nodiscard]] owner<AlgorithmIdentifier*> signatureAlgorithm() const;
  void setSignatureAlgorithm(const char* dotted);
  void setSignatureAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] BigInteger serialNumber() const { return serialNumber_; }
  [[nodiscard]] const BigInteger& serialNumberView() const noexcept { return serialNumber_; }
  [[nodiscard]] owner<char*> serialNumberText(int base) const;  // base 10 or 16, else nullptr; delete[]
  void setSerialNumber(const BigInteger& value) { serialNumber_ = value; }
  [[nodiscard]] owner<AttCertValidity*> attrCertValidityPeriod() const;
  [[nodiscard]] const AttCertValidity* attrCertValidityPeriodView() const noexcept { return validity_.get(); }
  void setAttrCertValidityPeriod(const AttCertValidity* period);
  [[nodiscard]] owner<AttributeList*> attributes() const;
  [[nodiscard]] const AttributeList* attributesView() const noexcept { return attributes_.get(); }
  void setAttributes(const AttributeList* list);
  [[nodiscard]] owner<unsigned char*> issuerUniqueID() const;  // delete[]
  [[nodiscard]] std::uint32_t issuerUniqueIDLength() const noexcept { return issuerUniqueID_.size(); }
  void setIssuerUniqueID(const unsigned char* bytes, std::uint32_t n);  // whole octets
  [[nodiscard]] owner<ExtensionList*> extensions() const;
  [[nodiscard]] const ExtensionList* extensionsView() const noexcept { return extensions_.get(); }
  void setExtensions(const ExtensionList* list);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag = 0x30) const;
  void put(Buffer& buffer, unsigned char tag = 0x30) const;
  bool get(Buffer& buffer, unsigned char tag = 0x30);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::int32_t version_ = kV2;
  std::unique_ptr<Holder> holder_;
  std::unique_ptr<AttCertIssuer> issuer_;
  std::unique_ptr<AlgorithmIdentifier> signature_;
  BigInteger serialNumber_;
  std::unique_ptr<AttCertValidity> validity_;
  std::unique_ptr<AttributeList> attributes_;
  OctetValue issuerUniqueID_;
  unsigned char issuerUniqueIDUnused_ = 0;
  std::unique_ptr<ExtensionList> extensions_;
};

}  // namespace keystrand
