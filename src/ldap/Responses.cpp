#include "ldap/Responses.h"

namespace keystrand {

namespace {
constexpr unsigned char kServerSaslCreds = 0x87;
constexpr unsigned char kResponseName = 0x8A;
constexpr unsigned char kResponseValue = 0x8B;
}  // namespace

std::uint32_t BindResponse::contentSize(const Buffer& buffer) const {
  return bodySize(buffer) + sizeOptional(buffer, serverSaslCreds_, kServerSaslCreds);
}

std::uint32_t BindResponse::size(const Buffer& buffer) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(kTag, n) + n;
}

void BindResponse::encode(Buffer& buffer) const {
  encodeTagged(kTag, contentSize(buffer), buffer);
  putOptional(buffer, serverSaslCreds_, kServerSaslCreds);
}

bool BindResponse::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kTag) && decodeBody(sequence, in) &&
         getOptional(in, sequence, serverSaslCreds_, kServerSaslCreds) && ends(sequence, in);
}

std::uint32_t ExtendedResponse::contentSize(const Buffer& buffer) const {
  return bodySize(buffer) + sizeOptional(buffer, responseName_, kResponseName) +
         sizeOptional(buffer, response_, kResponseValue);
}

std::uint32_t ExtendedResponse::size(const Buffer& buffer) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(kTag, n) + n;
}

void ExtendedResponse::encode(Buffer& buffer) const {
  encodeTagged(kTag, contentSize(buffer), buffer);
  putOptional(buffer, responseName_, kResponseName);
  putOptional(buffer, response_, kResponseValue);
}

bool ExtendedResponse::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kTag) && decodeBody(sequence, in) &&
         getOptional(in, sequence, responseName_, kResponseName) &&
         getOptional(in, sequence, response_, kResponseValue) && ends(sequence, in);
}

}  // namespace keystrand
