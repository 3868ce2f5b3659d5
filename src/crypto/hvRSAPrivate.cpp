// The private operation of RSA and the making of keys (RFC 8017 sections 3.2, 5.1.2; FIPS 186-4 appendix B.3.3).
#include <algorithm>
#include <array>

#include "crypto/OpenSSLHandles.h"
#include "crypto/hvRSA.h"

namespace keystrand {

namespace {

using SecretNumber = std::unique_ptr<BIGNUM, Releaser<&BN_clear_free>>;

constexpr int kMinBits = 512;
constexpr int kMaxBits = 16384;

SecretNumber secretOf(std::span<const unsigned char> octets) {
  SecretNumber number(BN_bin2bn(octets.data(), static_cast<int>(octets.size()), nullptr));
  if (number) BN_set_flags(number.get(), BN_FLG_CONSTTIME);
  return number;
}

SecretNumber secretCopy(const BIGNUM* number) {
  SecretNumber copy(number != nullptr ? BN_dup(number) : nullptr);
  if (copy) BN_set_flags(copy.get(), BN_FLG_CONSTTIME);
  return copy;
}

SecretNumber fresh() {
  SecretNumber number(BN_new());
  if (number) BN_set_flags(number.get(), BN_FLG_CONSTTIME);
  return number;
}

bool isModulus(const BigInteger& number, int maxBits) {
  return !number.isNegative() && number.bitLength() > 1 && number.bitLength() <= maxBits && BN_is_odd(number.number());
}

// Private integers that the arithmetic takes without harm; whether they belong together shows in the result.
bool isUsable(const RSAPrivateKey& key) {
  const int bits = key.modulus().bitLength();
  if (!isModulus(key.modulus(), kMaxBits) || key.publicExponent().isNegative() || key.publicExponent().isZero() ||
      key.publicExponent().bitLength() > bits) {
    return false;
  }
  if (!key.hasPrimes()) {
    return !key.privateExponent().isNegative() && !key.privateExponent().isZero() &&
           key.privateExponent().bitLength() <= bits;
  }
  return isModulus(key.prime1(), bits) && isModulus(key.prime2(), bits) &&
         std::ranges::none_of(key.integers(),
                              [bits](const BigInteger& part) { return part.isNegative() || part.bitLength() > bits; });
}

// base^exponent mod modulus, with the same steps for every exponent.
bool power(BIGNUM* result, const BIGNUM* base, const BigInteger& exponent, const BigInteger& modulus, BN_CTX* context) {
  const SecretNumber reduced = fresh();
  const SecretNumber secret = secretCopy(exponent.number());
  return reduced && secret && BN_nnmod(reduced.get(), base, modulus.number(), context) == 1 &&
         BN_mod_exp_mont_consttime(result, reduced.get(), secret.get(), modulus.number(), context, nullptr) == 1;
}

// RFC 8017 section 5.1.2, step 2.b.
bool byPrimes(BIGNUM* result, const BIGNUM* base, const RSAPrivateKey& key, BN_CTX* context) {
  const SecretNumber first = fresh();
  const SecretNumber second = fresh();
  const BIGNUM* p = key.prime1().number();
  return first && second && power(first.get(), base, key.exponent1(), key.prime1(), context) &&
         power(second.get(), base, key.exponent2(), key.prime2(), context) &&
         BN_mod_sub(first.get(), first.get(), second.get(), p, context) == 1 &&
         BN_mod_mul(first.get(), first.get(), key.coefficient().number(), p, context) == 1 &&
         BN_mul(result, first.get(), key.prime2().number(), context) == 1 && BN_add(result, result, second.get()) == 1;
}

// A random factor and what takes it off again: the operation then runs over a number that nobody chose.
struct Blinding {
  SecretNumber factor = fresh();   // r^publicExponent
  SecretNumber inverse = fresh();  // r^-1

  bool make(const RSAPrivateKey& key, BN_CTX* context) {
    SystemRandomGenerator random;
    SecretBytes octets(key.modulus().magnitudeLength());
    if (!factor || !inverse || !random.fill(octets)) return false;
    const SecretNumber r = secretOf(octets);
    const BIGNUM* n = key.modulus().number();
    return r && BN_nnmod(r.get(), r.get(), n, context) == 1 &&
           BN_mod_inverse(inverse.get(), r.get(), n, context) != nullptr &&
           BN_mod_exp_mont(factor.get(), r.get(), key.publicExponent().number(), n, context, nullptr) == 1;
  }
};

bool isResult(const BIGNUM* result, const BIGNUM* base, const RSAPrivateKey& key, BN_CTX* context) {
  const SecretNumber again = fresh();
  const BIGNUM* n = key.modulus().number();
  return again && BN_mod_exp_mont(again.get(), result, key.publicExponent().number(), n, context, nullptr) == 1 &&
         BN_cmp(again.get(), base) == 0;
}

// The two topmost bits are set, so that the product of two primes has all its bits; the lowest makes it odd.
bool nextPrime(int bits, const BigInteger& exponent, RandomGenerator& random, BN_CTX* context, BIGNUM* prime) {
  SecretBytes octets(static_cast<std::size_t>(bits + 7) / 8);
  const SecretNumber before = fresh();
  const SecretNumber common = fresh();
  if (!before || !common) return false;
  for (;;) {
    if (!random.fill(octets) || BN_bin2bn(octets.data(), static_cast<int>(octets.size()), prime) == nullptr) {
      return false;
    }
    BN_mask_bits(prime, bits);
    BN_set_flags(prime, BN_FLG_CONSTTIME);
    if (BN_set_bit(prime, bits - 1) != 1 || BN_set_bit(prime, bits - 2) != 1 || BN_set_bit(prime, 0) != 1) return false;
    const int verdict = BN_check_prime(prime, context, nullptr);
    if (verdict < 0) return false;
    if (verdict == 0) continue;
    if (BN_sub(before.get(), prime, BN_value_one()) != 1 ||
        BN_gcd(common.get(), before.get(), exponent.number(), context) != 1) {
      return false;
    }
    if (BN_is_one(common.get())) return true;
  }
}

// FIPS 186-4 B.3.3 step 5.4: primes that are close together would be found from their product.
bool areApart(const BIGNUM* p, const BIGNUM* q, int bits) {
  constexpr int kCloseness = 100;
  const SecretNumber difference = fresh();
  return difference && BN_sub(difference.get(), p, q) == 1 && BN_num_bits(difference.get()) > bits / 2 - kCloseness;
}

BigInteger integerOf(const BIGNUM* number) {
  SecretBytes octets(static_cast<std::size_t>(BN_num_bytes(number)));
  BN_bn2bin(number, octets.data());
  return BigInteger(std::span<const unsigned char>(octets));
}

// The eight integers from two primes, the larger one first.
std::optional<RSAPrivateKey> keyOf(const BIGNUM* p, const BIGNUM* q, const BigInteger& exponent, BN_CTX* context) {
  std::array<SecretNumber, 7> work;
  std::ranges::generate(work, fresh);
  if (std::ranges::any_of(work, [](const SecretNumber& number) { return !number; })) return std::nullopt;
  BIGNUM* n = work[0].get();
  BIGNUM* p1 = work[1].get();
  BIGNUM* q1 = work[2].get();
  BIGNUM* phi = work[3].get();
  BIGNUM* d = work[4].get();
  BIGNUM* remainder = work[5].get();
  BIGNUM* inverse = work[6].get();
  if (BN_mul(n, p, q, context) != 1 || BN_sub(p1, p, BN_value_one()) != 1 || BN_sub(q1, q, BN_value_one()) != 1 ||
      BN_mul(phi, p1, q1, context) != 1 || BN_mod_inverse(d, exponent.number(), phi, context) == nullptr) {
    return std::nullopt;
  }
  RSAPrivateKey::Integers integers{integerOf(n), exponent, integerOf(d), integerOf(p), integerOf(q)};
  if (BN_mod(remainder, d, p1, context) != 1) return std::nullopt;
  integers[5] = integerOf(remainder);
  if (BN_mod(remainder, d, q1, context) != 1) return std::nullopt;
  integers[6] = integerOf(remainder);
  if (BN_mod_inverse(inverse, q, p, context) == nullptr) return std::nullopt;
  integers[7] = integerOf(inverse);
  return RSAPrivateKey(std::move(integers));
}

}  // namespace

std::optional<SecretBytes> hvRSA::privateOperation(const RSAPrivateKey& key, std::span<const unsigned char> block) {
  if (!isUsable(key) || block.size() != key.modulus().magnitudeLength()) return std::nullopt;
  const ErrorMark mark;
  const BigNumberContext context(BN_CTX_secure_new());
  const BIGNUM* n = key.modulus().number();
  const SecretNumber base = secretOf(block);
  const SecretNumber blinded = fresh();
  const SecretNumber result = fresh();
  Blinding blinding;
  if (!context || !base || !blinded || !result || BN_ucmp(base.get(), n) >= 0 || !blinding.make(key, context.get()) ||
      BN_mod_mul(blinded.get(), base.get(), blinding.factor.get(), n, context.get()) != 1) {
    return std::nullopt;
  }
  const bool raised = key.hasPrimes()
                          ? byPrimes(result.get(), blinded.get(), key, context.get())
                          : power(result.get(), blinded.get(), key.privateExponent(), key.modulus(), context.get());
  SecretBytes out(block.size());
  const auto length = static_cast<int>(out.size());
  const bool done = raised && BN_mod_mul(result.get(), result.get(), blinding.inverse.get(), n, context.get()) == 1 &&
                    isResult(result.get(), base.get(), key, context.get()) &&
                    BN_bn2binpad(result.get(), out.data(), length) == length;
  return done ? std::optional(std::move(out)) : std::nullopt;
}

std::optional<RSAPrivateKey> hvRSA::generate(int bits, const BigInteger& exponent, RandomGenerator& random) {
  constexpr int kMaxExponentBits = 64;
  if (bits < kMinBits || bits > kMaxBits || !isModulus(exponent, kMaxExponentBits)) return std::nullopt;
  const ErrorMark mark;
  const BigNumberContext context(BN_CTX_secure_new());
  const SecretNumber p = fresh();
  const SecretNumber q = fresh();
  if (!context || !p || !q) return std::nullopt;
  do {
    if (!nextPrime((bits + 1) / 2, exponent, random, context.get(), p.get()) ||
        !nextPrime(bits / 2, exponent, random, context.get(), q.get())) {
      return std::nullopt;
    }
  } while (!areApart(p.get(), q.get(), bits));
  const bool ordered = BN_cmp(p.get(), q.get()) > 0;
  return keyOf(ordered ? p.get() : q.get(), ordered ? q.get() : p.get(), exponent, context.get());
}

}  // namespace keystrand
