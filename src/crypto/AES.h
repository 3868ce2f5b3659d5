// AES (FIPS 197), over OpenSSL's block functions.
#pragma once

#include "crypto/Cipher.h"

struct aes_key_st;

namespace keystrand {

class AES final : public Cipher {
 public:
  AES();
  AES(const AES&) = delete;
  AES& operator=(const AES&) = delete;
  ~AES() override;

  bool setEncryptionKey(std::span<const unsigned char> key) override;  // 16, 24 or 32 octets
  bool setDecryptionKey(std::span<const unsigned char> key) override;
  void encryptBlock(const unsigned char* source, unsigned char* target) const override;
  void decryptBlock(const unsigned char* source, unsigned char* target) const override;
  [[nodiscard]] std::size_t blockLength() const override { return 16; }

 private:
  std::unique_ptr<aes_key_st> key_;
};

}  // namespace keystrand
