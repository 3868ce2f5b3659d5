// An INTEGER of any length (X.690 8.3): serial numbers, key values, CRL numbers. A value class over OpenSSL's BIGNUM.
// The reader refuses redundant sign octets, so each value has exactly one accepted encoding.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "keystrand/der/Buffer.h"

struct bignum_st;

namespace keystrand {

class KEYSTRAND_API BigInteger {
 public:
  BigInteger() noexcept = default;  // zero
  explicit BigInteger(std::int32_t value);
  // Big-endian, not negative. Throws std::bad_alloc for more octets than OpenSSL can hold, some 64 MiB.
  explicit BigInteger(std::span<const unsigned char> magnitude);
  BigInteger(const BigInteger& other);
  BigInteger(BigInteger&& other) noexcept;
  BigInteger& operator=(const BigInteger& other);
  BigInteger& operator=(BigInteger&& other) noexcept;
  ~BigInteger();

  // False, out unchanged, unless the text is a whole number in that base (10 or 16), a minus sign allowed. Base 10
  // takes time with the square of the length.
  static bool parse(const char* text, int base, BigInteger& out);
  // As OpenSSL prints them: base 16 upper-case with an even number of digits ("0" for zero, "-01"), or base 10.
  // nullptr for another base. The caller delete[]s it.
  [[nodiscard]] owner<char*> toText(int base) const;
  [[nodiscard]] std::string text(int base) const;

  [[nodiscard]] bool isZero() const noexcept;
  [[nodiscard]] bool isNegative() const noexcept;
  [[nodiscard]] int bitLength() const noexcept;
  // Bytes of the magnitude, big-endian, without a sign octet; zero has none.
  [[nodiscard]] std::uint32_t magnitudeLength() const noexcept;
  // Left-padded with zeros to the span; false when it does not fit.
  bool magnitude(std::span<unsigned char> out) const;
  [[nodiscard]] bool operator==(const BigInteger& other) const noexcept;
  [[nodiscard]] int compare(const BigInteger& other) const noexcept;

  // Makes it zero and overwrites what it was: for the integers of private keys.
  void wipe() noexcept;

  // Whether the integer stands without surplus octets. With it cleared, size and put add `padding` octets of its sign.
  [[nodiscard]] bool stripped() const noexcept { return stripped_; }
  void setStripped(bool stripped) noexcept { stripped_ = stripped; }
  void setPadding(unsigned char padding) noexcept { padding_ = padding; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const { return size(buffer, 2); }
  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void put(Buffer& buffer) const { put(buffer, 2); }
  void put(Buffer& buffer, unsigned char tag) const;
  bool get(Buffer& buffer) { return get(buffer, 2); }
  // False for surplus sign octets; a value without any octet is zero and takes the octet behind it along.
  bool get(Buffer& buffer, unsigned char tag);

  // For the arithmetic of the algorithm classes; nullptr stands for zero. Owned by this object.
  [[nodiscard]] const bignum_st* number() const noexcept { return number_; }

 private:
  void reset(bignum_st* number) noexcept;
  [[nodiscard]] std::uint32_t contentLength() const;

  bool stripped_ = true;
  unsigned char padding_ = 0;
  bignum_st* number_ = nullptr;
};

}  // namespace keystrand
