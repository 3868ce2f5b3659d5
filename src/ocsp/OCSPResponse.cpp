#include "keystrand/ocsp/OCSPResponse.h"

#include "ocsp/MessageCoding.h"
#include "support/Memory.h"

namespace keystrand {

namespace {
constexpr unsigned char kResponseBytes = 0xA0;
}  // namespace

owner<char*> ResponseBytes::responseType() const {
  return responseType_ ? responseType_->toText() : nullptr;
}
bool ResponseBytes::isType(const char* dotted) const {
  return responseType_ && dotted != nullptr && responseType_->equals(dotted);
}
void ResponseBytes::setResponseType(const char* dotted) {
  responseType_ = dotted != nullptr ? std::optional<OID>(dotted) : std::nullopt;
}
owner<unsigned char*> ResponseBytes::response() const {
  return newBytes(response_.view());
}

std::uint32_t ResponseBytes::contentSize(const Buffer& buffer) const {
  return (responseType_ ? buffer.sizeOID(*responseType_) : 0) + sizeOctets(buffer, response_);
}

std::uint32_t ResponseBytes::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void ResponseBytes::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (responseType_) buffer.putOID(*responseType_);
  putOctets(buffer, response_);
}

bool ResponseBytes::get(Buffer& in) {
  Element body;
  return openWhole(body, in, kSequence) && !body.atEnd(in) && in.getOID(responseType_.emplace()) && !body.atEnd(in) &&
         getOctets(in, response_) && ended(body, in);
}

owner<ResponseBytes*> OCSPResponse::responseBytes() const {
  return cloneOf(responseBytes_);
}
void OCSPResponse::setResponseBytes(const ResponseBytes* bytes) {
  responseBytes_ = valueOf(bytes);
}

std::uint32_t OCSPResponse::contentSize(const Buffer& buffer) const {
  return buffer.sizeEnumerated() + sizeWrappedPart(responseBytes_, buffer, kResponseBytes);
}

std::uint32_t OCSPResponse::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void OCSPResponse::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  buffer.putEnumerated(responseStatus_);
  putWrappedPart(responseBytes_, buffer, kResponseBytes);
}

bool OCSPResponse::get(Buffer& in) {
  Element body;
  responseBytes_.reset();
  return openWhole(body, in, kSequence) && !body.atEnd(in) && in.getEnumerated(responseStatus_) &&
         getOptional(body, in, kResponseBytes, [&] { return responseBytes_.emplace().get(in); }) && ended(body, in);
}

}  // namespace keystrand
