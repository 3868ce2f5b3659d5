// Who issued an attribute certificate: AttCertIssuer and V2Form (RFC 5755 sections 4.1 and 4.2.3).
//
// Accessors give clones that the caller deletes, setters store clones, nullptr means absent; the ...View forms lend the
// part, valid until the object changes. Thread: one at a time; const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>

#include "keystrand/der/Buffer.h"
#include "keystrand/pkix/GeneralName.h"
#include "keystrand/pkix/Holder.h"

namespace keystrand {

// The profile asks for an issuerName of one directory name and for nothing else; all forms are read and written.
class KEYSTRAND_API V2Form {
 public:
  V2Form() = default;
  V2Form(const V2Form&) = delete;
  V2Form& operator=(const V2Form&) = delete;
  [[nodiscard]] owner<V2Form*> clone() const;

  [[nodiscard]] owner<GeneralNameList*> issuerName() const;
  [[nodiscard]] const GeneralNameList* issuerNameView() const noexcept { return issuerName_.get(); }
  void setIssuerName(const GeneralNameList* names);
  [[nodiscard]] owner<IssuerSerial*> baseCertificateID() const;
  [[nodiscard]] const IssuerSerial* baseCertificateIDView() const noexcept { return baseCertificateID_.get(); }
  void setBaseCertificateID(const IssuerSerial* id);
  [[nodiscard]] owner<ObjectDigestInfo*> objectDigestInfo() const;
  [[nodiscard]] const ObjectDigestInfo* objectDigestInfoView() const noexcept { return objectDigestInfo_.get(); }
  void setObjectDigestInfo(const ObjectDigestInfo* info);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag = 0x30) const;
  void put(Buffer& buffer, unsigned char tag = 0x30) const;
  bool get(Buffer& buffer, unsigned char tag = 0x30);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<GeneralNameList> issuerName_;
  std::unique_ptr<IssuerSerial> baseCertificateID_;
  std::unique_ptr<ObjectDigestInfo> objectDigestInfo_;
};

// CHOICE { v1Form GeneralNames, v2Form [0] V2Form }: setting one clears the other, a new object has neither.
class KEYSTRAND_API AttCertIssuer {
 public:
  AttCertIssuer() = default;
  AttCertIssuer(const AttCertIssuer&) = delete;
  AttCertIssuer& operator=(const AttCertIssuer&) = delete;
  [[nodiscard]] owner<AttCertIssuer*> clone() const;

  [[nodiscard]] owner<GeneralNameList*> v1Form() const;
  [[nodiscard]] const GeneralNameList* v1FormView() const noexcept { return v1Form_.get(); }
  void setV1Form(const GeneralNameList* names);
  [[nodiscard]] owner<V2Form*> v2Form() const;
  [[nodiscard]] const V2Form* v2FormView() const noexcept { return v2Form_.get(); }
  void setV2Form(const V2Form* form);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);  // false for any other choice

 private:
  std::unique_ptr<GeneralNameList> v1Form_;
  std::unique_ptr<V2Form> v2Form_;
};

}  // namespace keystrand
