#include <gtest/gtest.h>

#include "ldap/Filter.h"
#include "ldap/Messages.h"
#include "ldap/SearchRequest.h"
#include "support/Der.h"

namespace keystrand::test {
namespace {

constexpr const char* kNoText = "(none)";

std::string textOf(const Filter& filter) {
  return filter.toString().value_or(kNoText);
}

bool decodeFilter(Filter& filter, const ByteString& bytes) {
  Buffer buffer;
  buffer.assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  return filter.decode(buffer);
}

TEST(Filter, TextFormsAndEncodings) {
  struct Row {
    const char *text, *hex;
  };
  for (const Row& row :
       {Row{"( objectclass=* )", "870b6f626a656374636c617373"}, Row{"( cn = xy)", "a3080402636e04027879"},
        Row{"( cn >= xy)", "a5080402636e04027879"}, Row{"( cn <= xy)", "a6080402636e04027879"},
        Row{"( cn ~= xy)", "a8080402636e04027879"}, Row{"( cn = a*b*c)", "a40f0402636e3009800161810162820163"},
        Row{"( cn = *x*)", "a4090402636e3003810178"}, Row{"( cn = a*)", "a4090402636e3003800161"},
        Row{"( &( a=* )( !( b=* )))", "a008870161a203870162"}, Row{"( |( a=* )( b=* ))", "a106870161870162"},
        Row{kNoText, "a91c810e6361736545786163744d617463688202636e83034f6c648401ff"},
        Row{kNoText, "a021870161a91c810e6361736545786163744d617463688202636e83034f6c648401ff"}}) {
    Filter filter;
    ASSERT_TRUE(decodeFilter(filter, fromHex(row.hex))) << row.text;
    EXPECT_EQ(textOf(filter), row.text);
    EXPECT_EQ(encoded(filter), fromHex(row.hex)) << row.text;
  }
  Filter filter;
  EXPECT_EQ(textOf(filter), kNoText);
  EXPECT_TRUE(encoded(filter).empty());
  filter.setTag(Filter::kPresent);
  filter.setPresent("cn");
  filter.setTag(Filter::kEqualityMatch);  // which the value does not follow
  EXPECT_EQ(textOf(filter), kNoText);
  EXPECT_EQ(encoded(filter), fromHex("a302636e"));
  EXPECT_FALSE(decodeFilter(filter, fromHex("a302636e")));
}

TEST(Filter, ReadsWhatAClientSends) {
  LDAPMessage message;
  ASSERT_TRUE(decodeMessage(message, fromHex(kEveryFilter)));
  EXPECT_EQ(message.protocolOpAs<SearchRequest>()->filter().toString(), std::nullopt) << "one is an extensible match";
  Filter first;
  ASSERT_TRUE(decodeFilter(first, fromHex("a127a3090402636e04034f6c64a40f0402636e3009800161810162820163a4090402636e3003"
                                          "810178")));
  EXPECT_EQ(textOf(first), "( |( cn = Old)( cn = a*b*c)( cn = *x*))");
}

TEST(Filter, NestingAndNumberAreBounded) {
  ByteString bytes = fromHex("870161");
  Filter made;
  made.setTag(Filter::kPresent);
  made.setPresent("a");
  for (int levels = 1; levels <= 70; ++levels) {
    Filter read;
    EXPECT_EQ(decodeFilter(read, bytes), levels <= 64) << levels;
    EXPECT_EQ(made.toString().has_value(), levels <= 64) << levels;
    bytes = element(0xA2, bytes);
    Filter outer;
    outer.setTag(Filter::kNot);
    outer.setNot(made);
    made = outer;
  }
  for (int i = 0; i < 5000; ++i) bytes = element(i % 2 == 0 ? 0xA2 : 0xA0, bytes);
  Filter filter;
  EXPECT_FALSE(decodeFilter(filter, bytes));
  for (const std::size_t number : {1023U, 1024U}) {
    ByteString members;
    for (std::size_t i = 0; i < number; ++i) members = std::move(members) + fromHex("8700");
    EXPECT_EQ(decodeFilter(filter, element(0xA0, members)), number < 1024) << number;
  }
}

TEST(Filter, RefusesMalformedFilters) {
  for (const char* hex :
       {"", "810161", "aa00", "ff00", "a200", "a206870161870162", "a3040402636e", "a30a0402636e040278790500",
        "a4040402636e", "a40f0402636e3009820161810162800163", "a0028701", "a003 870261"}) {
    Filter filter;
    EXPECT_FALSE(decodeFilter(filter, fromHex(hex))) << hex;
  }
}

}  // namespace
}  // namespace keystrand::test
