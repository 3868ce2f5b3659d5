// SubjectPublicKeyInfo (RFC 5280 section 4.1.2.7). Accessors give clones that the caller deletes, setters store clones.
#pragma once

#include <cstdint>
#include <memory>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/Key.h"

namespace keystrand {

class KEYSTRAND_API KeyInfo {
 public:
  KeyInfo();
  ~KeyInfo();
  KeyInfo(const KeyInfo&) = delete;
  KeyInfo& operator=(const KeyInfo&) = delete;
  [[nodiscard]] owner<KeyInfo*> clone() const;

  [[nodiscard]] owner<Key*> key() const;
  [[nodiscard]] const Key* keyView() const noexcept { return key_.get(); }
  void setKey(const Key* key);
  [[nodiscard]] owner<AlgorithmIdentifier*> algorithm() const;
  [[nodiscard]] const AlgorithmIdentifier* algorithmView() const noexcept { return algorithm_.get(); }
  void setAlgorithm(const AlgorithmIdentifier* algorithm);
  [[nodiscard]] owner<char*> algorithmText() const;
  void setHasParameters(bool flag);                      // whether a parameter, or NULL, is coded behind the algorithm
  [[nodiscard]] owner<unsigned char*> keyBytes() const;  // the key's own, delete[]; nullptr without a key
  // RSA: bytes of the modulus. EC: the field size in bits, from both functions.
  [[nodiscard]] std::uint32_t keyBytesLength() const;
  [[nodiscard]] std::uint32_t keyBitLength() const;
  [[nodiscard]] bool isAlgorithm(const char* dotted) const;
  [[nodiscard]] bool isRSA() const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);  // false also for an algorithm that has no class of keys here

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<AlgorithmIdentifier> algorithm_;
  std::unique_ptr<Key> key_;
};

}  // namespace keystrand
