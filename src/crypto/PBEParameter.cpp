#include "crypto/PBEParameter.h"

#include "der/Element.h"

namespace keystrand {

std::uint32_t PBEParameter::contentSize(const Buffer& buffer) const {
  return sizeOctets(buffer, salt_) + buffer.sizeInteger(iterationCount_);
}

std::uint32_t PBEParameter::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void PBEParameter::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putOctets(buffer, salt_);
  buffer.putInteger(iterationCount_);
}

bool PBEParameter::get(Buffer& buffer) {
  Element body;
  return body.open(buffer, kSequence) && getOctets(buffer, salt_) && buffer.getInteger(iterationCount_);
}

}  // namespace keystrand
