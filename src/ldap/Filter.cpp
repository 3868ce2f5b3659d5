#include "ldap/Filter.h"

#include <algorithm>
#include <iterator>

namespace keystrand {

namespace {

enum class Member { kSet, kNot, kAssertion, kSubstrings, kPresent, kRule };

struct FilterRow {
  unsigned char tag;
  Member member;
  const char* sign;  // in the text form: in front of the members of a set, behind an attribute
};

constexpr FilterRow kFilters[] = {
    {Filter::kAnd, Member::kSet, "&"},
    {Filter::kOr, Member::kSet, "|"},
    {Filter::kNot, Member::kNot, "!"},
    {Filter::kEqualityMatch, Member::kAssertion, " = "},
    {Filter::kSubstrings, Member::kSubstrings, " = "},
    {Filter::kGreaterOrEqual, Member::kAssertion, " >= "},
    {Filter::kLessOrEqual, Member::kAssertion, " <= "},
    {Filter::kPresent, Member::kPresent, "=* "},
    {Filter::kApproxMatch, Member::kAssertion, " ~= "},
    {Filter::kExtensibleMatch, Member::kRule, ""},
};

const FilterRow* rowOf(unsigned char tag) {
  const auto* row = std::ranges::find(kFilters, tag, &FilterRow::tag);
  return row != std::end(kFilters) ? row : nullptr;
}

std::string textOf(const AttrValueAssertion& assertion, const char* sign) {
  const Bytes& value = assertion.assertionValue();
  return assertion.attributeDesc() + sign + std::string(value.begin(), value.end());
}

}  // namespace

void FilterSet::add(const Filter& filter) {
  filters_.push_back(filter);
}

std::uint32_t FilterSet::size(const Buffer& buffer, unsigned char tag) const {
  return sizeListOf(buffer, filters_, tag);
}

void FilterSet::encode(Buffer& buffer, unsigned char tag) const {
  putListOf(buffer, filters_, tag);
}

bool FilterSet::decode(Buffer& in, unsigned char tag, FilterReading& reading) {
  if (++reading.depth >= Filter::kMaxDepth) return false;
  if (!getElements(in, tag, filters_, [&](Filter& filter) { return filter.decode(in, reading); })) return false;
  --reading.depth;
  return true;
}

void Filter::setNot(const Filter& filter) {
  FilterSet one;
  one.add(filter);
  member_ = std::move(one);
}

std::uint32_t Filter::size(const Buffer& buffer) const {
  if (rowOf(tag_) == nullptr) return 0;
  return std::visit([&](const auto& member) { return sizeField(buffer, member, tag_); }, member_);
}

void Filter::encode(Buffer& buffer) const {
  if (rowOf(tag_) == nullptr) return;
  std::visit([&](const auto& member) { putField(buffer, member, tag_); }, member_);
}

bool Filter::decode(Buffer& in) {
  FilterReading reading;
  return decode(in, reading);
}

bool Filter::decode(Buffer& in, FilterReading& reading) {
  tag_ = nextTag(in);
  return ++reading.count <= kMaxElements && decodeMember(in, reading);
}

bool Filter::decodeMember(Buffer& in, FilterReading& reading) {
  const FilterRow* row = rowOf(tag_);
  if (row == nullptr) return false;
  switch (row->member) {
    case Member::kSet:
      return member_.emplace<FilterSet>().decode(in, tag_, reading);
    case Member::kNot: {
      auto& one = member_.emplace<FilterSet>();
      return one.decode(in, tag_, reading) && one.filters().size() == 1;
    }
    case Member::kAssertion:
      return member_.emplace<AttrValueAssertion>().decode(in, tag_);
    case Member::kSubstrings:
      return member_.emplace<SubstringFilter>().decode(in, tag_);
    case Member::kPresent:
      return getField(in, member_.emplace<std::string>(), tag_);
    case Member::kRule:
      return member_.emplace<MatchingRuleAssertion>().decode(in, tag_);
  }
  return false;
}

std::optional<std::string> Filter::toString(int depth) const {
  if (depth >= kMaxDepth) return std::nullopt;
  const std::optional<std::string> text = memberText(depth);
  return text ? std::optional("( " + *text + ")") : std::nullopt;
}

std::optional<std::string> Filter::memberText(int depth) const {
  const FilterRow* row = rowOf(tag_);
  if (row == nullptr) return std::nullopt;
  if (const auto* set = std::get_if<FilterSet>(&member_)) {
    if (row->member != Member::kSet && row->member != Member::kNot) return std::nullopt;
    std::string text = row->sign;
    for (const Filter& filter : set->filters()) {
      const std::optional<std::string> member = filter.toString(depth + 1);
      if (!member) return std::nullopt;
      text += *member;
    }
    return text;
  }
  if (const auto* assertion = std::get_if<AttrValueAssertion>(&member_); assertion && row->member == Member::kAssertion)
    return textOf(*assertion, row->sign);
  if (const auto* pieces = std::get_if<SubstringFilter>(&member_); pieces && row->member == Member::kSubstrings)
    return pieces->type() + row->sign + pieces->pattern();
  if (const auto* attribute = std::get_if<std::string>(&member_); attribute && row->member == Member::kPresent)
    return *attribute + row->sign;
  return std::nullopt;
}

}  // namespace keystrand
