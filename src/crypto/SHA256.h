// SHA-256 (FIPS 180-4 section 6.2).
#pragma once

#include "crypto/BlockDigest.h"
#include "crypto/BlockFunctions.h"

namespace keystrand {

struct SHA256Algorithm {
  using Word = std::uint32_t;
  static constexpr const char* kOID = "2.16.840.1.101.3.4.2.1";
  static constexpr std::size_t kDigestLength = 32;
  static constexpr std::size_t kBlockLength = 64;
  static constexpr std::endian kOrder = std::endian::big;
  static constexpr std::array<Word, 8> kInitial = {0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A,
                                                   0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19};
  static void blocks(Word* state, const unsigned char* data, std::size_t count) { sha256Blocks()(state, data, count); }
};

extern template class BlockDigest<SHA256Algorithm>;
class SHA256 final : public BlockDigest<SHA256Algorithm> {};

}  // namespace keystrand
