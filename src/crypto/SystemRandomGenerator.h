// Random numbers for the token: words of 32 bits, out of which everything else is made.
//
// Each word comes from the operating system. A generator seeded with the time must never take its place here: the keys
// made with it could be guessed. Verification uses no random numbers at all.
#pragma once

#include <cstdint>
#include <span>

namespace keystrand {

class RandomGenerator {
 public:
  virtual ~RandomGenerator() = default;
  // Each is false when there is no source; the target is then all zeros.
  virtual bool random8(std::span<unsigned char, 8> target) = 0;
  virtual bool fill(std::span<unsigned char> target) = 0;
  virtual bool random32(std::uint32_t& word) = 0;
};

class SystemRandomGenerator final : public RandomGenerator {
 public:
  bool random8(std::span<unsigned char, 8> target) override;  // two words
  // Eight octets at a time, the last part out of a further eight.
  bool fill(std::span<unsigned char> target) override;
  bool random32(std::uint32_t& word) override;
};

}  // namespace keystrand
