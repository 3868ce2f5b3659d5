// AuthorityKeyIdentifier (RFC 5280 section 4.2.1.1). Accessors give clones that the caller deletes, setters store
// clones, nullptr means absent. Thread: one at a time; const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "keystrand/der/BigInteger.h"
#include "keystrand/der/Buffer.h"
#include "keystrand/der/OctetValue.h"
#include "keystrand/pkix/GeneralName.h"

namespace keystrand {

class KEYSTRAND_API AuthorityKeyIdentifier {
 public:
  AuthorityKeyIdentifier() = default;
  AuthorityKeyIdentifier(const AuthorityKeyIdentifier&) = delete;
  AuthorityKeyIdentifier& operator=(const AuthorityKeyIdentifier&) = delete;
  [[nodiscard]] owner<AuthorityKeyIdentifier*> clone() const;

  [[nodiscard]] owner<unsigned char*> keyIdentifier() const;  // delete[]; nullptr when absent
  [[nodiscard]] std::uint32_t keyIdentifierLength() const noexcept { return keyIdentifier_.size(); }
  [[nodiscard]] std::span<const unsigned char> keyIdentifierView() const noexcept {  // empty when absent
    return keyIdentifier_.view();
  }
  void setKeyIdentifier(const unsigned char* bytes, std::uint32_t n) { keyIdentifier_.assign(bytes, n); }
  [[nodiscard]] owner<GeneralNameList*> authorityCertIssuer() const;
  [[nodiscard]] const GeneralNameList* authorityCertIssuerView() const noexcept { return authorityCertIssuer_.get(); }
  void setAuthorityCertIssuer(const GeneralNameList* names);
  [[nodiscard]] const BigInteger& authorityCertSerialNumber() const noexcept { return authorityCertSerialNumber_; }
  void setAuthorityCertSerialNumber(const BigInteger& serial);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const { return size(buffer, 0x30); }
  void put(Buffer& buffer) const { put(buffer, 0x30); }
  bool get(Buffer& buffer) { return get(buffer, 0x30); }
  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void put(Buffer& buffer, unsigned char tag) const;
  bool get(Buffer& buffer, unsigned char tag);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  OctetValue keyIdentifier_;
  std::unique_ptr<GeneralNameList> authorityCertIssuer_;
  BigInteger authorityCertSerialNumber_;
  bool serialPresent_ = false;  // a serial number of 0 is one too
};

}  // namespace keystrand
