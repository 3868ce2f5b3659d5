// What retrieval and search of CRLs both ask of a name and of a date.
#pragma once

#include <optional>
#include <string>

#include "keystrand/der/X500Time.h"
#include "keystrand/pkix/DistributionPoint.h"
#include "keystrand/pkix/GeneralName.h"

namespace keystrand {

// The text of a uniformResourceIdentifier after URL decoding; nothing for another choice.
std::optional<std::string> uriOfGeneralName(const GeneralName& name);

// The full names of a distribution point, null when it has none.
const GeneralNameList* namesOf(const DistributionPointName* point);

// Whether a CRL that says this of its successor is due for replacement; one that says nothing is always due.
bool isDue(const std::optional<X500Time>& nextUpdate);

}  // namespace keystrand
