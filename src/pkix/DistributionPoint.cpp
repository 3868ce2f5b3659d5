#include "keystrand/pkix/DistributionPoint.h"

#include "der/Octets.h"
#include "pkix/Parts.h"
#include "pkix/WrappedName.h"

namespace keystrand {

namespace {
constexpr unsigned char kReasons = 0x81;
constexpr unsigned char kCRLIssuer = 0xA2;
constexpr unsigned char kEveryReason = 0xFF;
}  // namespace

owner<DistributionPoint*> DistributionPoint::clone() const {
  auto copy = std::make_unique<DistributionPoint>();
  copy->distributionPoint_ = copyOf(distributionPoint_.get());
  copy->reasons_ = reasons_;
  copy->cRLIssuer_ = copyOf(cRLIssuer_.get());
  copy->reasonsPresent_ = reasonsPresent_;
  copy->reasonsLength_ = reasonsLength_;
  copy->reasonsUnusedBits_ = reasonsUnusedBits_;
  return copy.release();
}

owner<DistributionPointName*> DistributionPoint::distributionPoint() const {
  return cloneOf(distributionPoint_);
}

void DistributionPoint::setDistributionPoint(const DistributionPointName* name) {
  distributionPoint_ = copyOf(name);
}

// The flags in use need two octets. Of a longer string the first four are kept, and all their bits count.
void DistributionPoint::setReasons(std::span<const unsigned char> flags, unsigned char unusedBits) {
  for (std::size_t i = 0; i < reasons_.size(); ++i) reasons_[i] = i < flags.size() ? flags[i] : kEveryReason;
  const bool whole = flags.size() <= reasons_.size();
  reasonsPresent_ = true;
  reasonsLength_ = static_cast<std::uint32_t>(whole ? flags.size() : reasons_.size());
  reasonsUnusedBits_ = whole ? unusedBits : static_cast<unsigned char>(0);
}

owner<GeneralNameList*> DistributionPoint::cRLIssuer() const {
  return cloneOf(cRLIssuer_);
}

void DistributionPoint::setCRLIssuer(const GeneralNameList* names) {
  cRLIssuer_ = copyOf(names);
}

std::uint32_t DistributionPoint::contentSize(const Buffer& buffer) const {
  return sizeWrappedPart(distributionPoint_, buffer, kWrappedName) +
         (reasonsPresent_ ? buffer.sizeBitString(reasonsLength_) : 0) + sizePart(cRLIssuer_, buffer, kCRLIssuer);
}

std::uint32_t DistributionPoint::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void DistributionPoint::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putWrappedPart(distributionPoint_, buffer, kWrappedName);
  if (reasonsPresent_) buffer.putBitString(reasons_.data(), reasonsLength_, reasonsUnusedBits_, kReasons);
  putPart(cRLIssuer_, buffer, kCRLIssuer);
}

bool DistributionPoint::get(Buffer& buffer) {
  Element body;
  distributionPoint_.reset();
  setReasons({}, 0);
  reasonsPresent_ = false;
  cRLIssuer_.reset();
  if (!openWhole(body, buffer, kSequence)) return false;
  if (isNext(body, buffer, kWrappedName) && !getWrappedName(distributionPoint_, buffer)) return false;
  if (isNext(body, buffer, kReasons) && !getReasons(buffer)) return false;
  if (isNext(body, buffer, kCRLIssuer) && !getNew(cRLIssuer_, buffer, kCRLIssuer)) return false;
  return close(body, buffer);
}

bool DistributionPoint::getReasons(Buffer& buffer) {
  OctetValue flags;
  unsigned char unused = 0;
  if (!getBits(buffer, flags, unused, kReasons)) return false;
  setReasons(flags.view(), unused);
  return true;
}

owner<DistributionPointList*> DistributionPointList::clone() const {
  auto copy = std::make_unique<DistributionPointList>();
  copy->items_.copyFrom(items_);
  return copy.release();
}

void DistributionPointList::add(const DistributionPoint& point) {
  items_.append(std::unique_ptr<DistributionPoint>(point.clone()));
}

owner<DistributionPoint*> DistributionPointList::get(int index) const {
  const DistributionPoint* point = view(index);
  return point != nullptr ? point->clone() : nullptr;
}

std::uint32_t DistributionPointList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(sizeOfAll(items_, buffer));
}

void DistributionPointList::put(Buffer& buffer) const {
  buffer.putSequence(sizeOfAll(items_, buffer));
  putAll(items_, buffer);
}

bool DistributionPointList::get(Buffer& buffer) {
  return getList(items_, buffer);
}

}  // namespace keystrand
