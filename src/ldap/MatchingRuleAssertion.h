// MatchingRuleAssertion (RFC 4511 section 4.5.1.7.7), of an extensible match.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ldap/Coding.h"

namespace keystrand {

class MatchingRuleAssertion {
 public:
  void setMatchingRule(std::string_view rule) { matchingRule_ = rule; }
  void setType(std::string_view type) { type_ = type; }
  void setMatchValue(Bytes value) { matchValue_ = std::move(value); }
  void setDnAttributes(unsigned char flag) noexcept { dnAttributes_ = flag; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void encode(Buffer& buffer, unsigned char tag) const;
  bool decode(Buffer& in, unsigned char tag);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::optional<std::string> matchingRule_;
  std::optional<std::string> type_;
  Bytes matchValue_;
  unsigned char dnAttributes_ = 0;
};

}  // namespace keystrand
