#include "crypto/EMSA.h"

#include <algorithm>
#include <array>

#include "crypto/Words.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

constexpr std::size_t kMaxDigestLength = 64;
constexpr unsigned char kTrailer = 0xBC;
using Hash = std::array<unsigned char, kMaxDigestLength>;

// MGF1 (RFC 8017 appendix B.2.1), laid over `target` by exclusive or.
void applyMask(std::span<unsigned char> target, std::span<const unsigned char> seed, MessageDigest& hash) {
  Hash mask;
  for (std::uint32_t counter = 0; !target.empty(); ++counter) {
    std::array<unsigned char, 4> octets;
    storeWord<std::endian::big>(counter, octets.data());
    hash.update(seed.data(), seed.size());
    hash.update(octets.data(), octets.size());
    const std::size_t n = std::min<std::size_t>(hash.final(mask), target.size());
    for (std::size_t i = 0; i < n; ++i) target[i] ^= mask[i];
    target = target.subspan(n);
  }
}

// The hash of eight zero octets, the digest and the salt.
std::uint32_t digestOfPSS(std::span<const unsigned char> digest, std::span<const unsigned char> salt,
                          MessageDigest& hash, std::span<unsigned char> out) {
  constexpr std::array<unsigned char, 8> kZeros{};
  hash.update(kZeros.data(), kZeros.size());
  hash.update(digest.data(), digest.size());
  hash.update(salt.data(), salt.size());
  return hash.final(out);
}

// It is the one that the block holds (steps 12 and 13).
bool matches(std::span<const unsigned char> held, std::span<const unsigned char> digest,
             std::span<const unsigned char> salt, MessageDigest& hash) {
  Hash value;
  return std::ranges::equal(std::span(value).first(digestOfPSS(digest, salt, hash, value)), held);
}

// DB with its mask taken off: zeros, a one, the salt (steps 9 and 10). The bits in front of the encoding are dropped.
bool isDataBlock(std::span<const unsigned char> db, std::size_t saltLength) {
  const auto head = db.first(db.size() - saltLength - 1);
  return std::ranges::all_of(head, [](unsigned char octet) { return octet == 0; }) && db[head.size()] == 1;
}

}  // namespace

// EMSA-PSS-VERIFY, RFC 8017 section 9.1.2.
bool isPSSEncoded(std::span<const unsigned char> block, int modulusBits, std::span<const unsigned char> digest,
                  MessageDigest& hash) {
  const std::size_t hashLength = hash.digestLength();
  const auto encodedBits = static_cast<std::size_t>(modulusBits) - 1;
  const std::size_t length = (encodedBits + 7) / 8;
  if (modulusBits < 2 || block.size() < length || hashLength == 0 || digest.size() != hashLength) return false;
  // With a modulus of 8n + 1 bits the encoding is an octet shorter than the block, and what is in front must be zero.
  const auto front = block.first(block.size() - length);
  const auto encoded = block.last(length);
  if (std::ranges::any_of(front, [](unsigned char octet) { return octet != 0; })) return false;
  if (length < 2 * hashLength + 2 || encoded.back() != kTrailer) return false;  // steps 3 and 4
  const auto seed = encoded.subspan(length - hashLength - 1, hashLength);
  Bytes db(encoded.begin(), encoded.end() - static_cast<std::ptrdiff_t>(hashLength) - 1);  // step 5
  const auto kept = static_cast<unsigned char>(0xFF >> (8 * length - encodedBits));
  if ((db[0] & ~kept) != 0) return false;  // step 6
  hash.reset();
  applyMask(db, seed, hash);  // steps 7 and 8
  db[0] &= kept;
  return isDataBlock(db, hashLength) && matches(seed, digest, std::span(db).last(hashLength), hash);
}

// EMSA-PSS-ENCODE, RFC 8017 section 9.1.1.
std::optional<Bytes> encodePSS(int modulusBits, std::span<const unsigned char> digest,
                               std::span<const unsigned char> salt, MessageDigest& hash) {
  const std::size_t hashLength = hash.digestLength();
  const auto encodedBits = static_cast<std::size_t>(std::max(modulusBits, 1)) - 1;
  const std::size_t length = (encodedBits + 7) / 8;
  if (digest.size() != hashLength || length < hashLength + salt.size() + 2) return std::nullopt;  // step 3
  Bytes block(static_cast<std::size_t>(modulusBits + 7) / 8);
  const auto encoded = std::span(block).last(length);
  const auto db = encoded.first(length - hashLength - 1);
  const auto seed = encoded.subspan(db.size(), hashLength);
  hash.reset();
  digestOfPSS(digest, salt, hash, seed);  // steps 5 and 6
  db[db.size() - salt.size() - 1] = 1;    // steps 7 and 8
  std::ranges::copy(salt, db.last(salt.size()).begin());
  applyMask(db, seed, hash);  // steps 9 and 10
  db[0] &= static_cast<unsigned char>(0xFF >> (8 * length - encodedBits));
  encoded.back() = kTrailer;
  return block;
}

}  // namespace keystrand
