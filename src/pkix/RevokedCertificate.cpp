#include "keystrand/pkix/RevokedCertificate.h"

#include "pkix/Parts.h"

namespace keystrand {

RevokedCertificate::RevokedCertificate() = default;
RevokedCertificate::~RevokedCertificate() = default;
RevokedCertificate::RevokedCertificate(RevokedCertificate&& other) noexcept = default;
RevokedCertificate& RevokedCertificate::operator=(RevokedCertificate&& other) noexcept = default;

owner<RevokedCertificate*> RevokedCertificate::clone() const {
  auto copy = std::make_unique<RevokedCertificate>();
  copy->userCertificate_ = userCertificate_;
  copy->revocationDate_ = revocationDate_;
  copy->crlEntryExtensions_ = copyOf(crlEntryExtensions_.get());
  return copy.release();
}

void RevokedCertificate::setSerialFromBytes(const unsigned char* bytes, std::uint32_t n) {
  userCertificate_ = BigInteger(std::span(bytes, bytes != nullptr ? n : 0));
}

owner<char*> RevokedCertificate::serialText(int base) const {
  return userCertificate_.toText(base);
}

owner<X500Time*> RevokedCertificate::revocationDate() const {
  return cloneOf(revocationDate_);
}

void RevokedCertificate::setRevocationDate(const X500Time* time) {
  revocationDate_ = valueOf(time);
}

owner<ExtensionList*> RevokedCertificate::extensions() const {
  return cloneOf(crlEntryExtensions_);
}

void RevokedCertificate::setExtensions(const ExtensionList* list) {
  crlEntryExtensions_ = copyOf(list);
}

std::uint32_t RevokedCertificate::contentSize(const Buffer& buffer) const {
  return userCertificate_.size(buffer) + sizePart(revocationDate_, buffer) + sizePart(crlEntryExtensions_, buffer);
}

std::uint32_t RevokedCertificate::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void RevokedCertificate::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  userCertificate_.put(buffer);
  putPart(revocationDate_, buffer);
  putPart(crlEntryExtensions_, buffer);
}

// Content behind the extensions of the definite form is left where it is: the list reads it as its next entry.
bool RevokedCertificate::get(Buffer& buffer) {
  crlEntryExtensions_.reset();
  Element entry;
  if (!entry.openAny(buffer, kSequence) || !userCertificate_.get(buffer)) return false;
  if (!revocationDate_.emplace().get(buffer)) return false;
  if (!entry.atEnd(buffer) && !getNew(crlEntryExtensions_, buffer)) return false;
  return entry.definite || buffer.getEndOfContents();
}

}  // namespace keystrand
