// RIPEMD-160 (ISO/IEC 10118-3, dedicated hash function 1).
#pragma once

#include "crypto/BlockDigest.h"

namespace keystrand {

struct RIPEMD160Algorithm {
  using Word = std::uint32_t;
  static constexpr const char* kOID = "1.3.36.3.2.1";
  static constexpr std::size_t kDigestLength = 20;
  static constexpr std::size_t kBlockLength = 64;
  static constexpr std::endian kOrder = std::endian::little;
  static constexpr std::array<Word, 5> kInitial = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
  static void blocks(Word* state, const unsigned char* data, std::size_t count);
};

extern template class BlockDigest<RIPEMD160Algorithm>;
class RIPEMD160 final : public BlockDigest<RIPEMD160Algorithm> {};

}  // namespace keystrand
