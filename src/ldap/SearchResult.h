// What a search brings: SearchResultEntry and SearchResultReference (RFC 4511 section 4.5.2).
#pragma once

#include <string>
#include <string_view>

#include "ldap/LDAPOperation.h"
#include "ldap/PartialAttributeList.h"
#include "ldap/TextList.h"

namespace keystrand {

class SearchResultEntry final : public OperationOf<SearchResultEntry, 0x64> {
 public:
  [[nodiscard]] const std::string& objectName() const noexcept { return objectName_; }
  void setObjectName(std::string_view dn) { objectName_ = dn; }
  [[nodiscard]] const PartialAttributeList& attributes() const noexcept { return attributes_; }
  void setAttributes(const PartialAttributeList& attributes) { attributes_ = attributes; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void encode(Buffer& buffer) const override;
  bool decode(Buffer& in) override;

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::string objectName_;
  PartialAttributeList attributes_;
};

class SearchResultReference final : public OperationOf<SearchResultReference, 0x73> {
 public:
  [[nodiscard]] const URLList& uris() const noexcept { return uris_; }
  void setURIs(const URLList& uris) { uris_ = uris; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override { return uris_.size(buffer, kTag); }
  void encode(Buffer& buffer) const override { uris_.encode(buffer, kTag); }
  bool decode(Buffer& in) override { return uris_.decode(in, kTag); }

 private:
  URLList uris_;
};

}  // namespace keystrand
