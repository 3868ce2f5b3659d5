// The private CRLs of one context.
#pragma once

#include <memory>
#include <vector>

#include "keystrand/pkix/CertificateList.h"

namespace keystrand {

class CRLList {
 public:
  void add(const CertificateList& crl) { crls_.emplace_back(crl.clone()); }
  [[nodiscard]] int count() const noexcept { return static_cast<int>(crls_.size()); }
  // The CRL itself, shared with an answer that is being read.
  [[nodiscard]] const std::shared_ptr<const CertificateList>& at(int index) const {
    return crls_[static_cast<std::size_t>(index)];
  }

 private:
  std::vector<std::shared_ptr<const CertificateList>> crls_;
};

}  // namespace keystrand
