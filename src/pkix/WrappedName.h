// distributionPoint [0] DistributionPointName OPTIONAL, as a DistributionPoint and an IssuingDistributionPoint have it:
// a choice, hence inside an explicit tag.
#pragma once

#include <memory>

#include "der/Reading.h"
#include "keystrand/pkix/DistributionPoint.h"

namespace keystrand {

constexpr unsigned char kWrappedName = 0xA0;

// A name of an unknown form comes out empty and is passed over, so that what follows it is still read.
inline bool getWrappedName(std::unique_ptr<DistributionPointName>& name, Buffer& in) {
  Element wrapper;
  name = std::make_unique<DistributionPointName>();
  return openAnyWhole(wrapper, in, kWrappedName) && (wrapper.atEnd(in) || name->get(in)) && close(wrapper, in);
}

}  // namespace keystrand
