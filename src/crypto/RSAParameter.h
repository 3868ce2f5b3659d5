// KeySize ::= INTEGER, the parameter of the rsa algorithm of X.509 (2.5.8.1.1).
#pragma once

#include "keystrand/crypto/AlgorithmParameter.h"
#include "keystrand/der/BigInteger.h"

namespace keystrand {

class RSAParameter final : public AlgorithmParameter {
 public:
  [[nodiscard]] const BigInteger& keySize() const noexcept { return keySize_; }
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override { return keySize_.size(buffer); }
  void put(Buffer& buffer) const override { keySize_.put(buffer); }
  bool get(Buffer& buffer) override { return keySize_.get(buffer); }
  [[nodiscard]] owner<AlgorithmParameter*> clone() const override { return new RSAParameter(*this); }

 private:
  BigInteger keySize_;
};

}  // namespace keystrand
