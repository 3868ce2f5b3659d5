// CertStatus and RevokedInfo (RFC 6960 section 4.2.1): what a responder says of one certificate.
// Accessors give clones that the caller deletes, the ...View forms lend the part until the object changes; setters
// store copies, nullptr means absent.
#pragma once

#include <cstdint>
#include <optional>

#include "keystrand/der/X500Time.h"

namespace keystrand {

class KEYSTRAND_API RevokedInfo {
 public:
  static constexpr unsigned char kNoReason = 0xFF;

  [[nodiscard]] owner<RevokedInfo*> clone() const { return new RevokedInfo(*this); }

  [[nodiscard]] owner<X500Time*> revocationTime() const;
  [[nodiscard]] const X500Time* revocationTimeView() const noexcept {
    return revocationTime_ ? &*revocationTime_ : nullptr;
  }
  void setRevocationTime(const X500Time* time);
  // CRLReason (RFC 5280 section 5.3.1), kNoReason where none is given.
  [[nodiscard]] unsigned char revocationReason() const noexcept { return revocationReason_.value_or(kNoReason); }
  void setRevocationReason(unsigned char reason);

  // As a SEQUENCE of its own, or under the tag of a choice.
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const { return size(buffer, 0x30); }
  void put(Buffer& buffer) const { put(buffer, 0x30); }
  bool get(Buffer& buffer) { return get(buffer, 0x30); }
  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void put(Buffer& buffer, unsigned char tag) const;
  bool get(Buffer& buffer, unsigned char tag);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::optional<X500Time> revocationTime_;
  std::optional<unsigned char> revocationReason_;
};

class KEYSTRAND_API OCSPCertStatus {
 public:
  // The choices, by their tags in the encoding.
  static constexpr unsigned char kGood = 0x80;
  static constexpr unsigned char kRevoked = 0xA1;
  static constexpr unsigned char kUnknown = 0x82;

  [[nodiscard]] owner<OCSPCertStatus*> clone() const { return new OCSPCertStatus(*this); }

  [[nodiscard]] unsigned char tag() const noexcept { return tag_; }  // kUnknown in a new object
  [[nodiscard]] owner<RevokedInfo*> revokedInfo() const;
  [[nodiscard]] const RevokedInfo* revokedInfoView() const noexcept { return revokedInfo_ ? &*revokedInfo_ : nullptr; }
  void setGood();
  void setUnknown();
  void setRevoked(const RevokedInfo& info);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  unsigned char tag_ = kUnknown;
  std::optional<RevokedInfo> revokedInfo_;  // of the choice revoked only
};

}  // namespace keystrand
