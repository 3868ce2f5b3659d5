// CertID (RFC 6960 section 4.1.1): the certificate asked about, named by digests of its issuer's name and key and by
// its serial number.
//
// Accessors give clones that the caller deletes, octets are new arrays that the caller delete[]s; the ...View forms
// lend the part until the object changes; setters store copies, nullptr means absent. Thread: as all classes of the
// OCSP messages, one at a time; const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/der/BigInteger.h"
#include "keystrand/der/OctetValue.h"

namespace keystrand {

class KEYSTRAND_API CertID {
 public:
  CertID();
  ~CertID();
  CertID(const CertID&) = delete;
  CertID& operator=(const CertID&) = delete;
  [[nodiscard]] owner<CertID*> clone() const;

  [[nodiscard]] owner<AlgorithmIdentifier*> hashAlgorithm() const;
  [[nodiscard]] const AlgorithmIdentifier* hashAlgorithmView() const noexcept { return hashAlgorithm_.get(); }
  void setHashAlgorithm(const char* dotted);  // with NULL parameters
  void setHashAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<unsigned char*> issuerNameHash() const;
  [[nodiscard]] std::span<const unsigned char> issuerNameHashView() const noexcept { return issuerNameHash_.view(); }
  void setIssuerNameHash(const unsigned char* bytes, std::uint32_t n) { issuerNameHash_.assign(bytes, n); }
  [[nodiscard]] owner<unsigned char*> issuerKeyHash() const;
  [[nodiscard]] std::span<const unsigned char> issuerKeyHashView() const noexcept { return issuerKeyHash_.view(); }
  void setIssuerKeyHash(const unsigned char* bytes, std::uint32_t n) { issuerKeyHash_.assign(bytes, n); }
  // That of issuerNameHash, for both hashes: get refuses two of different length.
  [[nodiscard]] std::uint32_t hashLength() const noexcept { return issuerNameHash_.size(); }
  [[nodiscard]] BigInteger serialNumber() const { return serialNumber_; }
  [[nodiscard]] const BigInteger& serialNumberView() const noexcept { return serialNumber_; }
  void setSerialNumber(const BigInteger& value) { serialNumber_ = value; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<AlgorithmIdentifier> hashAlgorithm_;
  OctetValue issuerNameHash_;
  OctetValue issuerKeyHash_;
  BigInteger serialNumber_;
};

}  // namespace keystrand
