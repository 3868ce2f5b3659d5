#include "der/Octets.h"
#include "keystrand/pkix/DistributionPoint.h"
#include "pkix/Parts.h"
#include "pkix/WrappedName.h"

namespace keystrand {

namespace {

constexpr unsigned char kOnlyContainsUserCerts = 0x81;
constexpr unsigned char kOnlyContainsCACerts = 0x82;
constexpr unsigned char kOnlySomeReasons = 0x83;
constexpr unsigned char kIndirectCRL = 0x84;
constexpr unsigned char kOnlyContainsAttributeCerts = 0x85;

std::uint32_t sizeFlag(unsigned char flag, const Buffer& buffer) {
  return flag != 0 ? buffer.sizeByteValue() : 0;
}

void putFlag(unsigned char flag, Buffer& buffer, unsigned char tag) {
  if (flag != 0) buffer.putByteValue(flag, tag);
}

bool getFlag(unsigned char& flag, const Element& body, Buffer& in, unsigned char tag) {
  flag = 0;
  return !isNext(body, in, tag) || in.getByteValue(flag, tag);
}

}  // namespace

owner<IssuingDistPointSyntax*> IssuingDistPointSyntax::clone() const {
  auto copy = std::make_unique<IssuingDistPointSyntax>();
  copy->distributionPoint_ = copyOf(distributionPoint_.get());
  copy->onlyContainsUserCerts_ = onlyContainsUserCerts_;
  copy->onlyContainsCACerts_ = onlyContainsCACerts_;
  copy->onlySomeReasons_ = onlySomeReasons_;
  copy->onlySomeReasonsUnusedBits_ = onlySomeReasonsUnusedBits_;
  copy->indirectCRL_ = indirectCRL_;
  copy->onlyContainsAttributeCerts_ = onlyContainsAttributeCerts_;
  return copy.release();
}

owner<DistributionPointName*> IssuingDistPointSyntax::distributionPoint() const {
  return cloneOf(distributionPoint_);
}

void IssuingDistPointSyntax::setDistributionPoint(const DistributionPointName* name) {
  distributionPoint_ = copyOf(name);
}

owner<unsigned char*> IssuingDistPointSyntax::onlySomeReasons() const {
  return newBytes(onlySomeReasons_.view());
}

void IssuingDistPointSyntax::setOnlySomeReasons(const unsigned char* flags, std::uint32_t n, unsigned char unusedBits) {
  onlySomeReasons_.assign(flags, n);
  onlySomeReasonsUnusedBits_ = unusedBits;
}

std::uint32_t IssuingDistPointSyntax::contentSize(const Buffer& buffer) const {
  return sizeWrappedPart(distributionPoint_, buffer, kWrappedName) + sizeFlag(onlyContainsUserCerts_, buffer) +
         sizeFlag(onlyContainsCACerts_, buffer) +
         (onlySomeReasons_.present() ? buffer.sizeBitString(onlySomeReasons_.size()) : 0) +
         sizeFlag(indirectCRL_, buffer) + sizeFlag(onlyContainsAttributeCerts_, buffer);
}

std::uint32_t IssuingDistPointSyntax::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void IssuingDistPointSyntax::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putWrappedPart(distributionPoint_, buffer, kWrappedName);
  putFlag(onlyContainsUserCerts_, buffer, kOnlyContainsUserCerts);
  putFlag(onlyContainsCACerts_, buffer, kOnlyContainsCACerts);
  if (onlySomeReasons_.present()) {
    buffer.putBitString(onlySomeReasons_.data(), onlySomeReasons_.size(), onlySomeReasonsUnusedBits_, kOnlySomeReasons);
  }
  putFlag(indirectCRL_, buffer, kIndirectCRL);
  putFlag(onlyContainsAttributeCerts_, buffer, kOnlyContainsAttributeCerts);
}

bool IssuingDistPointSyntax::get(Buffer& buffer) {
  Element body;
  distributionPoint_.reset();
  onlySomeReasons_.clear();
  if (!openAnyWhole(body, buffer, kSequence)) return false;
  if (isNext(body, buffer, kWrappedName) && !getWrappedName(distributionPoint_, buffer)) return false;
  return getFlag(onlyContainsUserCerts_, body, buffer, kOnlyContainsUserCerts) &&
         getFlag(onlyContainsCACerts_, body, buffer, kOnlyContainsCACerts) &&
         (!isNext(body, buffer, kOnlySomeReasons) ||
          getBits(buffer, onlySomeReasons_, onlySomeReasonsUnusedBits_, kOnlySomeReasons)) &&
         getFlag(indirectCRL_, body, buffer, kIndirectCRL) &&
         getFlag(onlyContainsAttributeCerts_, body, buffer, kOnlyContainsAttributeCerts) && readEnd(body, buffer);
}

}  // namespace keystrand
