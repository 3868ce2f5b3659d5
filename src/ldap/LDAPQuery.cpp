#include "ldap/LDAPQuery.h"

#include <algorithm>
#include <iterator>

#include "ldap/SearchRequest.h"
#include "support/Text.h"

namespace keystrand {

namespace {

constexpr std::string_view kBinary = ";binary";

struct ScopeRow {
  std::string_view name;
  unsigned char scope;
};

constexpr ScopeRow kScopes[] = {
    {"base", SearchRequest::kBaseObject},
    {"one", SearchRequest::kSingleLevel},
    {"sub", SearchRequest::kWholeSubtree},
};

// The text up to the first separator, which goes with it.
std::string_view takeUntil(std::string_view& text, char separator) {
  const std::size_t at = std::min(text.find(separator), text.size());
  const std::string_view head = text.substr(0, at);
  text.remove_prefix(std::min(at + 1, text.size()));
  return head;
}

// By its first letters.
unsigned char scopeOf(std::string_view text) {
  const auto* row =
      std::ranges::find_if(kScopes, [&](const ScopeRow& scope) { return startsWithNoCase(text, scope.name); });
  return row != std::end(kScopes) ? row->scope : SearchRequest::kBaseObject;
}

std::string_view withoutBrackets(std::string_view text) {
  if (text.size() >= 2 && text.front() == '(' && text.back() == ')') return text.substr(1, text.size() - 2);
  return text;
}

Filter filterOf(std::string_view text) {
  std::string_view value = withoutBrackets(text);
  if (value.find('=') == std::string_view::npos) return anyEntry();
  const std::string_view attribute = takeUntil(value, '=');
  if (value == "*") return anyEntry();
  Filter filter;
  filter.setTag(Filter::kEqualityMatch);
  filter.setAssertion({attribute, Bytes(value.begin(), value.end())});
  return filter;
}

}  // namespace

LDAPQuery parseLDAPQuery(std::string_view text) {
  LDAPQuery query;
  query.binary = text.find(kBinary) != std::string_view::npos;
  query.attribute = takeUntil(text, '?');
  query.name = query.attribute.substr(0, query.attribute.find(';'));
  query.scope = scopeOf(takeUntil(text, '?'));
  query.filter = filterOf(text);
  return query;
}

std::string_view withoutBinary(std::string_view type) {
  return type.substr(0, type.find(kBinary));
}

Filter anyEntry() {
  Filter filter;
  filter.setTag(Filter::kPresent);
  filter.setPresent("objectclass");
  return filter;
}

}  // namespace keystrand
