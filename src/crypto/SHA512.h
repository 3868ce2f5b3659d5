// SHA-512 (FIPS 180-4 section 6.4).
#pragma once

#include "crypto/BlockDigest.h"
#include "crypto/BlockFunctions.h"

namespace keystrand {

struct SHA512Algorithm {
  using Word = std::uint64_t;
  static constexpr const char* kOID = "2.16.840.1.101.3.4.2.3";
  static constexpr std::size_t kDigestLength = 64;
  static constexpr std::size_t kBlockLength = 128;
  static constexpr std::endian kOrder = std::endian::big;
  static constexpr std::array<Word, 8> kInitial = {0x6A09E667F3BCC908, 0xBB67AE8584CAA73B, 0x3C6EF372FE94F82B,
                                                   0xA54FF53A5F1D36F1, 0x510E527FADE682D1, 0x9B05688C2B3E6C1F,
                                                   0x1F83D9ABFB41BD6B, 0x5BE0CD19137E2179};
  static void blocks(Word* state, const unsigned char* data, std::size_t count) { sha512Blocks()(state, data, count); }
};

extern template class BlockDigest<SHA512Algorithm>;
class SHA512 final : public BlockDigest<SHA512Algorithm> {};

}  // namespace keystrand
