#include "crypto/SystemRandomGenerator.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>

namespace keystrand {

namespace {

using Word = std::array<unsigned char, 4>;

bool fromCall(Word& octets) {
  ssize_t n = 0;
  do {
    n = getrandom(octets.data(), octets.size(), 0);
  } while (n < 0 && errno == EINTR);
  return n == static_cast<ssize_t>(octets.size());
}

// For a kernel, or a sandbox, that does not know the call.
bool fromFile(Word& octets) {
  const int file = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  const bool whole = read(file, octets.data(), octets.size()) == static_cast<ssize_t>(octets.size());
  close(file);
  return whole;
}

}  // namespace

bool SystemRandomGenerator::random32(std::uint32_t& word) {
  Word octets{};
  const bool filled = fromCall(octets) || fromFile(octets);
  word = filled ? std::bit_cast<std::uint32_t>(octets) : 0;
  return filled;
}

bool SystemRandomGenerator::random8(std::span<unsigned char, 8> target) {
  std::array<std::uint32_t, 2> words{};
  const bool filled = random32(words[0]) && random32(words[1]);
  const auto octets = std::bit_cast<std::array<unsigned char, 8>>(filled ? words : std::array<std::uint32_t, 2>{});
  std::ranges::copy(octets, target.begin());
  return filled;
}

bool SystemRandomGenerator::fill(std::span<unsigned char> target) {
  std::array<unsigned char, 8> octets{};
  for (std::span<unsigned char> left = target; !left.empty();) {
    if (!random8(octets)) {
      std::ranges::fill(target, static_cast<unsigned char>(0));
      return false;
    }
    const std::size_t n = std::min(left.size(), octets.size());
    std::ranges::copy_n(octets.begin(), static_cast<std::ptrdiff_t>(n), left.begin());
    left = left.subspan(n);
  }
  return true;
}

}  // namespace keystrand
