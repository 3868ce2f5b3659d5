#include "crypto/BlockFunctions.h"
#include "crypto/SHA2Rounds.h"

namespace keystrand {

void sha256Portable(std::uint32_t* state, const unsigned char* data, std::size_t count) {
  sha2::blocks<sha2::SHA256Family>(state, data, count);
}

void sha512Portable(std::uint64_t* state, const unsigned char* data, std::size_t count) {
  sha2::blocks<sha2::SHA512Family>(state, data, count);
}

Blocks32 sha256Blocks() {
  static const Blocks32 blocks = sha256Accelerated() != nullptr ? sha256Accelerated() : &sha256Portable;
  return blocks;
}

Blocks64 sha512Blocks() {
  static const Blocks64 blocks = sha512Accelerated() != nullptr ? sha512Accelerated() : &sha512Portable;
  return blocks;
}

}  // namespace keystrand
