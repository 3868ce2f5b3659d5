#include "ldap/SearchRequest.h"

namespace keystrand {

std::uint32_t SearchRequest::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, baseObject_) + 2 * buffer.sizeEnumerated() + buffer.sizeInteger(sizeLimit_) +
         buffer.sizeInteger(timeLimit_) + buffer.sizeBoolean() + filter_.size(buffer) + attributes_.size(buffer);
}

std::uint32_t SearchRequest::size(const Buffer& buffer) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(kTag, n) + n;
}

void SearchRequest::encode(Buffer& buffer) const {
  buffer.putHeader(kTag, contentSize(buffer));
  putField(buffer, baseObject_);
  buffer.putEnumerated(scope_);
  buffer.putEnumerated(derefAliases_);
  buffer.putInteger(sizeLimit_);
  buffer.putInteger(timeLimit_);
  buffer.putBoolean(typesOnly_);
  filter_.encode(buffer);
  attributes_.encode(buffer);
}

bool SearchRequest::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kTag) && getField(in, baseObject_) && in.getEnumerated(scope_) &&
         in.getEnumerated(derefAliases_) && in.getInteger(sizeLimit_) && in.getInteger(timeLimit_) &&
         in.getBoolean(typesOnly_) && filter_.decode(in) && attributes_.decode(in) && ends(sequence, in);
}

}  // namespace keystrand
