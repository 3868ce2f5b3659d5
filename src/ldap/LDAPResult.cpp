#include "ldap/LDAPResult.h"

namespace keystrand {

namespace {
constexpr unsigned char kReferral = 0x83;
}

std::uint32_t LDAPResult::bodySize(const Buffer& buffer) const {
  return buffer.sizeEnumerated() + sizeField(buffer, matchedDN_) + sizeField(buffer, errorMessage_) +
         sizeOptional(buffer, referral_, kReferral);
}

std::uint32_t LDAPResult::size(const Buffer& buffer) const {
  const std::uint32_t n = bodySize(buffer);
  return buffer.sizeHeader(tag(), n) + n;
}

void LDAPResult::encodeTagged(unsigned char tag, std::uint32_t length, Buffer& buffer) const {
  buffer.putHeader(tag, length);
  buffer.putEnumerated(resultCode_);
  putField(buffer, matchedDN_);
  putField(buffer, errorMessage_);
  putOptional(buffer, referral_, kReferral);
}

void LDAPResult::encodeTagged(unsigned char tag, Buffer& buffer) const {
  encodeTagged(tag, bodySize(buffer), buffer);
}

bool LDAPResult::decodeTagged(unsigned char tag, Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, tag) && decodeBody(sequence, in) && ends(sequence, in);
}

bool LDAPResult::decodeBody(const Element& sequence, Buffer& in) {
  return in.getEnumerated(resultCode_) && getField(in, matchedDN_) && getField(in, errorMessage_) &&
         getOptional(in, sequence, referral_, kReferral);
}

}  // namespace keystrand
