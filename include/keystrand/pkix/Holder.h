// Whom an attribute certificate speaks of: Holder, IssuerSerial and ObjectDigestInfo (RFC 5755 section 4.1).
//
// Accessors give clones that the caller deletes, setters store clones, nullptr means absent; the ...View forms lend the
// part, valid until the object changes. Bytes are new arrays that the caller delete[]s. A mandatory part that a setter
// has not given is left out of the encoding, and such an encoding is not read again. The trio takes the outer tag, for
// the implicit tags of this module.
// Thread: one at a time; const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/der/BigInteger.h"
#include "keystrand/der/Buffer.h"
#include "keystrand/der/OID.h"
#include "keystrand/der/OctetValue.h"
#include "keystrand/pkix/GeneralName.h"

namespace keystrand {

// A public key certificate by its issuer and serial number (RFC 5755 section 4.1, IssuerSerial).
class KEYSTRAND_API IssuerSerial {
 public:
  IssuerSerial() = default;
  IssuerSerial(const IssuerSerial&) = delete;
  IssuerSerial& operator=(const IssuerSerial&) = delete;
  [[nodiscard]] owner<IssuerSerial*> clone() const;

  [[nodiscard]] owner<GeneralNameList*> issuer() const;
  [[nodiscard]] const GeneralNameList* issuerView() const noexcept { return issuer_.get(); }
  void setIssuer(const GeneralNameList* names);
  [[nodiscard]] BigInteger serial() const { return serial_; }
  [[nodiscard]] const BigInteger& serialView() const noexcept { return serial_; }
  void setSerial(const BigInteger& value) { serial_ = value; }
  [[nodiscard]] owner<unsigned char*> issuerUID() const;
  [[nodiscard]] std::uint32_t issuerUIDLength() const noexcept { return issuerUID_.size(); }
  void setIssuerUID(const unsigned char* bytes, std::uint32_t n);  // whole octets

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag = 0x30) const;
  void put(Buffer& buffer, unsigned char tag = 0x30) const;
  bool get(Buffer& buffer, unsigned char tag = 0x30);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<GeneralNameList> issuer_;
  BigInteger serial_;
  OctetValue issuerUID_;
  unsigned char issuerUIDUnused_ = 0;
};

// Something by its digest (RFC 5755 section 7.3).
class KEYSTRAND_API ObjectDigestInfo {
 public:
  static constexpr unsigned char kPublicKey = 0;
  static constexpr unsigned char kPublicKeyCert = 1;
  static constexpr unsigned char kOtherObjectTypes = 2;

  ObjectDigestInfo() = default;
  ObjectDigestInfo(const ObjectDigestInfo&) = delete;
  ObjectDigestInfo& operator=(const ObjectDigestInfo&) = delete;
  [[nodiscard]] owner<ObjectDigestInfo*> clone() const;

  [[nodiscard]] unsigned char digestedObjectType() const noexcept { return digestedObjectType_; }
  void setDigestedObjectType(unsigned char type) noexcept { digestedObjectType_ = type; }
  [[nodiscard]] owner<OID*> otherObjectTypeID() const;
  [[nodiscard]] const OID* otherObjectTypeIDView() const noexcept {
    return otherObjectTypeID_ ? &*otherObjectTypeID_ : nullptr;
  }
  void setOtherObjectTypeID(const OID* type);
  [[nodiscard]] owner<AlgorithmIdentifier*> digestAlgorithm() const;
  [[nodiscard]] const AlgorithmIdentifier* digestAlgorithmView() const noexcept { return digestAlgorithm_.get(); }
  void setDigestAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<unsigned char*> objectDigest() const;
  [[nodiscard]] std::span<const unsigned char> objectDigestView() const noexcept { return objectDigest_.view(); }
  [[nodiscard]] std::uint32_t objectDigestLength() const noexcept { return objectDigest_.size(); }
  void setObjectDigest(const unsigned char* bytes, std::uint32_t n);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag = 0x30) const;
  void put(Buffer& buffer, unsigned char tag = 0x30) const;
  bool get(Buffer& buffer, unsigned char tag = 0x30);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  unsigned char digestedObjectType_ = kPublicKey;
  unsigned char objectDigestUnused_ = 0;
  std::optional<OID> otherObjectTypeID_;
  std::unique_ptr<AlgorithmIdentifier> digestAlgorithm_;
  OctetValue objectDigest_;
};

// The entity to whom the attributes belong; any of the three forms, or none (RFC 5755 section 4.2.2).
class KEYSTRAND_API Holder {
 public:
  Holder() = default;
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;
  [[nodiscard]] owner<Holder*> clone() const;

  [[nodiscard]] owner<IssuerSerial*> baseCertificateID() const;
  [[nodiscard]] const IssuerSerial* baseCertificateIDView() const noexcept { return baseCertificateID_.get(); }
  void setBaseCertificateID(const IssuerSerial* id);
  [[nodiscard]] owner<GeneralNameList*> entityName() const;
  [[nodiscard]] const GeneralNameList* entityNameView() const noexcept { return entityName_.get(); }
  void setEntityName(const GeneralNameList* names);
  [[nodiscard]] owner<ObjectDigestInfo*> objectDigestInfo() const;
  [[nodiscard]] const ObjectDigestInfo* objectDigestInfoView() const noexcept { return objectDigestInfo_.get(); }
  void setObjectDigestInfo(const ObjectDigestInfo* info);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag = 0x30) const;
  void put(Buffer& buffer, unsigned char tag = 0x30) const;
  bool get(Buffer& buffer, unsigned char tag = 0x30);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<IssuerSerial> baseCertificateID_;
  std::unique_ptr<GeneralNameList> entityName_;
  std::unique_ptr<ObjectDigestInfo> objectDigestInfo_;
};

}  // namespace keystrand
