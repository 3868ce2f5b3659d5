// A key of 32 octets by which a token that is kept in a file enciphers and authenticates: AES in counter mode, then
// HMAC-SHA-256 over the ciphertext and over what it belongs to.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "crypto/SystemRandomGenerator.h"
#include "support/Memory.h"
#include "support/SecretBytes.h"

namespace keystrand {

class TokenKey {
 public:
  using Octets = std::span<const unsigned char>;
  static constexpr std::size_t kLength = 32;
  static constexpr std::size_t kSaltLength = 16;
  static constexpr std::size_t kCheckLength = 16;
  static constexpr std::size_t kSerialLength = 16;
  static constexpr std::uint32_t kMostStretching = 10'000'000;
  // Octets that sealing adds: the counter in front, the authentication behind.
  static constexpr std::size_t kCounterLength = 16;
  static constexpr std::size_t kTagLength = 32;
  static constexpr std::size_t kOverhead = kCounterLength + kTagLength;

  // Nothing when the system gives no random octets.
  static std::optional<TokenKey> generated(RandomGenerator& random);
  // Out of a PIN: the derivation of PKCS #12 with the token's own salt and count, stretched by PBKDF2 with
  // HMAC-SHA-256. `iterations` is from 1 to kMostStretching.
  static TokenKey ofPIN(Octets pin, std::span<const unsigned char, kSerialLength> serial,
                        std::span<const unsigned char, kSaltLength> salt, std::uint32_t iterations);
  explicit TokenKey(SecretBytes octets) : octets_(std::move(octets)) {}

  [[nodiscard]] Octets octets() const noexcept { return octets_; }
  // Tells the key without giving it away.
  [[nodiscard]] std::array<unsigned char, kCheckLength> checkValue() const;
  // Nothing without random octets.
  [[nodiscard]] std::optional<Bytes> seal(Octets belongsTo, Octets text, RandomGenerator& random) const;
  // Nothing for what another key sealed, for something else, or that was changed since.
  [[nodiscard]] std::optional<SecretBytes> unseal(Octets belongsTo, Octets sealed) const;

 private:
  [[nodiscard]] SecretBytes derived(std::string_view purpose) const;
  void addKeyStream(Octets counter, std::span<unsigned char> text) const;
  [[nodiscard]] std::array<unsigned char, kTagLength> tag(Octets belongsTo, Octets counter, Octets text) const;

  SecretBytes octets_;
};

}  // namespace keystrand
