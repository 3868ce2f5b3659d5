// MD5 (RFC 1321).
#pragma once

#include "crypto/BlockDigest.h"

namespace keystrand {

struct MD5Algorithm {
  using Word = std::uint32_t;
  static constexpr const char* kOID = "1.2.840.113549.2.5";
  static constexpr std::size_t kDigestLength = 16;
  static constexpr std::size_t kBlockLength = 64;
  static constexpr std::endian kOrder = std::endian::little;
  static constexpr std::array<Word, 4> kInitial = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
  static void blocks(Word* state, const unsigned char* data, std::size_t count);
};

extern template class BlockDigest<MD5Algorithm>;
class MD5 final : public BlockDigest<MD5Algorithm> {};

}  // namespace keystrand
