// What a context of the ocsp_ functions reports of its last check. All parts are the context's own copies; what a check
// does not replace keeps the value of an earlier one until the report is reset.
#pragma once

#include <optional>

#include "log/Report.h"
#include "ocsp/CrlID.h"

namespace keystrand {

struct OCSPReport : Report {
  std::optional<X500Time> producedAt;
  std::optional<CrlID> crlID;

  void reset() { *this = OCSPReport(); }
};

}  // namespace keystrand
