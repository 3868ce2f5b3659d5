#include "pkix/SerialHash.h"

#include <unistd.h>

#include <chrono>

namespace keystrand {

SerialHash::SerialHash() {
  std::array<std::uint64_t, 2> random{};
  if (getentropy(random.data(), sizeof random) != 0) {
    random[0] = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    random[1] = reinterpret_cast<std::uintptr_t>(random.data());
  }
  mask_ = random[1];
  const std::uint64_t point = random[0] % (kPrime - 2) + 2;
  power_[0] = point;
  for (std::size_t i = 1; i < power_.size(); ++i) power_[i] = reduce(Wide{power_[i - 1]} * point) % kPrime;
}

const SerialHash& SerialHash::ofProcess() {
  static const SerialHash hash;
  return hash;
}

// One coefficient a time: such lengths are rare. The degree of the polynomial is one that no other length has.
std::uint64_t SerialHash::anyLength(std::span<const unsigned char> octets) const noexcept {
  std::uint64_t value = 1;
  while (octets.size() > kPiece) {
    value = evaluate<0>(value, nullptr, load(octets.data()) & kWhole);
    octets = octets.subspan(kPiece);
  }
  std::uint64_t last = 0;
  if (!octets.empty()) std::memcpy(&last, octets.data(), octets.size());
  return finish(evaluate<0>(value, nullptr, marked(last, octets.size())));
}

}  // namespace keystrand
