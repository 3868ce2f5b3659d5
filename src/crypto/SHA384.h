// SHA-384 (FIPS 180-4 section 6.5): the blocks of SHA-512 from another start, cut to 48 bytes.
#pragma once

#include "crypto/BlockDigest.h"
#include "crypto/BlockFunctions.h"

namespace keystrand {

struct SHA384Algorithm {
  using Word = std::uint64_t;
  static constexpr const char* kOID = "2.16.840.1.101.3.4.2.2";
  static constexpr std::size_t kDigestLength = 48;
  static constexpr std::size_t kBlockLength = 128;
  static constexpr std::endian kOrder = std::endian::big;
  static constexpr std::array<Word, 8> kInitial = {0xCBBB9D5DC1059ED8, 0x629A292A367CD507, 0x9159015A3070DD17,
                                                   0x152FECD8F70E5939, 0x67332667FFC00B31, 0x8EB44A8768581511,
                                                   0xDB0C2E0D64F98FA7, 0x47B5481DBEFA4FA4};
  static void blocks(Word* state, const unsigned char* data, std::size_t count) { sha512Blocks()(state, data, count); }
};

extern template class BlockDigest<SHA384Algorithm>;
class SHA384 final : public BlockDigest<SHA384Algorithm> {};

}  // namespace keystrand
