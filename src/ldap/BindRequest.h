// BindRequest with its credentials, and UnbindRequest (RFC 4511 sections 4.2 and 4.3).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "ldap/Coding.h"
#include "ldap/LDAPOperation.h"

namespace keystrand {

class SaslCredentials {
 public:
  SaslCredentials() = default;
  explicit SaslCredentials(std::string_view mechanism, std::optional<Bytes> credentials = {})
      : mechanism_(mechanism), credentials_(std::move(credentials)) {}

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void encode(Buffer& buffer, unsigned char tag) const;
  bool decode(Buffer& in, unsigned char tag);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::string mechanism_;
  std::optional<Bytes> credentials_;
};

// AuthenticationChoice: a simple password, or SASL credentials. A new one is the empty password.
class AuthChoice {
 public:
  static constexpr unsigned char kSimple = 0x80;
  static constexpr unsigned char kSasl = 0xA3;

  AuthChoice() = default;
  explicit AuthChoice(std::string_view password) : value_(std::string(password)) {}
  explicit AuthChoice(const SaslCredentials& credentials) : value_(credentials) {}

  [[nodiscard]] unsigned char tag() const noexcept { return value_.index() == 0 ? kSimple : kSasl; }
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void encode(Buffer& buffer) const;
  bool decode(Buffer& in);

 private:
  std::variant<std::string, SaslCredentials> value_;
};

// A new one has no name and no password: an anonymous bind, once the version is set.
class BindRequest final : public OperationOf<BindRequest, 0x60> {
 public:
  void setVersion(unsigned char version) noexcept { version_ = version; }
  void setName(std::string_view dn) { name_ = dn; }
  void setSimple(std::string_view password) { authentication_ = AuthChoice(password); }
  void setAuthentication(const AuthChoice& choice) { authentication_ = choice; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void encode(Buffer& buffer) const override;
  bool decode(Buffer& in) override;

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  unsigned char version_ = 0;
  std::string name_;
  AuthChoice authentication_;
};

class UnbindRequest final : public OperationOf<UnbindRequest, 0x42> {
 public:
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override { return buffer.sizeNull(); }
  void encode(Buffer& buffer) const override { buffer.putEmpty(kTag); }
  bool decode(Buffer& in) override { return in.getEmpty(kTag); }
};

}  // namespace keystrand
