// The secret keys that may stand in a SubjectPublicKeyInfo: their bytes, coded as an OCTET STRING of just that length.
#pragma once

#include <array>
#include <cstddef>

#include "keystrand/crypto/Key.h"
#include "support/Memory.h"

namespace keystrand {

template <std::size_t Length>
class SecretKey : public Key {
 public:
  [[nodiscard]] owner<unsigned char*> keyBytes() const override { return newBytes(bytes_); }
  [[nodiscard]] std::uint32_t keyLength() const override { return Length; }
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override {
    return buffer.sizeOctetString(bytes_.data(), Length);
  }
  void put(Buffer& buffer) const override { buffer.putOctetString(bytes_.data(), Length); }
  bool get(Buffer& buffer) override {
    unsigned char tag = 0;
    std::uint32_t n = 0;
    std::span<const unsigned char> content;
    if (!buffer.getHeader(tag, n) || tag != kOctetStringTag || n != Length || !buffer.view(n, content)) return false;
    std::copy(content.begin(), content.end(), bytes_.begin());
    return true;
  }
  [[nodiscard]] KeyKind kind() const noexcept override { return KeyKind::kSecret; }

 private:
  static constexpr unsigned char kOctetStringTag = 0x04;
  std::array<unsigned char, Length> bytes_{};
};

class DESKey final : public SecretKey<8> {
 public:
  [[nodiscard]] owner<Key*> clone() const override { return new DESKey(*this); }
};

// Three keys of eight bytes, joined.
class DES3Key final : public SecretKey<24> {
 public:
  [[nodiscard]] owner<Key*> clone() const override { return new DES3Key(*this); }
};

}  // namespace keystrand
