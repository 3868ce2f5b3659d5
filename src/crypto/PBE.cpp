#include "crypto/PBE.h"

#include <algorithm>
#include <array>

#include "crypto/HMAC.h"
#include "crypto/MD5.h"
#include "crypto/SHA1.h"
#include "crypto/Words.h"

namespace keystrand {

namespace {

constexpr std::size_t kLongestKey = 1024;

bool isInRange(std::uint64_t iterations, std::size_t length) {
  return iterations >= 1 && iterations <= kMostIterations && length <= kLongestKey;
}

void append(SecretBytes& to, std::span<const unsigned char> octets) {
  to.insert(to.end(), octets.begin(), octets.end());
}

// Octets again and again until they fill whole blocks; nothing stays nothing.
void appendRepeated(SecretBytes& to, std::span<const unsigned char> octets, std::size_t block) {
  const std::size_t n = (octets.size() + block - 1) / block * block;
  for (std::size_t i = 0; i < n; ++i) to.push_back(octets[i % octets.size()]);
}

// block + addend + 1, as big-endian numbers of that length, the carry out of it lost.
void addPlusOne(std::span<unsigned char> block, std::span<const unsigned char> addend) {
  unsigned carry = 1;
  for (std::size_t i = block.size(); i-- > 0;) {
    carry += static_cast<unsigned>(block[i]) + addend[i];
    block[i] = static_cast<unsigned char>(carry);
    carry >>= 8;
  }
}

}  // namespace

std::optional<SecretBytes> pkcs12Key(std::span<const unsigned char> password, std::span<const unsigned char> salt,
                                     std::uint64_t iterations, PKCS12Purpose purpose, std::size_t length) {
  if (!isInRange(iterations, length)) return std::nullopt;
  SHA1 hash;
  const std::size_t v = hash.blockLength();
  SecretBytes value(hash.digestLength());
  const SecretBytes diversifier(v, static_cast<unsigned char>(purpose));
  SecretBytes input;
  appendRepeated(input, salt, v);
  appendRepeated(input, password, v);
  SecretBytes key;
  while (key.size() < length) {
    hash.update(diversifier.data(), diversifier.size());
    hash.update(input.data(), input.size());
    hash.final(value);
    for (std::uint64_t i = 1; i < iterations; ++i) {
      hash.update(value.data(), value.size());
      hash.final(value);
    }
    append(key, value);
    SecretBytes addend(v);
    for (std::size_t i = 0; i < v; ++i) addend[i] = value[i % value.size()];
    for (std::size_t at = 0; at < input.size(); at += v) addPlusOne(std::span(input).subspan(at, v), addend);
  }
  key.resize(length);
  return key;
}

std::optional<SecretBytes> bmpPassword(std::span<const unsigned char> utf8) {
  SecretBytes result;
  for (std::size_t i = 0; i < utf8.size();) {
    const unsigned first = utf8[i];
    const std::size_t n = first < 0x80 ? 1 : first >= 0xC2 && first < 0xE0 ? 2 : (first & 0xF0) == 0xE0 ? 3 : 0;
    if (n == 0 || utf8.size() - i < n) return std::nullopt;
    unsigned character = n == 1 ? first : first & (0xFFU >> (n + 1));
    for (std::size_t k = 1; k < n; ++k) {
      if ((utf8[i + k] & 0xC0) != 0x80) return std::nullopt;
      character = character << 6 | (utf8[i + k] & 0x3FU);
    }
    result.push_back(static_cast<unsigned char>(character >> 8));
    result.push_back(static_cast<unsigned char>(character));
    i += n;
  }
  result.insert(result.end(), 2, 0);
  return result;
}

std::optional<SecretBytes> pbkdf1(std::span<const unsigned char> password, std::span<const unsigned char> salt,
                                  std::uint64_t iterations, std::size_t length) {
  MD5 hash;
  SecretBytes value(hash.digestLength());
  if (!isInRange(iterations, length) || length > value.size()) return std::nullopt;
  hash.update(password.data(), password.size());
  hash.update(salt.data(), salt.size());
  hash.final(value);
  for (std::uint64_t i = 1; i < iterations; ++i) {
    hash.update(value.data(), value.size());
    hash.final(value);
  }
  value.resize(length);
  return value;
}

std::optional<SecretBytes> pbkdf2(std::unique_ptr<MessageDigest> digest, std::span<const unsigned char> password,
                                  std::span<const unsigned char> salt, std::uint64_t iterations, std::size_t length) {
  if (!isInRange(iterations, length)) return std::nullopt;
  HMAC mac(std::move(digest));
  mac.setKey(password);
  SecretBytes value(mac.length());
  SecretBytes key;
  for (std::uint32_t block = 1; key.size() < length; ++block) {
    std::array<unsigned char, 4> counter{};
    storeWord<std::endian::big>(block, counter.data());
    mac.update(salt);
    mac.update(counter);
    mac.final(value);
    SecretBytes sum = value;
    for (std::uint64_t i = 1; i < iterations; ++i) {
      mac.update(value);
      mac.final(value);
      for (std::size_t k = 0; k < sum.size(); ++k) sum[k] ^= value[k];
    }
    append(key, sum);
  }
  key.resize(length);
  return key;
}

}  // namespace keystrand
