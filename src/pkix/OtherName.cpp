#include "der/ConstantOID.h"
#include "der/Octets.h"
#include "keystrand/pkix/GeneralName.h"
#include "pkix/Parts.h"

namespace keystrand {

namespace {
constexpr unsigned char kValue = 0xA0;
}

bool OtherName::isUPN() const {
  return typeId_ && *typeId_ == "1.3.6.1.4.1.311.20.2.3"_oid;
}

bool OtherName::isGUID() const {
  return typeId_ && *typeId_ == "1.3.6.1.4.1.311.25.1"_oid;
}

void OtherName::setUPN(const UTF8* upn) {
  upn_ = valueOf(upn);
}

owner<unsigned char*> OtherName::guid() const {
  return newBytes(guid_.view());
}

// A value of another type was not read and is not written.
std::uint32_t OtherName::valueSize(const Buffer& buffer) const {
  if (isUPN()) return upn_ ? upn_->size(buffer) : buffer.sizeNull();
  return isGUID() ? buffer.sizeOctetString(guid_.data(), guid_.size()) : 0;
}

std::uint32_t OtherName::contentSize(const Buffer& buffer) const {
  const std::uint32_t value = valueSize(buffer);
  return (typeId_ ? buffer.sizeOID(*typeId_) : 0) + buffer.sizeHeader(kValue, value) + value;
}

std::uint32_t OtherName::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void OtherName::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  if (typeId_) buffer.putOID(*typeId_);
  buffer.putHeader(kValue, valueSize(buffer));
  if (isGUID()) {
    buffer.putOctetString(guid_.data(), guid_.size());
  } else if (isUPN() && upn_) {
    upn_->put(buffer);
  } else if (isUPN()) {
    buffer.putNull();
  }
}

bool OtherName::get(Buffer& buffer, unsigned char tag) {
  Element body;
  Element value;
  upn_.reset();
  guid_.clear();
  return openWhole(body, buffer, tag) && buffer.getOID(typeId_.emplace()) && openWhole(value, buffer, kValue) &&
         (value.atEnd(buffer) ? !isUPN() && !isGUID() : getValue(buffer)) && close(body, buffer);
}

bool OtherName::getValue(Buffer& buffer) {
  if (isUPN()) return upn_.emplace().get(buffer);
  return !isGUID() || getOctets(buffer, guid_);
}

}  // namespace keystrand
