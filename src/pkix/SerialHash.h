// A hash of serial numbers keyed with a secret of this process, because those who issue serial numbers choose them.
//
// The octets are the coefficients of a polynomial over the integers modulo 2^61 - 1, evaluated at a secret point: two
// different serial numbers of n octets meet with a chance of about n / 3 in 2^61, whoever chose them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace keystrand {

class SerialHash {
 public:
  // The one of this process.
  [[nodiscard]] static const SerialHash& ofProcess();

  // Nearly all serial numbers have 8 to 21 octets: these are hashed here, without a loop.
  [[nodiscard]] std::uint64_t operator()(std::span<const unsigned char> octets) const noexcept {
    switch ((octets.size() + kPiece - 1) / kPiece) {
      case 2:
        return finish(evaluate<1>(1, octets.data(), lastPiece(octets, octets.size() - kPiece)));
      case 3:
        return finish(evaluate<2>(1, octets.data(), lastPiece(octets, octets.size() - 2 * kPiece)));
      default:
        return anyLength(octets);
    }
  }

  // Eight octets, in the order of the processor.
  static std::uint64_t load(const unsigned char* at) noexcept {
    std::uint64_t octets = 0;
    std::memcpy(&octets, at, sizeof octets);
    return octets;
  }

 private:
  __extension__ using Wide = unsigned __int128;

  static constexpr std::uint64_t kPrime = (std::uint64_t{1} << 61) - 1;
  static constexpr std::size_t kPiece = 7;  // octets of one coefficient
  static constexpr std::uint64_t kWhole = (std::uint64_t{1} << 8 * kPiece) - 1;

  SerialHash();

  // Some number congruent to the sum modulo the prime, at most 2^61 + 3. The sum is below 2^123.
  static std::uint64_t reduce(Wide sum) noexcept {
    const std::uint64_t once = (static_cast<std::uint64_t>(sum) & kPrime) + static_cast<std::uint64_t>(sum >> 61);
    return (once & kPrime) + (once >> 61);
  }

  // A last coefficient: the octets of a piece or less, with a mark above them that tells how many they are.
  static std::uint64_t marked(std::uint64_t octets, std::size_t n) noexcept {
    return octets | (std::uint64_t{n} + 1) << 56;
  }

  // The last n octets, at most a piece, of eight or more.
  static std::uint64_t lastPiece(std::span<const unsigned char> octets, std::size_t n) noexcept {
    const unsigned char* word = octets.data() + octets.size() - sizeof(std::uint64_t);
    return marked(load(word) >> (8 * (sizeof(std::uint64_t) - n)), n);
  }

  // What came before, then so many whole coefficients from `at` on, then the last one.
  template <std::size_t Whole>
  [[nodiscard]] std::uint64_t evaluate(std::uint64_t before, const unsigned char* at,
                                       std::uint64_t last) const noexcept {
    Wide sum = Wide{before} * power_[Whole + 1] + Wide{last} * power_[0];
    for (std::size_t i = 0; i < Whole; ++i) sum += Wide{load(at + i * kPiece) & kWhole} * power_[Whole - i];
    return reduce(sum);
  }

  [[nodiscard]] std::uint64_t finish(std::uint64_t value) const noexcept {
    const std::uint64_t hash = (value ^ mask_) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 32;
  }

  [[nodiscard]] std::uint64_t anyLength(std::span<const unsigned char> octets) const noexcept;

  std::array<std::uint64_t, 4> power_{};  // of the point where the polynomial is evaluated, from the first on
  std::uint64_t mask_ = 0;
};

}  // namespace keystrand
