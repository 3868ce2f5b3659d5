#include "ldap/AttrValueAssertion.h"

namespace keystrand {

std::uint32_t AttrValueAssertion::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, attributeDesc_) + sizeField(buffer, assertionValue_);
}

std::uint32_t AttrValueAssertion::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void AttrValueAssertion::encode(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  putField(buffer, attributeDesc_);
  putField(buffer, assertionValue_);
}

bool AttrValueAssertion::decode(Buffer& in, unsigned char tag) {
  Element sequence;
  return openWhole(sequence, in, tag) && getField(in, attributeDesc_) && getField(in, assertionValue_) &&
         ends(sequence, in);
}

}  // namespace keystrand
