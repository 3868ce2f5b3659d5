#include "keystrand/pkix/GeneralName.h"

#include "der/Octets.h"
#include "der/Reading.h"
#include "pkix/TextReading.h"
#include "support/Memory.h"

namespace keystrand {

owner<GeneralName*> GeneralName::clone() const {
  auto copy = std::make_unique<GeneralName>();
  copy->tag_ = tag_;
  copy->registeredID_ = copyOf(registeredID_.get());
  copy->text_ = text_;
  copy->directoryName_ = copyOf(directoryName_.get());
  copy->ediPartyName_ = copyOf(ediPartyName_.get());
  copy->otherName_ = copyOf(otherName_.get());
  copy->ipAddress_ = ipAddress_;
  return copy.release();
}

// Makes this the only choice, without its value.
void GeneralName::choose(unsigned char tag) {
  tag_ = tag;
  registeredID_.reset();
  text_.reset();
  directoryName_.reset();
  ediPartyName_.reset();
  otherName_.reset();
  ipAddress_.clear();
}

std::uint32_t GeneralName::size(const Buffer& buffer) const {
  switch (tag_) {
    case kRfc822Name:
    case kDNSName:
    case kX400Address:
    case kURI:
      return buffer.sizeText(textOrNull(text_), tag_);
    case kIPAddress:
      return buffer.sizeOctetString(ipAddress_.data(), ipAddress_.size(), tag_);
    case kRegisteredID:
      return registeredID_ ? buffer.sizeOID(*registeredID_) : 0;
    case kOtherName:
      return otherName_ ? otherName_->size(buffer, tag_) : 0;
    case kDirectoryName:
      return directoryName_ ? sizeWrapped(*directoryName_, buffer, tag_) : 0;
    case kEdiPartyName:
      return ediPartyName_ ? ediPartyName_->size(buffer, tag_) : 0;
    default:
      return 0;
  }
}

void GeneralName::put(Buffer& buffer) const {
  switch (tag_) {
    case kRfc822Name:
    case kDNSName:
    case kX400Address:
    case kURI:
      return buffer.putText(textOrNull(text_), tag_);
    case kIPAddress:
      return buffer.putOctetString(ipAddress_.data(), ipAddress_.size(), tag_);
    case kRegisteredID:
      if (registeredID_) buffer.putOID(*registeredID_, tag_);
      return;
    case kOtherName:
      if (otherName_) otherName_->put(buffer, tag_);
      return;
    case kDirectoryName:
      if (directoryName_) putWrapped(*directoryName_, buffer, tag_);
      return;
    case kEdiPartyName:
      if (ediPartyName_) ediPartyName_->put(buffer, tag_);
      return;
    default:
      return;
  }
}

bool GeneralName::get(Buffer& buffer) {
  unsigned char tag = 0;
  std::uint32_t n = 0;
  const bool readable = buffer.peekHeader(tag, n);
  choose(tag);
  if (!readable) return false;
  switch (tag) {
    case kRfc822Name:
    case kDNSName:
    case kX400Address:
    case kURI:
      return readText(text_, buffer, tag);
    case kIPAddress:
      return getOctets(buffer, ipAddress_, tag);
    case kRegisteredID:
      registeredID_ = std::make_unique<OID>();
      return buffer.getOID(*registeredID_, tag);
    case kOtherName:
      return getNew(otherName_, buffer, tag);
    case kDirectoryName:
      return getDirectoryName(buffer);
    case kEdiPartyName:
      return getNew(ediPartyName_, buffer, tag);
    default:
      return true;
  }
}

bool GeneralName::getDirectoryName(Buffer& buffer) {
  Element wrapper;
  return openAnyWhole(wrapper, buffer, kDirectoryName) && !wrapper.atEnd(buffer) && getNew(directoryName_, buffer) &&
         close(wrapper, buffer);
}

}  // namespace keystrand
