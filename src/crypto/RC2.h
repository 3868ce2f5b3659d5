// RC2 (RFC 2268). The effective length of the key is all of its bits unless another is set first.
#pragma once

#include <array>
#include <cstdint>

#include "crypto/Cipher.h"

namespace keystrand {

class RC2 final : public Cipher {
 public:
  RC2() = default;
  RC2(const RC2&) = delete;
  RC2& operator=(const RC2&) = delete;
  ~RC2() override;

  // 1 to 1024; it counts from the next key on. 0 stands for the length of the key.
  void setEffectiveBits(unsigned bits) noexcept { effectiveBits_ = bits; }
  bool setEncryptionKey(std::span<const unsigned char> key) override;  // 1 to 128 octets
  bool setDecryptionKey(std::span<const unsigned char> key) override;
  void encryptBlock(const unsigned char* source, unsigned char* target) const override;
  void decryptBlock(const unsigned char* source, unsigned char* target) const override;
  [[nodiscard]] std::size_t blockLength() const override { return 8; }

 private:
  unsigned effectiveBits_ = 0;
  std::array<std::uint16_t, 64> key_{};
};

}  // namespace keystrand
