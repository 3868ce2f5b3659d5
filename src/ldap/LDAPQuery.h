// The part of an LDAP URL behind the DN (RFC 4516): which attribute, how deep, which entries.
#pragma once

#include <string>
#include <string_view>

#include "ldap/Filter.h"

namespace keystrand {

struct LDAPQuery {
  std::string attribute;  // as asked for, options and all
  std::string name;       // without its options
  bool binary = false;    // whether ";binary" stands anywhere in the text
  unsigned char scope = 0;
  Filter filter;
};

// Reads attribute[;binary][?scope[?filter]]. A scope other than base, one and sub is base. A filter is one comparison,
// "cn=value" with or without brackets round it; any other, and the value "*", asks for every entry.
[[nodiscard]] LDAPQuery parseLDAPQuery(std::string_view text);

// An attribute description without its ";binary".
[[nodiscard]] std::string_view withoutBinary(std::string_view type);

// The filter that every entry matches.
[[nodiscard]] Filter anyEntry();

}  // namespace keystrand
