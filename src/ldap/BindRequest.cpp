#include "ldap/BindRequest.h"

namespace keystrand {

// Credentials are a plain element at the end: whatever octets follow the mechanism are theirs.
std::uint32_t SaslCredentials::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, mechanism_) + sizeOptional(buffer, credentials_, kOctetString);
}

std::uint32_t SaslCredentials::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void SaslCredentials::encode(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  putField(buffer, mechanism_);
  putOptional(buffer, credentials_, kOctetString);
}

bool SaslCredentials::decode(Buffer& in, unsigned char tag) {
  Element sequence;
  return openWhole(sequence, in, tag) && getField(in, mechanism_) &&
         getOptional(in, sequence, credentials_, kOctetString) && ends(sequence, in);
}

std::uint32_t AuthChoice::size(const Buffer& buffer) const {
  return std::visit([&](const auto& value) { return sizeField(buffer, value, tag()); }, value_);
}

void AuthChoice::encode(Buffer& buffer) const {
  std::visit([&](const auto& value) { putField(buffer, value, tag()); }, value_);
}

bool AuthChoice::decode(Buffer& in) {
  if (nextTag(in) == kSasl) return value_.emplace<SaslCredentials>().decode(in, kSasl);
  return getField(in, value_.emplace<std::string>(), kSimple);
}

std::uint32_t BindRequest::contentSize(const Buffer& buffer) const {
  return buffer.sizeByteInteger() + sizeField(buffer, name_) + authentication_.size(buffer);
}

std::uint32_t BindRequest::size(const Buffer& buffer) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(kTag, n) + n;
}

void BindRequest::encode(Buffer& buffer) const {
  buffer.putHeader(kTag, contentSize(buffer));
  buffer.putByteInteger(version_);
  putField(buffer, name_);
  authentication_.encode(buffer);
}

bool BindRequest::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kTag) && in.getByteInteger(version_) && getField(in, name_) &&
         authentication_.decode(in) && ends(sequence, in);
}

}  // namespace keystrand
