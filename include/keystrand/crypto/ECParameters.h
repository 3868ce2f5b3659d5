// EcpkParameters (RFC 3279 section 2.3.5, RFC 5480): a named curve, explicit domain parameters, or implicitlyCA.
// Explicit parameters keep their encoding as it was read, so that they are written back exactly.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "keystrand/crypto/AlgorithmParameter.h"
#include "keystrand/der/OID.h"

struct ec_group_st;

namespace keystrand {

class KEYSTRAND_API ECParameters final : public AlgorithmParameter {
 public:
  ECParameters() = default;
  explicit ECParameters(const OID& namedCurve) : namedCurve_(namedCurve) {}
  ECParameters(const ECParameters&) = default;
  ECParameters& operator=(const ECParameters&) = delete;

  [[nodiscard]] const OID* namedCurveView() const noexcept { return namedCurve_ ? &*namedCurve_ : nullptr; }
  // The group, built once per named curve and shared, or built from explicit parameters within OpenSSL's field limit;
  // empty when the curve is not known or the parameters are not acceptable.
  [[nodiscard]] std::shared_ptr<const ec_group_st> group() const;
  [[nodiscard]] std::uint32_t fieldBits() const;   // degree of the field, 0 when there is no group
  [[nodiscard]] std::uint32_t orderBytes() const;  // 0 when there is no group

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void put(Buffer& buffer) const override;
  bool get(Buffer& buffer) override;
  [[nodiscard]] owner<AlgorithmParameter*> clone() const override;

 private:
  std::optional<OID> namedCurve_;
  std::vector<unsigned char> explicit_;  // the whole element when no curve is named
};

}  // namespace keystrand
