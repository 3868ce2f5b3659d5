#include "crypto/hvRSA.h"

#include <algorithm>
#include <array>

#include "crypto/OpenSSLHandles.h"

namespace keystrand {

namespace {

constexpr int kMaxModulusBits = 16384;
// What a stranger's key may cost: a large modulus goes with a small exponent, and no exponent is longer than its
// modulus.
constexpr int kLargeModulusBits = 3072;
constexpr int kMaxExponentBitsOfLargeModulus = 64;

constexpr std::size_t kPaddingLength = 11;  // zero, block type, eight fill bytes, separator

bool isAcceptable(const BigInteger& modulus, const BigInteger& exponent) {
  const int modulusBits = modulus.bitLength();
  const int maxExponentBits = modulusBits > kLargeModulusBits ? kMaxExponentBitsOfLargeModulus : modulusBits;
  return !modulus.isNegative() && modulusBits > 1 && modulusBits <= kMaxModulusBits && BN_is_odd(modulus.number()) &&
         !exponent.isNegative() && exponent.bitLength() > 1 && exponent.bitLength() <= maxExponentBits;
}

}  // namespace

std::optional<Bytes> hvRSA::publicOperation(const RSAPublicKey& key, std::span<const unsigned char> block) {
  const BigInteger& modulus = key.modulus();
  if (!isAcceptable(modulus, key.exponent()) || block.size() != modulus.magnitudeLength()) return std::nullopt;
  const ErrorMark mark;
  const int length = static_cast<int>(block.size());
  const BigNumberContext context(BN_CTX_new());
  const BigNumber number(BN_bin2bn(block.data(), length, nullptr));
  if (!context || !number || BN_ucmp(number.get(), modulus.number()) >= 0) return std::nullopt;
  Bytes result(block.size());
  const bool done = BN_mod_exp_mont(number.get(), number.get(), key.exponent().number(), modulus.number(),
                                    context.get(), nullptr) == 1 &&
                    BN_bn2binpad(number.get(), result.data(), length) == length;
  return done ? std::optional(std::move(result)) : std::nullopt;
}

std::optional<std::span<const unsigned char>> hvRSA::withoutPadding(std::span<const unsigned char> block) {
  constexpr std::size_t kLeastFill = 8;
  constexpr std::size_t kHead = 2;  // zero and block type
  if (block.size() < kHead || block[0] != 0 || block[1] != 1) return std::nullopt;
  const auto filled = block.subspan(kHead);
  const auto separator = std::ranges::find_if(filled, [](unsigned char byte) { return byte != 0xFF; });
  const auto fill = static_cast<std::size_t>(separator - filled.begin());
  if (fill < kLeastFill || separator == filled.end() || *separator != 0) return std::nullopt;
  return filled.subspan(fill + 1);
}

std::optional<Bytes> hvRSA::withPadding(std::span<const unsigned char> data, std::size_t length) {
  if (length < kPaddingLength || data.size() > length - kPaddingLength) return std::nullopt;
  Bytes block(length, 0xFF);
  block[0] = 0;
  block[1] = 1;
  block[length - data.size() - 1] = 0;
  std::ranges::copy(data, block.end() - static_cast<std::ptrdiff_t>(data.size()));
  return block;
}

std::optional<SecretBytes> hvRSA::withRandomPadding(std::span<const unsigned char> data, std::size_t length,
                                                    RandomGenerator& random) {
  if (length < kPaddingLength || data.size() > length - kPaddingLength) return std::nullopt;
  SecretBytes block(length);
  block[1] = 2;
  for (unsigned char& octet : std::span(block).subspan(2, length - data.size() - 3)) {
    while (octet == 0) {
      if (!random.fill({&octet, 1})) return std::nullopt;
    }
  }
  std::ranges::copy(data, block.end() - static_cast<std::ptrdiff_t>(data.size()));
  return block;
}

// Every octet is looked at, whatever those before it were.
std::optional<SecretBytes> hvRSA::withoutRandomPadding(std::span<const unsigned char> block) {
  if (block.size() < kPaddingLength) return std::nullopt;
  unsigned bad = block[0] | (block[1] ^ 2U);
  std::size_t separator = 0;
  for (std::size_t i = 2; i < block.size(); ++i) {
    const bool first = (static_cast<unsigned>(block[i] == 0) & static_cast<unsigned>(separator == 0)) != 0;
    separator |= (0 - static_cast<std::size_t>(first)) & i;
  }
  bad |= static_cast<unsigned>(separator < kPaddingLength - 1);
  if (bad != 0) return std::nullopt;
  return SecretBytes(block.begin() + static_cast<std::ptrdiff_t>(separator) + 1, block.end());
}

}  // namespace keystrand
