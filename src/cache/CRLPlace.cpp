#include "cache/CRLPlace.h"

#include <algorithm>
#include <memory>

#include "keystrand/support/SystemClock.h"
#include "net/URL.h"

namespace keystrand {

std::optional<std::string> uriOfGeneralName(const GeneralName& name) {
  if (name.tag() != GeneralName::kURI || !name.textView()) return std::nullopt;
  std::string uri = httpUnescape(*name.textView());
  uri.resize(std::min(uri.find('\0'), uri.size()));  // the key is a NUL-terminated text
  return uri;
}

const GeneralNameList* namesOf(const DistributionPointName* point) {
  const GeneralNameList* names = point != nullptr ? point->fullNameView() : nullptr;
  return names != nullptr && names->count() > 0 ? names : nullptr;
}

bool isDue(const std::optional<X500Time>& nextUpdate) {
  if (!nextUpdate) return true;
  const std::unique_ptr<X500Time> now(SystemClock::now());
  return nextUpdate->lessOrEqual(*now);
}

}  // namespace keystrand
