// AttributeValueAssertion (RFC 4511 section 4.1.6): an attribute and a value to compare it with.
#pragma once

#include <string>
#include <string_view>

#include "ldap/Coding.h"

namespace keystrand {

class AttrValueAssertion {
 public:
  AttrValueAssertion() = default;
  AttrValueAssertion(std::string_view attributeDesc, Bytes assertionValue)
      : attributeDesc_(attributeDesc), assertionValue_(std::move(assertionValue)) {}

  [[nodiscard]] const std::string& attributeDesc() const noexcept { return attributeDesc_; }
  [[nodiscard]] const Bytes& assertionValue() const noexcept { return assertionValue_; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag = kSequence) const;
  void encode(Buffer& buffer, unsigned char tag = kSequence) const;
  bool decode(Buffer& in, unsigned char tag = kSequence);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::string attributeDesc_;
  Bytes assertionValue_;
};

}  // namespace keystrand
