// DSAPublicKey ::= INTEGER (RFC 3279 section 2.3.2) with the parameters of its algorithm, which may be inherited and so
// absent. Nothing is computed with it here: it is read and written, as part of the certificates that carry it.
#pragma once

#include <optional>

#include "crypto/DSSParameters.h"
#include "keystrand/crypto/Key.h"
#include "keystrand/der/BigInteger.h"

namespace keystrand {

class DSAPublicKey final : public Key {
 public:
  void setParameters(const DSSParameters& parameters) { parameters_.emplace(parameters); }
  [[nodiscard]] const DSSParameters* parametersView() const noexcept { return parameters_ ? &*parameters_ : nullptr; }
  [[nodiscard]] const BigInteger& value() const noexcept { return value_; }

  [[nodiscard]] owner<unsigned char*> keyBytes() const override;
  [[nodiscard]] std::uint32_t keyLength() const override { return value_.magnitudeLength(); }
  [[nodiscard]] owner<Key*> clone() const override { return new DSAPublicKey(*this); }
  [[nodiscard]] bool isStripped() const override { return value_.stripped(); }
  void setStripped() override { value_.setStripped(true); }
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override { return value_.size(buffer); }
  void put(Buffer& buffer) const override { value_.put(buffer); }
  bool get(Buffer& buffer) override { return value_.get(buffer); }
  [[nodiscard]] KeyKind kind() const noexcept override { return KeyKind::kDSAPublic; }

 private:
  BigInteger value_;
  std::optional<DSSParameters> parameters_;
};

}  // namespace keystrand
