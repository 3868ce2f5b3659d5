#include "ldap/ExtendedRequest.h"

namespace keystrand {

namespace {
constexpr unsigned char kRequestName = 0x80;
constexpr unsigned char kRequestValue = 0x81;
}  // namespace

std::uint32_t ExtendedRequest::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, requestName_, kRequestName) + sizeOptional(buffer, requestValue_, kRequestValue);
}

std::uint32_t ExtendedRequest::size(const Buffer& buffer) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(kTag, n) + n;
}

void ExtendedRequest::encode(Buffer& buffer) const {
  buffer.putHeader(kTag, contentSize(buffer));
  putField(buffer, requestName_, kRequestName);
  putOptional(buffer, requestValue_, kRequestValue);
}

bool ExtendedRequest::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kTag) && getField(in, requestName_, kRequestName) &&
         getOptional(in, sequence, requestValue_, kRequestValue) && ends(sequence, in);
}

}  // namespace keystrand
