// Filter (RFC 4511 section 4.5.1.7): what the entries that a search returns have to match.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ldap/AttrValueAssertion.h"
#include "ldap/Coding.h"
#include "ldap/MatchingRuleAssertion.h"
#include "ldap/SubstringFilter.h"

namespace keystrand {

class Filter;

// How much of a filter has been read: filters can nest, and the memory that they take is many times their encoding.
struct FilterReading {
  int depth = 0;
  std::size_t count = 0;
};

// SET OF Filter, under the tag of the filter that it is the member of.
class FilterSet {
 public:
  void add(const Filter& filter);
  [[nodiscard]] const std::vector<Filter>& filters() const noexcept { return filters_; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void encode(Buffer& buffer, unsigned char tag) const;
  bool decode(Buffer& in, unsigned char tag, FilterReading& reading);

 private:
  std::vector<Filter> filters_;
};

class Filter {
 public:
  static constexpr unsigned char kAnd = 0xA0;
  static constexpr unsigned char kOr = 0xA1;
  static constexpr unsigned char kNot = 0xA2;
  static constexpr unsigned char kEqualityMatch = 0xA3;
  static constexpr unsigned char kSubstrings = 0xA4;
  static constexpr unsigned char kGreaterOrEqual = 0xA5;
  static constexpr unsigned char kLessOrEqual = 0xA6;
  static constexpr unsigned char kPresent = 0x87;
  static constexpr unsigned char kApproxMatch = 0xA8;
  static constexpr unsigned char kExtensibleMatch = 0xA9;
  static constexpr unsigned char kNone = 0xFF;  // of a new object, which is written as nothing

  // Deepest nesting that is read, and that has a text form.
  static constexpr int kMaxDepth = 64;

  // The tag and the member are set by separate calls; a filter has one member, the one set last.
  [[nodiscard]] unsigned char tag() const noexcept { return tag_; }
  void setTag(unsigned char tag) noexcept { tag_ = tag; }
  void setSet(const FilterSet& filters) { member_ = filters; }  // of and, or
  void setNot(const Filter& filter);
  void setAssertion(const AttrValueAssertion& assertion) { member_ = assertion; }  // of the four comparisons
  void setSubstrings(const SubstringFilter& substrings) { member_ = substrings; }
  void setPresent(std::string_view attribute) { member_ = std::string(attribute); }
  void setExtensibleMatch(const MatchingRuleAssertion& rule) { member_ = rule; }

  // "( cn = value)", "( &( cn = a)( objectclass=* ))". Nothing for an extensible match, for a filter that holds one or
  // nests too deep, and for one whose member is not that of its tag.
  [[nodiscard]] std::optional<std::string> toString() const { return toString(0); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void encode(Buffer& buffer) const;
  bool decode(Buffer& in);

 private:
  friend class FilterSet;

  bool decode(Buffer& in, FilterReading& reading);
  bool decodeMember(Buffer& in, FilterReading& reading);
  [[nodiscard]] std::optional<std::string> toString(int depth) const;
  [[nodiscard]] std::optional<std::string> memberText(int depth) const;

  unsigned char tag_ = kNone;
  std::variant<FilterSet, AttrValueAssertion, SubstringFilter, std::string, MatchingRuleAssertion> member_;
};

}  // namespace keystrand
