#include "ldap/PartialAttributeList.h"

namespace keystrand {

std::uint32_t PartialAttribute::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, type_) + vals_.size(buffer);
}

std::uint32_t PartialAttribute::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void PartialAttribute::encode(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putField(buffer, type_);
  vals_.encode(buffer);
}

bool PartialAttribute::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kSequence) && getField(in, type_) && vals_.decode(in) && ends(sequence, in);
}

}  // namespace keystrand
