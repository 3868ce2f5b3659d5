// Keys from passwords (RFC 7292 appendix B, RFC 8018 section 5).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "keystrand/crypto/MessageDigest.h"
#include "support/SecretBytes.h"

namespace keystrand {

// What an iteration count may be: more would only keep the process busy.
constexpr std::uint64_t kMostIterations = 10'000'000;

// The purposes of RFC 7292 B.3.
enum class PKCS12Purpose : unsigned char { kKey = 1, kVector = 2, kMac = 3 };

// RFC 7292 B.2 with SHA-1. The password is a BMPString with its terminating zero, as bmpPassword gives it. Nothing for
// a count out of range.
std::optional<SecretBytes> pkcs12Key(std::span<const unsigned char> password, std::span<const unsigned char> salt,
                                     std::uint64_t iterations, PKCS12Purpose purpose, std::size_t length);
// UTF-8 as a BMPString, two octets a character and two zeros behind the last; nothing for octets that are not UTF-8 or
// for a character that takes more than two octets.
std::optional<SecretBytes> bmpPassword(std::span<const unsigned char> utf8);

// PBKDF1 with MD5: up to 16 octets.
std::optional<SecretBytes> pbkdf1(std::span<const unsigned char> password, std::span<const unsigned char> salt,
                                  std::uint64_t iterations, std::size_t length);
// PBKDF2 with the HMAC of that digest.
std::optional<SecretBytes> pbkdf2(std::unique_ptr<MessageDigest> digest, std::span<const unsigned char> password,
                                  std::span<const unsigned char> salt, std::uint64_t iterations, std::size_t length);

}  // namespace keystrand
