#include "der/Octets.h"
#include "keystrand/pkix/Holder.h"
#include "pkix/Parts.h"

namespace keystrand {

namespace {
constexpr unsigned char kObjectIdentifier = 0x06;
}  // namespace

owner<ObjectDigestInfo*> ObjectDigestInfo::clone() const {
  auto copy = std::make_unique<ObjectDigestInfo>();
  copy->digestedObjectType_ = digestedObjectType_;
  copy->objectDigestUnused_ = objectDigestUnused_;
  copy->otherObjectTypeID_ = otherObjectTypeID_;
  copy->digestAlgorithm_ = copyOf(digestAlgorithm_.get());
  copy->objectDigest_ = objectDigest_;
  return copy.release();
}

owner<OID*> ObjectDigestInfo::otherObjectTypeID() const {
  return cloneOf(otherObjectTypeID_);
}

void ObjectDigestInfo::setOtherObjectTypeID(const OID* type) {
  otherObjectTypeID_ = valueOf(type);
}

owner<AlgorithmIdentifier*> ObjectDigestInfo::digestAlgorithm() const {
  return cloneOf(digestAlgorithm_);
}

void ObjectDigestInfo::setDigestAlgorithm(const AlgorithmIdentifier* algorithm) {
  digestAlgorithm_ = copyOf(algorithm);
}

owner<unsigned char*> ObjectDigestInfo::objectDigest() const {
  return newBytes(objectDigest_.view());
}

void ObjectDigestInfo::setObjectDigest(const unsigned char* bytes, std::uint32_t n) {
  objectDigest_.assign(bytes, n);
  objectDigestUnused_ = 0;
}

std::uint32_t ObjectDigestInfo::contentSize(const Buffer& buffer) const {
  return buffer.sizeEnumerated() + (otherObjectTypeID_ ? buffer.sizeOID(*otherObjectTypeID_) : 0) +
         sizePart(digestAlgorithm_, buffer) + sizeBits(buffer, objectDigest_);
}

std::uint32_t ObjectDigestInfo::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void ObjectDigestInfo::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  buffer.putEnumerated(digestedObjectType_);
  if (otherObjectTypeID_) buffer.putOID(*otherObjectTypeID_);
  putPart(digestAlgorithm_, buffer);
  putBits(buffer, objectDigest_, objectDigestUnused_);
}

bool ObjectDigestInfo::get(Buffer& buffer, unsigned char tag) {
  Element body;
  otherObjectTypeID_.reset();
  if (!openWhole(body, buffer, tag) || !buffer.getEnumerated(digestedObjectType_)) return false;
  if (isNext(body, buffer, kObjectIdentifier) && !buffer.getOID(otherObjectTypeID_.emplace())) return false;
  return getNew(digestAlgorithm_, buffer) && getBits(buffer, objectDigest_, objectDigestUnused_) &&
         endsHere(body, buffer);
}

}  // namespace keystrand
