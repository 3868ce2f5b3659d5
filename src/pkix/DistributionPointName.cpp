#include "der/Reading.h"
#include "keystrand/pkix/DistributionPoint.h"
#include "support/Memory.h"

namespace keystrand {

namespace {
constexpr unsigned char kFullName = 0xA0;
constexpr unsigned char kNameRelativeToCRLIssuer = 0xA1;
}  // namespace

owner<DistributionPointName*> DistributionPointName::clone() const {
  auto copy = std::make_unique<DistributionPointName>();
  copy->fullName_ = copyOf(fullName_.get());
  copy->nameRelativeToCRLIssuer_ = copyOf(nameRelativeToCRLIssuer_.get());
  return copy.release();
}

void DistributionPointName::setFullName(const GeneralNameList* names) {
  fullName_ = copyOf(names);
  nameRelativeToCRLIssuer_.reset();
}

void DistributionPointName::setNameRelativeToCRLIssuer(const RelativeDistinguishedName* name) {
  nameRelativeToCRLIssuer_ = copyOf(name);
  fullName_.reset();
}

owner<GeneralNameList*> DistributionPointName::fullName() const {
  return cloneOf(fullName_);
}

owner<RelativeDistinguishedName*> DistributionPointName::nameRelativeToCRLIssuer() const {
  return cloneOf(nameRelativeToCRLIssuer_);
}

std::uint32_t DistributionPointName::size(const Buffer& buffer) const {
  if (fullName_) return fullName_->size(buffer, kFullName);
  return nameRelativeToCRLIssuer_ ? nameRelativeToCRLIssuer_->size(buffer, kNameRelativeToCRLIssuer) : 0;
}

void DistributionPointName::put(Buffer& buffer) const {
  if (fullName_) {
    fullName_->put(buffer, kFullName);
  } else if (nameRelativeToCRLIssuer_) {
    nameRelativeToCRLIssuer_->put(buffer, kNameRelativeToCRLIssuer);
  }
}

bool DistributionPointName::get(Buffer& buffer) {
  fullName_.reset();
  nameRelativeToCRLIssuer_.reset();
  const unsigned char tag = nextTag(buffer);
  if (tag == kFullName) return getNew(fullName_, buffer, tag);
  return tag != kNameRelativeToCRLIssuer || getNew(nameRelativeToCRLIssuer_, buffer, tag);
}

}  // namespace keystrand
