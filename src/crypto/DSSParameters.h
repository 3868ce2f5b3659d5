// Dss-Parms ::= SEQUENCE { p INTEGER, q INTEGER, g INTEGER } (RFC 3279 section 2.3.2). DSA is not computed here: the
// parameters are carried as they were read, so that a certificate with such a key is written back exactly.
#pragma once

#include "der/Element.h"
#include "der/Octets.h"
#include "keystrand/crypto/AlgorithmParameter.h"

namespace keystrand {

class DSSParameters final : public AlgorithmParameter {
 public:
  [[nodiscard]] std::uint32_t size(const Buffer&) const override { return static_cast<std::uint32_t>(element_.size()); }
  void put(Buffer& buffer) const override { buffer.putBytes(element_.data(), size(buffer)); }
  bool get(Buffer& buffer) override { return getRaw(buffer, kSequence, element_); }
  [[nodiscard]] owner<AlgorithmParameter*> clone() const override { return new DSSParameters(*this); }

 private:
  std::vector<unsigned char> element_;
};

}  // namespace keystrand
