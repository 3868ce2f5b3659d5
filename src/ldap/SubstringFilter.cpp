#include "ldap/SubstringFilter.h"

namespace keystrand {

namespace {
constexpr unsigned char kInitial = 0x80;
constexpr unsigned char kAny = 0x81;
constexpr unsigned char kFinal = 0x82;
}  // namespace

std::string SubstringFilter::pattern() const {
  std::string text = initial_.value_or("") + "*";
  for (const std::string& piece : any_) text += piece + "*";
  return text + final_.value_or("");
}

std::uint32_t SubstringFilter::piecesSize(const Buffer& buffer) const {
  std::uint32_t n = sizeOptional(buffer, initial_, kInitial) + sizeOptional(buffer, final_, kFinal);
  for (const std::string& piece : any_) n += sizeField(buffer, piece, kAny);
  return n;
}

std::uint32_t SubstringFilter::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, type_) + buffer.sizeSequence(piecesSize(buffer));
}

std::uint32_t SubstringFilter::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void SubstringFilter::encode(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  putField(buffer, type_);
  buffer.putSequence(piecesSize(buffer));
  putOptional(buffer, initial_, kInitial);
  for (const std::string& piece : any_) putField(buffer, piece, kAny);
  putOptional(buffer, final_, kFinal);
}

bool SubstringFilter::decode(Buffer& in, unsigned char tag) {
  Element sequence;
  return openWhole(sequence, in, tag) && getField(in, type_) && decodePieces(in) && ends(sequence, in);
}

bool SubstringFilter::decodePieces(Buffer& in) {
  Element pieces;
  any_.clear();
  if (!openWhole(pieces, in, kSequence) || !getOptional(in, pieces, initial_, kInitial)) return false;
  while (isNext(pieces, in, kAny)) {
    if (any_.size() == kMaxElements || !getField(in, any_.emplace_back(), kAny)) return false;
  }
  return getOptional(in, pieces, final_, kFinal) && ends(pieces, in);
}

}  // namespace keystrand
