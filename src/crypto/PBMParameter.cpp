#include "crypto/PBMParameter.h"

#include "der/Element.h"
#include "support/Memory.h"

namespace keystrand {

PBMParameter::PBMParameter(const PBMParameter& other)
    : salt_(other.salt_),
      owf_(copyOf(other.owf_.get())),
      iterationCount_(other.iterationCount_),
      mac_(copyOf(other.mac_.get())) {}

std::uint32_t PBMParameter::contentSize(const Buffer& buffer) const {
  return sizeOctets(buffer, salt_) + (owf_ ? owf_->size(buffer) : 0) + buffer.sizeInteger(iterationCount_) +
         (mac_ ? mac_->size(buffer) : 0);
}

std::uint32_t PBMParameter::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void PBMParameter::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putOctets(buffer, salt_);
  if (owf_) owf_->put(buffer);
  buffer.putInteger(iterationCount_);
  if (mac_) mac_->put(buffer);
}

bool PBMParameter::get(Buffer& buffer) {
  Element body;
  owf_ = std::make_unique<AlgorithmIdentifier>();
  mac_ = std::make_unique<AlgorithmIdentifier>();
  return body.open(buffer, kSequence)           //
         && getOctets(buffer, salt_)            // salt
         && owf_->get(buffer)                   // owf
         && buffer.getInteger(iterationCount_)  // iterationCount
         && mac_->get(buffer);                  // mac
}

}  // namespace keystrand
