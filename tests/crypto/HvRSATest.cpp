// The public operation of RSA, the two encodings over it, and the keys that it refuses.
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <p11-kit/pkcs11.h>

#include <tuple>

#include "crypto/Coding.h"
#include "crypto/Digests.h"
#include "crypto/EMSA.h"
#include "crypto/hvRSA.h"
#include "keystrand/crypto/RSAPublicKey.h"

namespace keystrand::test {
namespace {

TEST(PSS, RefusesBlocksThatCannotHoldTheEncoding) {
  const auto hash = makeDigest(CKM_SHA256);
  const ByteString digest(32);
  for (const int bits : {-1, 0, 1, 2, 8, 9, 500, 528}) {
    ByteString block(static_cast<std::size_t>(std::max(bits, 0) + 7) / 8, 0xBC);
    EXPECT_FALSE(isPSSEncoded(block, bits, digest, *hash)) << bits;
  }
  EXPECT_FALSE(isPSSEncoded(ByteString(64, 0xBC), 1024, digest, *hash)) << "a block shorter than the modulus";
  EXPECT_FALSE(isPSSEncoded(ByteString(128, 0xBC), 1024, ByteString(20), *hash)) << "a digest of another hash";
}

TEST(RSA, RefusesKeysAndBlocksThatAreNotAcceptable) {
  const auto number = [](std::size_t octets, unsigned char first, unsigned char last) {
    ByteString bytes(octets, 0xA5);
    bytes.front() = first;
    bytes.back() = last;
    return BigInteger(bytes);
  };
  const BigInteger f4(65537);
  BigInteger negative;
  ASSERT_TRUE(BigInteger::parse("-65537", 10, negative));
  using Row = std::tuple<const char*, BigInteger, BigInteger, bool>;
  for (const auto& [name, n, e, ok] : {
           Row{"plain", number(256, 0x80, 1), f4, true},
           Row{"16,384 bits", number(2048, 0x80, 1), f4, true},
           Row{"16,385 bits", number(2049, 0x01, 1), f4, false},
           Row{"3,072 bits, exponent as long", number(384, 0x80, 1), number(384, 0x7F, 1), true},
           Row{"3,080 bits, exponent of 64 bits", number(385, 0x80, 1), number(8, 0x80, 1), true},
           Row{"3,080 bits, exponent of 65 bits", number(385, 0x80, 1), number(9, 0x01, 1), false},
           Row{"exponent longer than the modulus", number(128, 0x80, 1), number(129, 0x01, 1), false},
           Row{"even modulus", number(256, 0x80, 2), f4, false},
           Row{"modulus zero", BigInteger(), f4, false},
           Row{"modulus one", BigInteger(1), f4, false},
           Row{"negative modulus", negative, f4, false},
           Row{"exponent zero", number(256, 0x80, 1), BigInteger(), false},
           Row{"exponent one", number(256, 0x80, 1), BigInteger(1), false},
           Row{"negative exponent", number(256, 0x80, 1), negative, false},
       }) {
    const RSAPublicKey key(n, e);
    ByteString block(n.magnitudeLength());
    if (!block.empty()) block.back() = 2;
    ERR_clear_error();
    const auto result = hvRSA::publicOperation(key, block);
    EXPECT_EQ(result.has_value(), ok) << name;
    if (result) {
      EXPECT_EQ(result->size(), block.size()) << name;
    }
    EXPECT_EQ(ERR_peek_error(), 0UL) << name;
  }
  const RSAPublicKey key(number(128, 0x80, 1), f4);
  ByteString modulus(128);
  key.modulus().magnitude(modulus);
  EXPECT_FALSE(hvRSA::publicOperation(key, modulus)) << "the representative is the modulus";
  EXPECT_FALSE(hvRSA::publicOperation(key, ByteString(128, 0xFF))) << "the representative is larger";
  EXPECT_FALSE(hvRSA::publicOperation(key, ByteString(127))) << "shorter than the modulus";
  EXPECT_FALSE(hvRSA::publicOperation(key, ByteString(129))) << "longer than the modulus";
}

TEST(RSA, AcceptsOnePaddingOnly) {
  using Row = std::tuple<const char*, const char*, bool>;
  for (const auto& [name, block, ok] :
       {Row{"eight fill octets", "0001FFFFFFFFFFFFFFFF003000AA", true},
        Row{"nine", "0001FFFFFFFFFFFFFFFFFF003000AA", true}, Row{"seven", "0001FFFFFFFFFFFFFF003000AA", false},
        Row{"block type 2", "0002FFFFFFFFFFFFFFFF003000AA", false},
        Row{"block type 0", "00000000000000000000003000AA", false},
        Row{"first octet", "0101FFFFFFFFFFFFFFFF003000AA", false},
        Row{"another fill", "0001FFFFFFFEFFFFFFFF003000AA", false},
        Row{"no separator", "0001FFFFFFFFFFFFFFFFFF", false}, Row{"another", "0001FFFFFFFFFFFFFFFFFF3000AA", false},
        Row{"something behind", "0001FFFFFFFFFFFFFFFF003000AA00", false},
        Row{"other data", "0001FFFFFFFFFFFFFFFF003000AB", false}, Row{"nothing", "", false}}) {
    const ByteString padded = fromHex(block);
    const auto held = hvRSA::withoutPadding(padded);
    EXPECT_EQ(held && std::ranges::equal(*held, fromHex("3000AA")), ok) << name;
  }
}

}  // namespace
}  // namespace keystrand::test
