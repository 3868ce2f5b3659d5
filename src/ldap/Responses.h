// The responses that carry an LDAPResult (RFC 4511 sections 4.2.2 and 4.5.2 to 4.12).
#pragma once

#include <optional>

#include "ldap/LDAPResult.h"

namespace keystrand {

class BindResponse final : public OperationOf<BindResponse, 0x61, LDAPResult> {
 public:
  [[nodiscard]] const std::optional<Bytes>& serverSaslCreds() const noexcept { return serverSaslCreds_; }
  void setServerSaslCreds(const Bytes& credentials) { serverSaslCreds_ = credentials; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void encode(Buffer& buffer) const override;
  bool decode(Buffer& in) override;

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::optional<Bytes> serverSaslCreds_;
};

class SearchResultDone final : public OperationOf<SearchResultDone, 0x65, LDAPResult> {};
class ModifyResponse final : public OperationOf<ModifyResponse, 0x67, LDAPResult> {};
class AddResponse final : public OperationOf<AddResponse, 0x69, LDAPResult> {};
class DelResponse final : public OperationOf<DelResponse, 0x6B, LDAPResult> {};
class ModifyDNResponse final : public OperationOf<ModifyDNResponse, 0x6D, LDAPResult> {};
class CompareResponse final : public OperationOf<CompareResponse, 0x6F, LDAPResult> {};

class ExtendedResponse final : public OperationOf<ExtendedResponse, 0x78, LDAPResult> {
 public:
  [[nodiscard]] const std::optional<std::string>& responseName() const noexcept { return responseName_; }
  void setResponseName(std::string_view oid) { responseName_ = oid; }
  [[nodiscard]] const std::optional<Bytes>& response() const noexcept { return response_; }
  void setResponse(const Bytes& value) { response_ = value; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void encode(Buffer& buffer) const override;
  bool decode(Buffer& in) override;

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::optional<std::string> responseName_;
  std::optional<Bytes> response_;
};

}  // namespace keystrand
