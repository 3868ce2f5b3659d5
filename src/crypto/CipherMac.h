// A MAC out of a block cipher: CBC from a vector of zeros, the last block filled up with zeros, half a block of the
// result (FIPS 113, PKCS #11 v2.20 section 12.11.6).
#pragma once

#include "crypto/Cipher.h"
#include "crypto/PasswordBasedMac.h"

namespace keystrand {

class CipherMac final : public PasswordBasedMac {
 public:
  // The cipher has its key for encryption already.
  explicit CipherMac(std::unique_ptr<Cipher> cipher) : cipher_(std::move(cipher)) { init(); }

  void init() override;
  void update(std::span<const unsigned char> part) override;
  std::uint32_t final(std::span<unsigned char> out) override;
  [[nodiscard]] std::uint32_t length() const override;

 private:
  std::unique_ptr<Cipher> cipher_;
  SecretBytes chain_;
  std::size_t held_ = 0;  // octets of the block under way, laid over the chain already
};

}  // namespace keystrand
