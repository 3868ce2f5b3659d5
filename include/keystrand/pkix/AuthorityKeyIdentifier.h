// AuthorityKeyIdentifier (RFC 5280 section 4.2.1.1).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "keystrand/der/BigInteger.h"
#include "keystrand/der/Buffer.h"
#include "keystrand/pkix/GeneralName.h"

namespace keystrand {

class KEYSTRAND_API AuthorityKeyIdentifier {
 public:
  AuthorityKeyIdentifier() = default;
  AuthorityKeyIdentifier(const AuthorityKeyIdentifier&) = delete;
  AuthorityKeyIdentifier& operator=(const AuthorityKeyIdentifier&) = delete;
  [[nodiscard]] owner<AuthorityKeyIdentifier*> clone() const;

  [[nodiscard]] owner<unsigned char*> keyIdentifier() const;  // delete[]; nullptr when absent
  [[nodiscard]] std::uint32_t keyIdentifierLength() const noexcept;
  [[nodiscard]] std::span<const unsigned char> keyIdentifierView() const noexcept;  // empty when absent
  void setKeyIdentifier(const unsigned char* bytes, std::uint32_t n);
  [[nodiscard]] owner<GeneralNameList*> authorityCertIssuer() const;
  [[nodiscard]] const GeneralNameList* authorityCertIssuerView() const noexcept { return authorityCertIssuer_.get(); }
  void setAuthorityCertIssuer(const GeneralNameList* names);
  [[nodiscard]] const BigInteger& authorityCertSerialNumber() const noexcept { return authorityCertSerialNumber_; }
  void setAuthorityCertSerialNumber(const BigInteger& serial) { authorityCertSerialNumber_ = serial; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const { return size(buffer, 0x30); }
  void put(Buffer& buffer) const { put(buffer, 0x30); }
  bool get(Buffer& buffer) { return get(buffer, 0x30); }
  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void put(Buffer& buffer, unsigned char tag) const;
  bool get(Buffer& buffer, unsigned char tag);

 private:
  std::optional<std::vector<unsigned char>> keyIdentifier_;
  std::unique_ptr<GeneralNameList> authorityCertIssuer_;
  BigInteger authorityCertSerialNumber_;
};

}  // namespace keystrand
