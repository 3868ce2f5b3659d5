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

// A number with its sign, its texts and its coding, all of OpenSSL.
struct Expected {
  std::string decimal, hexadecimal;
  ByteString der;
};

template <class Print>
std::string printed(Print print, const BIGNUM* number) {
  const std::unique_ptr<char, void (*)(char*)> text(print(number), [](char* t) { OPENSSL_free(t); });
  return text.get();
}

// 2^n and its neighbours, of both signs: where a sign octet comes and goes.
std::vector<Expected> edgesOfEveryLength() {
  std::vector<Expected> all;
  for (int bit = 0; bit < 530; bit = bit < 20 ? bit + 1 : bit * 2 - bit / 2 + 1)
    for (const int near : {-1, 0, 1})
      for (const int negative : {0, 1}) {
        const builder::BigNumber number(BN_new());
        BN_set_bit(number.get(), bit);
        near < 0 ? BN_sub_word(number.get(), 1) : BN_add_word(number.get(), static_cast<BN_ULONG>(near));
        BN_set_negative(number.get(), negative);
        const builder::IntegerHandle integer(BN_to_ASN1_INTEGER(number.get(), nullptr));
        all.push_back({printed(BN_bn2dec, number.get()), printed(BN_bn2hex, number.get()),
                       builder::encoded(integer.get(), i2d_ASN1_INTEGER)});
      }
  return all;
}

TEST(BigIntegerCoding, AgreesWithOpenSSL) {
  for (const Expected& expected : edgesOfEveryLength()) {
    SCOPED_TRACE(expected.decimal);
    BigInteger value, read, fromHexadecimal;
    ASSERT_TRUE(BigInteger::parse(expected.decimal.c_str(), 10, value));
    EXPECT_EQ(encode(value), expected.der);
    ASSERT_TRUE(decode(read, expected.der));
    EXPECT_EQ(read.text(10), expected.decimal);
    EXPECT_EQ(taken(read.toText(16)), expected.hexadecimal);
    EXPECT_TRUE(BigInteger::parse(expected.hexadecimal.c_str(), 16, fromHexadecimal) && fromHexadecimal == read);
    EXPECT_EQ(read.toText(8), nullptr);
  }
}

// The reader is strict on purpose: a certificate with a surplus octet in any integer is unreadable.
TEST(BigIntegerCoding, RefusesWhatIsNoShortestForm) {
  struct Row {
    const char *name, *der;
    bool read;
    const char* value = "";
  };
  for (const Row& row :
       {Row{"one octet behind a zero", "02020001", false}, Row{"a needed zero octet", "02020080", true, "128"},
        Row{"two zero octets", "0203000080", false}, Row{"redundant FF", "0202FF80", false},
        Row{"a needed FF", "0202FF7F", true, "-129"}, Row{"-128 in one octet", "020180", true, "-128"},
        Row{"no octet at all", "0200 07", true, "0"}, Row{"a length beyond the data", "020501020304", false},
        Row{"a huge length", "0284FFFFFFFF01", false}, Row{"NULL", "0500", false}, Row{"another tag", "0A0101", false},
        Row{"nothing", "", false}}) {
    BigInteger value;
    EXPECT_EQ(decode(value, hex(row.der)), row.read) << row.name;
    EXPECT_TRUE(!row.read || value.text(10) == row.value) << row.name;
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
