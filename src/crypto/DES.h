// DES, and triple DES in the order encrypt, decrypt, encrypt (FIPS 46-3). The length of the key tells which: 8 octets,
// 16 (the first key comes back as the third) or 24. Parity bits are ignored.
#pragma once

#include <array>
#include <cstdint>

#include "crypto/Cipher.h"

namespace keystrand {

class DES final : public Cipher {
 public:
  DES() = default;
  DES(const DES&) = delete;
  DES& operator=(const DES&) = delete;
  ~DES() override;

  bool setEncryptionKey(std::span<const unsigned char> key) override;
  bool setDecryptionKey(std::span<const unsigned char> key) override;
  void encryptBlock(const unsigned char* source, unsigned char* target) const override;
  void decryptBlock(const unsigned char* source, unsigned char* target) const override;
  [[nodiscard]] std::size_t blockLength() const override { return 8; }

 private:
  // The sixteen round keys of 48 bits.
  using Schedule = std::array<std::uint64_t, 16>;
  static Schedule scheduleOf(std::span<const unsigned char> key, bool reversed);
  bool setKey(std::span<const unsigned char> key, bool decrypt);
  void crypt(const unsigned char* source, unsigned char* target) const;

  std::array<Schedule, 3> schedules_{};
  std::size_t stages_ = 0;  // one or three
};

}  // namespace keystrand
