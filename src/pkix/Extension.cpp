#include "keystrand/pkix/Extension.h"

#include "der/Octets.h"
#include "der/Reading.h"
#include "support/Memory.h"

namespace keystrand {

namespace {
constexpr unsigned char kBoolean = 0x01;
}

void Extension::setID(const char* dotted) {
  extnID_ = OID(dotted);
}

void Extension::setID(const OID& oid) {
  extnID_ = oid;
}

owner<char*> Extension::id() const {
  return hasID() ? extnID_.toText() : nullptr;
}

bool Extension::equals(const char* dotted) const {
  return hasID() && extnID_.equals(dotted);
}

bool Extension::equals(const OID& oid) const noexcept {
  return hasID() && extnID_.equals(oid);
}

bool Extension::equals(const Extension& other) const noexcept {
  return other.hasID() && equals(other.extnID_);
}

owner<unsigned char*> Extension::value() const {
  return newBytes(value_.view());
}

std::uint32_t Extension::contentSize(const Buffer& buffer) const {
  return (hasID() ? buffer.sizeOID(extnID_) : 0) + (isCritical() ? buffer.sizeBoolean() : 0) +
         buffer.sizeOctetString(value_.data(), value_.size());
}

std::uint32_t Extension::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void Extension::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (hasID()) buffer.putOID(extnID_);
  if (isCritical()) buffer.putBoolean(critical_);
  buffer.putOctetString(value_.data(), value_.size());
}

bool Extension::get(Buffer& buffer) {
  Element body;
  extnID_ = OID();
  critical_ = 0;
  value_.clear();
  if (!body.open(buffer, kSequence) || !buffer.getOID(extnID_)) return false;
  if (nextTag(buffer) == kBoolean && !buffer.getBoolean(critical_)) return false;
  return getOctets(buffer, value_);
}

}  // namespace keystrand
