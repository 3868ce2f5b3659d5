// A block cipher. Blocks are blockLength() octets; source and target may be the same.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

namespace keystrand {

class Cipher {
 public:
  virtual ~Cipher() = default;
  // False for a key that has not a length of the cipher.
  virtual bool setEncryptionKey(std::span<const unsigned char> key) = 0;
  virtual bool setDecryptionKey(std::span<const unsigned char> key) = 0;
  // Each wants its own key set.
  virtual void encryptBlock(const unsigned char* source, unsigned char* target) const = 0;
  virtual void decryptBlock(const unsigned char* source, unsigned char* target) const = 0;
  [[nodiscard]] virtual std::size_t blockLength() const = 0;
};

}  // namespace keystrand
