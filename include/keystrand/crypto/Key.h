// A cryptographic key. The base answers 0, empty or true for what a family of keys does not have.
#pragma once

#include <cstdint>

#include "keystrand/der/Buffer.h"

namespace keystrand {

enum class KeyKind : unsigned char { kNone, kRSAPublic, kRSAPrivate, kECPublic, kECPrivate, kDSAPublic, kSecret };

class KEYSTRAND_API Key {
 public:
  virtual ~Key();
  [[nodiscard]] virtual owner<unsigned char*> keyBytes() const;  // delete[]
  [[nodiscard]] virtual std::uint32_t keyLength() const;         // bytes
  [[nodiscard]] virtual owner<Key*> clone() const = 0;
  // True when all integers of the key arrived in canonical form. An EC key always answers false.
  [[nodiscard]] virtual bool isStripped() const;
  virtual void setStripped();
  // The private key's own coding.
  [[nodiscard]] virtual std::uint32_t privateSize(const Buffer& buffer) const;
  virtual void putPrivate(Buffer& buffer) const;
  virtual bool getPrivate(Buffer& buffer);
  // The coding inside a SubjectPublicKeyInfo, or of a secret key.
  [[nodiscard]] virtual std::uint32_t size(const Buffer& buffer) const;
  virtual void put(Buffer& buffer) const;
  virtual bool get(Buffer& buffer);

  // What the key is, to be asked before any cast.
  [[nodiscard]] virtual KeyKind kind() const noexcept;
};

}  // namespace keystrand
