// SHA-224 (FIPS 180-4 section 6.3): the blocks of SHA-256 from another start, cut to 28 bytes.
#pragma once

#include "crypto/BlockDigest.h"
#include "crypto/BlockFunctions.h"

namespace keystrand {

struct SHA224Algorithm {
  using Word = std::uint32_t;
  static constexpr const char* kOID = "2.16.840.1.101.3.4.2.4";
  static constexpr std::size_t kDigestLength = 28;
  static constexpr std::size_t kBlockLength = 64;
  static constexpr std::endian kOrder = std::endian::big;
  static constexpr std::array<Word, 8> kInitial = {0xC1059ED8, 0x367CD507, 0x3070DD17, 0xF70E5939,
                                                   0xFFC00B31, 0x68581511, 0x64F98FA7, 0xBEFA4FA4};
  static void blocks(Word* state, const unsigned char* data, std::size_t count) { sha256Blocks()(state, data, count); }
};

extern template class BlockDigest<SHA224Algorithm>;
class SHA224 final : public BlockDigest<SHA224Algorithm> {};

}  // namespace keystrand
