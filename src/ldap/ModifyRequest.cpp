#include "ldap/ModifyRequest.h"

namespace keystrand {

std::uint32_t Operation::contentSize(const Buffer& buffer) const {
  return buffer.sizeEnumerated() + modification_.size(buffer);
}

std::uint32_t Operation::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void Operation::encode(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  buffer.putEnumerated(operation_);
  modification_.encode(buffer);
}

bool Operation::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kSequence) && in.getEnumerated(operation_) && modification_.decode(in) &&
         ends(sequence, in);
}

std::uint32_t ModifyRequest::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, object_) + changes_.size(buffer);
}

std::uint32_t ModifyRequest::size(const Buffer& buffer) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(kTag, n) + n;
}

void ModifyRequest::encode(Buffer& buffer) const {
  buffer.putHeader(kTag, contentSize(buffer));
  putField(buffer, object_);
  changes_.encode(buffer);
}

bool ModifyRequest::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kTag) && getField(in, object_) && changes_.decode(in) && ends(sequence, in);
}

}  // namespace keystrand
