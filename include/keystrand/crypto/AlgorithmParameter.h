// Parameters of an algorithm, as they stand behind its identifier. Each algorithm has its class; see
// AlgorithmIdentifier.
#pragma once

#include <cstdint>

#include "keystrand/der/Buffer.h"

namespace keystrand {

class KEYSTRAND_API AlgorithmParameter {
 public:
  virtual ~AlgorithmParameter();
  [[nodiscard]] virtual std::uint32_t size(const Buffer& buffer) const = 0;
  virtual void put(Buffer& buffer) const = 0;
  virtual bool get(Buffer& buffer) = 0;
  [[nodiscard]] virtual owner<AlgorithmParameter*> clone() const = 0;
};

}  // namespace keystrand
