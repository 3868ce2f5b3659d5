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
  // The CRL itself, owned by the list.
  [[nodiscard]] CertificateList& at(int index) { return *crls_[static_cast<std::size_t>(index)]; }

 private:
  std::vector<std::unique_ptr<CertificateList>> crls_;
};

}  // namespace keystrand
