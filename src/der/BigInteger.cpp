#include "keystrand/der/BigInteger.h"

#include <openssl/bn.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "support/Memory.h"
#include "support/SecretBytes.h"

namespace keystrand {

namespace {

constexpr unsigned char kSignBit = 0x80;
// As many as a BIGNUM holds. Asked for more, OpenSSL leaves an error in the thread's queue, where others find it.
constexpr std::size_t kMaxOctets = std::size_t{std::numeric_limits<int>::max() / (4 * BN_BITS2)} * BN_BYTES;

using Number = std::unique_ptr<BIGNUM, Releaser<&BN_free>>;

void releaseText(char* text) {
  OPENSSL_free(text);
}
using NumberText = std::unique_ptr<char, Releaser<&releaseText>>;

bignum_st* fromMagnitude(std::span<const unsigned char> bytes) {
  return bytes.size() > kMaxOctets ? nullptr : BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr);
}

void complement(std::span<unsigned char> bytes) {
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(~byte);
}

// -(complement + 1), as two's complement has it.
bignum_st* fromNegative(std::span<const unsigned char> content) {
  Bytes magnitude(content.begin(), content.end());
  complement(magnitude);
  Number number(fromMagnitude(magnitude));
  if (!number || BN_add_word(number.get(), 1) != 1) return nullptr;
  BN_set_negative(number.get(), 1);
  return number.release();
}

bignum_st* made(bignum_st* number) {
  if (number == nullptr) throw std::bad_alloc();
  return number;
}

// A negative -n is written as the complement of n - 1: the number whose bits then stand in the content octets.
Number complemented(const BIGNUM& negative) {
  Number bits(made(BN_dup(&negative)));
  if (BN_add_word(bits.get(), 1) != 1) throw std::bad_alloc();
  return bits;
}

std::uint32_t octetsOf(int bits) {
  return static_cast<std::uint32_t>((bits + 7) / 8);
}

// A first octet that only repeats the sign of the second (X.690 8.3.2).
bool hasSurplusOctet(std::span<const unsigned char> content) {
  if (content.size() < 2) return false;
  const bool secondNegative = (content[1] & kSignBit) != 0;
  return (content[0] == 0x00 && !secondNegative) || (content[0] == 0xFF && secondNegative);
}

bool isNumber(std::string_view text, int base) {
  if (text.starts_with('-')) text.remove_prefix(1);
  const std::string_view digits = base == 16 ? "0123456789abcdefABCDEF" : "0123456789";
  return !text.empty() && text.find_first_not_of(digits) == std::string_view::npos;
}

}  // namespace

BigInteger::BigInteger(std::int32_t value) : number_(value == 0 ? nullptr : made(BN_new())) {
  if (number_ == nullptr) return;
  BN_set_word(number_, static_cast<BN_ULONG>(value < 0 ? -std::int64_t{value} : std::int64_t{value}));
  BN_set_negative(number_, value < 0 ? 1 : 0);
}

BigInteger::BigInteger(std::span<const unsigned char> magnitude) : number_(made(fromMagnitude(magnitude))) {}

BigInteger::BigInteger(const BigInteger& other)
    : stripped_(other.stripped_),
      padding_(other.padding_),
      number_(other.number_ != nullptr ? made(BN_dup(other.number_)) : nullptr) {}

BigInteger::BigInteger(BigInteger&& other) noexcept
    : stripped_(other.stripped_), padding_(other.padding_), number_(std::exchange(other.number_, nullptr)) {}

BigInteger& BigInteger::operator=(const BigInteger& other) {
  if (this != &other) *this = BigInteger(other);
  return *this;
}

BigInteger& BigInteger::operator=(BigInteger&& other) noexcept {
  std::swap(stripped_, other.stripped_);
  std::swap(padding_, other.padding_);
  std::swap(number_, other.number_);
  return *this;
}

BigInteger::~BigInteger() {
  BN_free(number_);
}

void BigInteger::reset(bignum_st* number) noexcept {
  BN_free(number_);
  number_ = number;
}

bool BigInteger::parse(const char* text, int base, BigInteger& out) {
  if (text == nullptr || (base != 10 && base != 16) || !isNumber(text, base)) return false;
  BIGNUM* number = nullptr;
  if ((base == 16 ? BN_hex2bn(&number, text) : BN_dec2bn(&number, text)) == 0) return false;
  out = BigInteger();
  out.reset(number);
  return true;
}

std::string BigInteger::text(int base) const {
  if (base != 10 && base != 16) return {};
  if (number_ == nullptr) return "0";
  const NumberText digits(base == 16 ? BN_bn2hex(number_) : BN_bn2dec(number_));
  if (!digits) throw std::bad_alloc();
  return digits.get();
}

owner<char*> BigInteger::toText(int base) const {
  return base == 10 || base == 16 ? newText(text(base)) : nullptr;
}

bool BigInteger::isZero() const noexcept {
  return number_ == nullptr || BN_is_zero(number_) == 1;
}

bool BigInteger::isNegative() const noexcept {
  return number_ != nullptr && BN_is_negative(number_) == 1;
}

int BigInteger::bitLength() const noexcept {
  return number_ == nullptr ? 0 : BN_num_bits(number_);
}

std::uint32_t BigInteger::magnitudeLength() const noexcept {
  return octetsOf(bitLength());
}

bool BigInteger::magnitude(std::span<unsigned char> out) const {
  if (magnitudeLength() > out.size()) return false;
  std::ranges::fill(out, static_cast<unsigned char>(0));
  if (number_ != nullptr) BN_bn2bin(number_, out.last(magnitudeLength()).data());
  return true;
}

void BigInteger::wipe() noexcept {
  BN_clear_free(std::exchange(number_, nullptr));
}

bool BigInteger::operator==(const BigInteger& other) const noexcept {
  return compare(other) == 0;
}

int BigInteger::compare(const BigInteger& other) const noexcept {
  if (number_ != nullptr && other.number_ != nullptr) return BN_cmp(number_, other.number_);
  const auto sign = [](const BigInteger& value) { return value.isZero() ? 0 : value.isNegative() ? -1 : 1; };
  return sign(*this) - sign(other);
}

// --- coding ------------------------------------------------------------------------------------------------

// The shortest two's complement has a sign bit before the bits of the number.
std::uint32_t BigInteger::contentLength() const {
  const int bits = isNegative() ? BN_num_bits(complemented(*number_).get()) : bitLength();
  return static_cast<std::uint32_t>(bits / 8 + 1) + (stripped_ ? 0 : padding_);
}

std::uint32_t BigInteger::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentLength();
  return buffer.sizeHeader(tag, n) + n;
}

void BigInteger::put(Buffer& buffer, unsigned char tag) const {
  SecretBytes content(contentLength(), isNegative() ? 0xFF : 0x00);  // it may be an integer of a private key
  if (isNegative()) {
    const Number bits = complemented(*number_);
    const auto tail = std::span(content).last(octetsOf(BN_num_bits(bits.get())));
    BN_bn2bin(bits.get(), tail.data());
    complement(tail);
  } else {
    magnitude(content);
  }
  buffer.putHeader(tag, static_cast<std::uint32_t>(content.size()));
  buffer.putBytes(content.data(), static_cast<std::uint32_t>(content.size()));
}

// Strict about surplus octets on purpose: a certificate with one in any integer is unreadable.
bool BigInteger::get(Buffer& buffer, unsigned char tag) {
  unsigned char found = 0;
  std::uint32_t n = 0;
  if (!buffer.getHeader(found, n) || found != tag) return false;
  if (n == 0) {
    buffer.getByte();
    reset(nullptr);
    return true;
  }
  std::span<const unsigned char> content;
  if (!buffer.view(n, content) || hasSurplusOctet(content)) return false;
  if ((content[0] & kSignBit) != 0) {
    reset(fromNegative(content));
  } else {
    reset(fromMagnitude(content[0] == 0 ? content.subspan(1) : content));
  }
  return number_ != nullptr;
}

}  // namespace keystrand
