#include "ldap/SearchResult.h"

namespace keystrand {

std::uint32_t SearchResultEntry::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, objectName_) + attributes_.size(buffer);
}

std::uint32_t SearchResultEntry::size(const Buffer& buffer) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(kTag, n) + n;
}

void SearchResultEntry::encode(Buffer& buffer) const {
  buffer.putHeader(kTag, contentSize(buffer));
  putField(buffer, objectName_);
  attributes_.encode(buffer);
}

bool SearchResultEntry::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kTag) && getField(in, objectName_) && attributes_.decode(in) && ends(sequence, in);
}

}  // namespace keystrand
