// The stored responses of one context, in the order in which they were added.
#pragma once

#include <memory>
#include <vector>

#include "keystrand/ocsp/OCSPResponse.h"

namespace keystrand {

class OCSPResponseList {
 public:
  void add(const OCSPResponse& response) { responses_.push_back(response); }
  [[nodiscard]] auto begin() const noexcept { return responses_.begin(); }
  [[nodiscard]] auto end() const noexcept { return responses_.end(); }

 private:
  std::vector<OCSPResponse> responses_;
};

}  // namespace keystrand
