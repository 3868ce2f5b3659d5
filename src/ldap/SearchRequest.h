// SearchRequest (RFC 4511 section 4.5.1).
#pragma once

#include <string>
#include <string_view>

#include "ldap/Filter.h"
#include "ldap/LDAPOperation.h"
#include "ldap/TextList.h"

namespace keystrand {

// A new one has no limits, looks at the base object alone and wants values.
class SearchRequest final : public OperationOf<SearchRequest, 0x63> {
 public:
  static constexpr unsigned char kBaseObject = 0;
  static constexpr unsigned char kSingleLevel = 1;
  static constexpr unsigned char kWholeSubtree = 2;

  void setBaseObject(std::string_view dn) { baseObject_ = dn; }
  void setScope(unsigned char scope) noexcept { scope_ = scope; }
  void setDerefAliases(unsigned char deref) noexcept { derefAliases_ = deref; }
  void setSizeLimit(std::int32_t entries) noexcept { sizeLimit_ = entries; }  // 0: none
  void setTimeLimit(std::int32_t seconds) noexcept { timeLimit_ = seconds; }  // 0: none
  void setTypesOnly(unsigned char flag) noexcept { typesOnly_ = flag; }
  void setFilter(const Filter& filter) { filter_ = filter; }
  void setAttributes(const AttrDescrList& attributes) { attributes_ = attributes; }
  [[nodiscard]] const Filter& filter() const noexcept { return filter_; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void encode(Buffer& buffer) const override;
  bool decode(Buffer& in) override;

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::string baseObject_;
  unsigned char scope_ = kBaseObject;
  unsigned char derefAliases_ = 0;
  std::int32_t sizeLimit_ = 0;
  std::int32_t timeLimit_ = 0;
  unsigned char typesOnly_ = 0;
  Filter filter_;
  AttrDescrList attributes_;
};

}  // namespace keystrand
