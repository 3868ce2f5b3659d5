// HMAC (RFC 2104) over any digest of the library.
#pragma once

#include "crypto/PasswordBasedMac.h"

namespace keystrand {

class HMAC final : public PasswordBasedMac {
 public:
  explicit HMAC(std::unique_ptr<MessageDigest> digest) { digest_ = std::move(digest); }

  void init() override;
  void update(std::span<const unsigned char> part) override;
  std::uint32_t final(std::span<unsigned char> out) override;
  [[nodiscard]] std::uint32_t length() const override;

 private:
  // The key, as long as a block of the digest, with this octet laid over it by exclusive or.
  void takePad(unsigned char pad);
};

}  // namespace keystrand
