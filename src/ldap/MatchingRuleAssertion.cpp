#include "ldap/MatchingRuleAssertion.h"

namespace keystrand {

namespace {
constexpr unsigned char kMatchingRule = 0x81;
constexpr unsigned char kType = 0x82;
constexpr unsigned char kMatchValue = 0x83;
constexpr unsigned char kDnAttributes = 0x84;
}  // namespace

std::uint32_t MatchingRuleAssertion::contentSize(const Buffer& buffer) const {
  return sizeOptional(buffer, matchingRule_, kMatchingRule) + sizeOptional(buffer, type_, kType) +
         sizeField(buffer, matchValue_, kMatchValue) + sizeFlag(buffer, dnAttributes_);
}

std::uint32_t MatchingRuleAssertion::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void MatchingRuleAssertion::encode(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  putOptional(buffer, matchingRule_, kMatchingRule);
  putOptional(buffer, type_, kType);
  putField(buffer, matchValue_, kMatchValue);
  putFlag(buffer, dnAttributes_, kDnAttributes);
}

bool MatchingRuleAssertion::decode(Buffer& in, unsigned char tag) {
  Element sequence;
  return openWhole(sequence, in, tag) && getOptional(in, sequence, matchingRule_, kMatchingRule) &&
         getOptional(in, sequence, type_, kType) && getField(in, matchValue_, kMatchValue) &&
         getFlag(in, sequence, dnAttributes_, kDnAttributes) && ends(sequence, in);
}

}  // namespace keystrand
