// Which class carries the parameters of which algorithm.
#pragma once

#include <memory>

#include "keystrand/crypto/AlgorithmParameter.h"
#include "keystrand/der/OID.h"

namespace keystrand {

// A new empty parameter, to be read; nothing for an algorithm whose parameters have no class.
std::unique_ptr<AlgorithmParameter> makeParameter(const OID& algorithm);

}  // namespace keystrand
