// One entry of a CRL (RFC 5280 section 5.1.2.6).
// Accessors give clones that the caller deletes, setters store clones, nullptr means absent.
// Thread: one at a time; const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "keystrand/der/BigInteger.h"
#include "keystrand/der/X500Time.h"
#include "keystrand/pkix/Extension.h"

namespace keystrand {

class KEYSTRAND_API RevokedCertificate {
 public:
  RevokedCertificate();
  ~RevokedCertificate();
  RevokedCertificate(RevokedCertificate&& other) noexcept;
  RevokedCertificate& operator=(RevokedCertificate&& other) noexcept;
  RevokedCertificate(const RevokedCertificate&) = delete;
  RevokedCertificate& operator=(const RevokedCertificate&) = delete;
  [[nodiscard]] owner<RevokedCertificate*> clone() const;

  void serial(BigInteger& value) const { value = userCertificate_; }
  [[nodiscard]] const BigInteger& serialView() const noexcept { return userCertificate_; }
  void setSerial(const BigInteger& value) { userCertificate_ = value; }
  // Big-endian magnitude, not negative.
  void setSerialFromBytes(const unsigned char* bytes, std::uint32_t n);
  // Upper-case hexadecimal (base 16) or decimal (base 10) text of the serial number, nullptr for another base;
  // delete[].
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
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;
  BigInteger userCertificate_;
  std::optional<X500Time> revocationDate_;
  std::unique_ptr<ExtensionList> crlEntryExtensions_;
};

}  // namespace keystrand
