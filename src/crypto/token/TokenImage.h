// The contents of a token's file; docs/token.md has the layout. Nothing here knows a PIN: what is sealed stays sealed.
#pragma once

#include <p11-kit/pkcs11.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "crypto/token/TokenKey.h"
#include "support/Memory.h"

namespace keystrand {

// The token's key under that of a PIN.
struct LockedKey {
  std::array<unsigned char, TokenKey::kSaltLength> salt{};
  std::array<unsigned char, TokenKey::kLength + TokenKey::kOverhead> sealed{};
};

// One object. The octets of a private one are sealed.
struct TokenRecord {
  std::uint64_t number = 0;  // its own for as long as the token is not initialised anew
  bool isPrivate = false;
  Bytes octets;
};

struct TokenImage {
  static constexpr std::size_t kMostRecords = 40;
  static constexpr std::size_t kLongestRecord = 1UL << 16;
  static constexpr std::size_t kShortestFile = 1236;
  static constexpr std::size_t kLongestFile = kShortestFile + kMostRecords * kLongestRecord;

  unsigned char label[32] = {};
  unsigned char serialNumber[TokenKey::kSerialLength] = {};
  CK_FLAGS flags = 0;
  std::array<unsigned char, TokenKey::kCheckLength> checkValue{};  // of the security officer's key
  std::uint32_t iterations = 0;
  std::uint64_t nextNumber = 1;
  std::array<unsigned char, 16> id{};
  LockedKey officer;
  LockedKey user;  // zeros until he has a PIN
  std::vector<TokenRecord> records;

  // Label, manufacturer, model, serial number and flags; the rest of the structure stays.
  void describe(CK_TOKEN_INFO& info) const;
  [[nodiscard]] bool hasUserPIN() const noexcept { return (flags & CKF_USER_PIN_INITIALIZED) != 0; }
  [[nodiscard]] Bytes encode() const;
  // Nothing for octets that encode() does not write.
  static std::optional<TokenImage> decode(std::span<const unsigned char> file);
  // The two digests over the file put right, in octets that are at least kShortestFile long.
  static void putDigests(std::span<unsigned char> file);
};

}  // namespace keystrand
