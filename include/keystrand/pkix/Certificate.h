// Certificate (RFC 5280 section 4.1) with its body, Validity and the list CertList.
//
// A certificate never keeps its original bytes. What it keeps for a later signature check is the digest of the body,
// taken over the bytes as they arrived by get(SecureBuffer&). Accessors give clones that the caller deletes, setters
// store clones, nullptr means absent; the ...View forms lend the part, valid until the object changes. A setter drops
// the digest: the signature is then checked over what the object would write.
// Thread: one at a time (verify may store the digest); const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/DigestInfo.h"
#include "keystrand/crypto/KeyInfo.h"
#include "keystrand/crypto/MessageDigest.h"
#include "keystrand/crypto/Signature.h"
#include "keystrand/der/BigInteger.h"
#include "keystrand/der/Name.h"
#include "keystrand/der/OctetValue.h"
#include "keystrand/der/SecureBuffer.h"
#include "keystrand/der/X500Time.h"
#include "keystrand/pkix/Extension.h"
#include "keystrand/support/PointerList.h"

namespace keystrand {

class KEYSTRAND_API Validity {
 public:
  [[nodiscard]] owner<Validity*> clone() const { return new Validity(*this); }
  [[nodiscard]] owner<X500Time*> notBefore() const;
  [[nodiscard]] owner<X500Time*> notAfter() const;
  [[nodiscard]] const X500Time* notBeforeView() const noexcept { return notBefore_ ? &*notBefore_ : nullptr; }
  [[nodiscard]] const X500Time* notAfterView() const noexcept { return notAfter_ ? &*notAfter_ : nullptr; }
  void setNotBefore(const X500Time* time);
  void setNotAfter(const X500Time* time);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::optional<X500Time> notBefore_;
  std::optional<X500Time> notAfter_;
};

// TBSCertificate. A part that a setter has not given is left out of the encoding.
class KEYSTRAND_API CertificateInfo {
 public:
  CertificateInfo() = default;
  CertificateInfo(const CertificateInfo&) = delete;
  CertificateInfo& operator=(const CertificateInfo&) = delete;
  [[nodiscard]] owner<CertificateInfo*> clone() const;

  [[nodiscard]] std::uint32_t version() const noexcept { return version_; }  // 0, 1, 2 for v1, v2, v3
  void setVersion(std::uint32_t version) noexcept { version_ = version; }
  [[nodiscard]] BigInteger serialNumber() const { return serialNumber_; }
  [[nodiscard]] const BigInteger& serialNumberView() const noexcept { return serialNumber_; }
  [[nodiscard]] owner<char*> serialNumberText(int base) const;  // base 10 or 16, else nullptr; delete[]
  void setSerialNumber(const BigInteger& value) { serialNumber_ = value; }
  void setSerialNumberFromBytes(const unsigned char* bytes, std::uint32_t n);
  [[nodiscard]] owner<AlgorithmIdentifier*> signatureAlgorithm() const;
  void setSignatureAlgorithm(const char* dotted);
  void setSignatureAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<Name*> issuer() const;
  [[nodiscard]] const Name* issuerView() const noexcept { return issuer_.get(); }
  void setIssuer(const Name* name);
  [[nodiscard]] owner<Validity*> validity() const;
  [[nodiscard]] const Validity* validityView() const noexcept { return validity_ ? &*validity_ : nullptr; }
  void setValidity(const Validity* validity);
  [[nodiscard]] owner<Name*> subject() const;
  [[nodiscard]] const Name* subjectView() const noexcept { return subject_.get(); }
  void setSubject(const Name* name);
  [[nodiscard]] owner<KeyInfo*> subjectPublicKeyInfo() const;
  [[nodiscard]] const KeyInfo* subjectPublicKeyInfoView() const noexcept { return subjectPublicKeyInfo_.get(); }
  void setSubjectPublicKeyInfo(const KeyInfo* keyInfo);
  [[nodiscard]] owner<ExtensionList*> extensions() const;
  [[nodiscard]] const ExtensionList* extensionsView() const noexcept { return extensions_.get(); }
  void setExtensions(const ExtensionList* list);

  [[nodiscard]] owner<char*> toPrintable() const;  // Italian report, delete[]

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] bool writesVersion() const noexcept { return version_ != 0 || versionExplicit_; }
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;
  bool getVersion(Buffer& buffer);
  bool getOptionalTail(Buffer& buffer);

  std::uint32_t version_ = 2;
  bool versionExplicit_ = false;  // a version of 0 arrived, and goes back out
  BigInteger serialNumber_;
  std::unique_ptr<AlgorithmIdentifier> signature_;
  std::unique_ptr<Name> issuer_;
  std::optional<Validity> validity_;
  std::unique_ptr<Name> subject_;
  std::unique_ptr<KeyInfo> subjectPublicKeyInfo_;
  OctetValue issuerUniqueID_;
  OctetValue subjectUniqueID_;
  std::unique_ptr<ExtensionList> extensions_;
};

class KEYSTRAND_API Certificate {
 public:
  Certificate();
  ~Certificate();
  Certificate(const Certificate&) = delete;
  Certificate& operator=(const Certificate&) = delete;
  [[nodiscard]] owner<Certificate*> clone() const;

  [[nodiscard]] const CertificateInfo* infoView() const noexcept { return info_.get(); }
  void setInfo(const CertificateInfo* info);
  [[nodiscard]] owner<AlgorithmIdentifier*> outerAlgorithm() const;
  void setOuterAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<Signature*> signature() const;
  void setSignature(const Signature* signature);
  [[nodiscard]] const DigestInfo* digestView() const noexcept { return digest_.get(); }

  // Forwarded to the body; null or zero when there is none. The setters make one.
  [[nodiscard]] BigInteger serialNumber() const;
  [[nodiscard]] owner<char*> serialNumberText(int base) const;
  void setSerialNumber(const BigInteger& value);
  void setSerialNumberFromBytes(const unsigned char* bytes, std::uint32_t n);
  [[nodiscard]] std::uint32_t version() const;
  void setVersion(std::uint32_t version);
  [[nodiscard]] owner<Name*> issuer() const;
  [[nodiscard]] const Name* issuerView() const noexcept;
  void setIssuer(const Name* name);
  [[nodiscard]] owner<Name*> subject() const;
  [[nodiscard]] const Name* subjectView() const noexcept;
  void setSubject(const Name* name);
  [[nodiscard]] owner<Validity*> validity() const;
  void setValidity(const Validity* validity);
  [[nodiscard]] owner<AlgorithmIdentifier*> signatureAlgorithm() const;
  void setSignatureAlgorithm(const char* dotted);
  void setSignatureAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<KeyInfo*> subjectPublicKeyInfo() const;
  [[nodiscard]] const KeyInfo* subjectPublicKeyInfoView() const noexcept;
  void setSubjectPublicKeyInfo(const KeyInfo* keyInfo);
  [[nodiscard]] owner<ExtensionList*> extensions() const;
  [[nodiscard]] const ExtensionList* extensionsView() const noexcept;
  void setExtensions(const ExtensionList* list);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);        // looks only: no digest is computed
  bool get(SecureBuffer& buffer);  // the normal road: digests the received body. Hold the device's semaphore.
  // Writes the certificate behind what the buffer holds; signs the body first where a signature is missing, and is
  // false when the device cannot. Hold the device's semaphore.
  bool sign(SecureBuffer& buffer);
  // The same with a private key and the digest of the outer algorithm, without a device.
  bool sign(Buffer& buffer, const Key& key, MessageDigest& digester);
  // Checks the signature with the issuer's key. Without a digest, and for RSASSA-PSS always, over the body as put
  // writes it, so that only a canonical encoding passes. Hold the device's semaphore.
  bool verify(CryptoDevice& device, const KeyInfo& key);
  // To and from an open file, in the armour of RFC 7468; the buffer serves as working space.
  bool savePEM(int descriptor, SecureBuffer& buffer);
  bool loadPEM(int descriptor, SecureBuffer& buffer);
  [[nodiscard]] owner<char*> toPrintable() const;  // the report of the body and the outer algorithm, delete[]
  // True without a body or a key, else whether the key arrived in canonical form, which an EC key never says of itself.
  [[nodiscard]] bool hasNoKey() const;

 private:
  CertificateInfo& editedInfo();
  bool read(Buffer& buffer, SecureBuffer* digester);
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<CertificateInfo> info_;
  std::unique_ptr<AlgorithmIdentifier> signatureAlgorithm_;
  std::unique_ptr<Signature> signature_;
  std::unique_ptr<DigestInfo> digest_;
};

// SEQUENCE OF Certificate
class KEYSTRAND_API CertList {
 public:
  [[nodiscard]] owner<CertList*> clone() const;
  void add(const Certificate& certificate);
  [[nodiscard]] owner<Certificate*> get(int index) const;
  [[nodiscard]] const Certificate* view(int index) const { return items_.view(index); }
  [[nodiscard]] Certificate* view(int index) { return items_.view(index); }
  [[nodiscard]] int count() const { return items_.count(); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);        // the certificates without their digests
  bool get(SecureBuffer& buffer);  // with them. Hold the device's semaphore.

 private:
  OwnedList<Certificate> items_;
};

}  // namespace keystrand
