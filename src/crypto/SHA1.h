// SHA-1 (FIPS 180-4 section 6.1).
#pragma once

#include "crypto/BlockDigest.h"
#include "crypto/BlockFunctions.h"

namespace keystrand {

struct SHA1Algorithm {
  using Word = std::uint32_t;
  static constexpr const char* kOID = "1.3.14.3.2.26";
  static constexpr std::size_t kDigestLength = 20;
  static constexpr std::size_t kBlockLength = 64;
  static constexpr std::endian kOrder = std::endian::big;
  static constexpr std::array<Word, 5> kInitial = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
  static void blocks(Word* state, const unsigned char* data, std::size_t count) { sha1Blocks()(state, data, count); }
};

extern template class BlockDigest<SHA1Algorithm>;
class SHA1 final : public BlockDigest<SHA1Algorithm> {};

}  // namespace keystrand
