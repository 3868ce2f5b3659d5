#include <gmock/gmock.h>
#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/err.h>

#include <memory>
#include <string>

#include "der/Values.h"
#include "keystrand/der/BigInteger.h"
#include "support/BuilderParts.h"

namespace keystrand::test {
namespace {

using Number = std::unique_ptr<BIGNUM, decltype(&BN_free)>;
using Integer = std::unique_ptr<ASN1_INTEGER, decltype(&ASN1_INTEGER_free)>;

Number decimal(const std::string& text) {
  BIGNUM* number = nullptr;
  BN_dec2bn(&number, text.c_str());
  return {number, BN_free};
}

ByteString encodedByOpenSSL(const Number& number) {
  const Integer integer(BN_to_ASN1_INTEGER(number.get(), nullptr), ASN1_INTEGER_free);
  return builder::encoded(integer.get(), i2d_ASN1_INTEGER);
}

// 2^n and its neighbours, of both signs: where a sign octet comes and goes.
std::vector<std::string> edgesOfEveryLength() {
  std::vector<std::string> texts;
  for (int bit = 0; bit < 530; bit = bit < 20 ? bit + 1 : bit * 2 - bit / 2 + 1)
    for (const int near : {-1, 0, 1})
      for (const int negative : {0, 1}) {
        const Number number(BN_new(), BN_free);
        BN_set_bit(number.get(), bit);
        near < 0 ? BN_sub_word(number.get(), 1) : BN_add_word(number.get(), static_cast<BN_ULONG>(near));
        BN_set_negative(number.get(), negative);
        const std::unique_ptr<char, void (*)(char*)> text(BN_bn2dec(number.get()), [](char* t) { OPENSSL_free(t); });
        texts.emplace_back(text.get());
      }
  return texts;
}

TEST(BigIntegerCoding, AgreesWithOpenSSL) {
  for (const std::string& text : edgesOfEveryLength()) {
    BigInteger value;
    ASSERT_TRUE(BigInteger::parse(text.c_str(), 10, value)) << text;
    const ByteString expected = encodedByOpenSSL(decimal(text));
    EXPECT_EQ(encode(value), expected) << text;
    BigInteger read;
    ASSERT_TRUE(decode(read, expected)) << text;
    EXPECT_EQ(read.text(10), text);
    EXPECT_TRUE(read == value) << text;
  }
}

// The reader is strict on purpose: a certificate with a surplus octet in any integer is unreadable.
TEST(BigIntegerCoding, RefusesWhatIsNoShortestForm) {
  struct Row {
    const char *name, *der;
    bool read;
    const char* value;
  };
  const Row rows[] = {
      {"one octet behind a zero", "02020001", false, ""},
      {"a needed zero octet", "02020080", true, "128"},
      {"two zero octets", "0203000080", false, ""},
      {"redundant FF", "0202FF80", false, ""},
      {"a needed FF", "0202FF7F", true, "-129"},
      {"-128 in one octet", "020180", true, "-128"},
      {"zero", "020100", true, "0"},
      {"minus one", "0201FF", true, "-1"},
      {"no octet at all", "0200 07", true, "0"},
      {"a length beyond the data", "020501020304", false, ""},
      {"a huge length", "0284FFFFFFFF01", false, ""},
      {"NULL", "0500", false, ""},
      {"another tag", "0A0101", false, ""},
      {"nothing", "", false, ""},
  };
  for (const Row& row : rows) {
    BigInteger value;
    EXPECT_EQ(decode(value, hex(row.der)), row.read) << row.name;
    if (row.read) {
      EXPECT_EQ(value.text(10), row.value) << row.name;
    }
  }
}

// What OpenSSL cannot hold is refused before it is asked, or its error would wait for whoever looks next.
TEST(BigIntegerCoding, RefusesWhatNoBIGNUMHolds) {
  const ByteString octets(80U << 20, 0x5A);
  Buffer buffer;
  buffer.putOctetString(octets.data(), static_cast<std::uint32_t>(octets.size()), 2);
  BigInteger value;
  EXPECT_FALSE(value.get(buffer));
  EXPECT_THROW(BigInteger{octets}, std::bad_alloc) << "and does not become zero";
  EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST(BigIntegerCoding, PadsOnlyWhatIsNotStripped) {
  BigInteger value(5);
  value.setPadding(2);
  EXPECT_EQ(encode(value), hex("020105"));
  value.setStripped(false);
  EXPECT_EQ(encode(value), hex("0203000005"));
  EXPECT_EQ(encode(BigInteger(value)), hex("0203000005"));
  BigInteger negative(-5);
  negative.setPadding(1);
  negative.setStripped(false);
  EXPECT_EQ(encode(negative), hex("0202FFFB"));
}

TEST(BigIntegerText, IsOpenSSLs) {
  struct Row {
    const char *der, *base16, *base10;
  };
  for (const Row& row : {Row{"020100", "0", "0"}, Row{"02010A", "0A", "10"}, Row{"0201FF", "-01", "-1"},
                         Row{"02030ABCDE", "0ABCDE", "703710"},
                         Row{"021100F0000000000000000000000000000001", "F0000000000000000000000000000001",
                             "319014718988379809496913694467282698241"}}) {
    BigInteger value;
    ASSERT_TRUE(decode(value, hex(row.der)));
    EXPECT_EQ(value.text(16), row.base16);
    EXPECT_EQ(taken(value.toText(10)), row.base10);
    EXPECT_EQ(value.toText(8), nullptr);
  }
}

TEST(BigIntegerText, ReadsWholeNumbersOnly) {
  BigInteger value(1);
  for (const char* bad : {"", "-", "12 ", " 12", "0x12", "1G", "+1", "--1"})
    EXPECT_FALSE(BigInteger::parse(bad, 16, value)) << bad;
  EXPECT_FALSE(BigInteger::parse("0A", 10, value));
  EXPECT_FALSE(BigInteger::parse("10", 8, value));
  EXPECT_FALSE(BigInteger::parse(nullptr, 16, value));
  EXPECT_EQ(value.text(10), "1");
  EXPECT_TRUE(BigInteger::parse("-00ff", 16, value));
  EXPECT_EQ(value.text(10), "-255");
}

TEST(BigIntegerValue, ComparesCopiesAndGivesItsMagnitude) {
  BigInteger big;
  ASSERT_TRUE(BigInteger::parse("0123456789ABCDEF01", 16, big));
  BigInteger copy(3);
  copy = big;
  EXPECT_TRUE(copy == big);
  EXPECT_GT(big.compare(BigInteger(-1)), 0);
  EXPECT_LT(BigInteger(-1).compare(BigInteger()), 0);
  EXPECT_GT(BigInteger().compare(BigInteger(-1)), 0);
  EXPECT_TRUE(BigInteger() == BigInteger(0));
  EXPECT_EQ(big.magnitudeLength(), 9U);
  ByteString magnitude(10, 0xAA);
  EXPECT_TRUE(big.magnitude(magnitude));
  EXPECT_EQ(magnitude, hex("000123456789ABCDEF01"));
  magnitude.resize(8);
  EXPECT_FALSE(big.magnitude(magnitude));
  EXPECT_TRUE(BigInteger(hex("00000123456789ABCDEF01")) == big);
  EXPECT_EQ(BigInteger(std::numeric_limits<std::int32_t>::min()).text(10), "-2147483648");
}

}  // namespace
}  // namespace keystrand::test
