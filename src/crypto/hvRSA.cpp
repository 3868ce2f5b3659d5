#include "crypto/hvRSA.h"

#include <algorithm>

#include "crypto/OpenSSLHandles.h"

namespace keystrand {

namespace {

constexpr int kMaxModulusBits = 16384;
// What a stranger's key may cost: a large modulus goes with a small exponent, and no exponent is longer than its
// modulus.
constexpr int kLargeModulusBits = 3072;
constexpr int kMaxExponentBitsOfLargeModulus = 64;

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

}  // namespace keystrand
