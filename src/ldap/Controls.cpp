#include "ldap/Controls.h"

namespace keystrand {

namespace {
constexpr unsigned char kBoolean = 1;
}

std::uint32_t Control::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, controlType_) + sizeFlag(buffer, criticality_) +
         sizeOptional(buffer, controlValue_, kOctetString);
}

std::uint32_t Control::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void Control::encode(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putField(buffer, controlType_);
  putFlag(buffer, criticality_, kBoolean);
  putOptional(buffer, controlValue_, kOctetString);
}

bool Control::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kSequence) && getField(in, controlType_) &&
         getFlag(in, sequence, criticality_, kBoolean) && getOptional(in, sequence, controlValue_, kOctetString) &&
         ends(sequence, in);
}

}  // namespace keystrand
