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

Filter present(std::string_view attribute) {
  Filter filter;
  filter.setTag(Filter::kPresent);
  filter.setPresent(attribute);
  return filter;
}

Filter comparison(unsigned char tag) {
  Filter filter;
  filter.setTag(tag);
  filter.setAssertion({"cn", {'x', 'y'}});
  return filter;
}

Filter pieces(const char* initial, const std::vector<const char*>& any, const char* final) {
  SubstringFilter substrings("cn");
  if (initial != nullptr) substrings.setInitial(initial);
  for (const char* piece : any) substrings.addAny(piece);
  if (final != nullptr) substrings.setFinal(final);
  Filter filter;
  filter.setTag(Filter::kSubstrings);
  filter.setSubstrings(substrings);
  return filter;
}

Filter setOf(unsigned char tag, const std::vector<Filter>& members) {
  FilterSet set;
  for (const Filter& member : members) set.add(member);
  Filter filter;
  filter.setTag(tag);
  filter.setSet(set);
  return filter;
}

Filter notOf(const Filter& member) {
  Filter filter;
  filter.setTag(Filter::kNot);
  filter.setNot(member);
  return filter;
}

Filter extensible() {
  MatchingRuleAssertion rule;
  rule.setMatchingRule("caseExactMatch");
  rule.setType("cn");
  rule.setMatchValue({'O', 'l', 'd'});
  rule.setDnAttributes(0xFF);
  Filter filter;
  filter.setTag(Filter::kExtensibleMatch);
  filter.setExtensibleMatch(rule);
  return filter;
}

// So many filters in one another, the innermost a present filter.
Filter nested(int levels) {
  Filter filter = present("a");
  for (int i = 1; i < levels; ++i) filter = notOf(filter);
  return filter;
}

TEST(Filter, TextFormsAndEncodings) {
  struct Row {
    Filter filter;
    const char* text;
    const char* hex;
  };
  const Filter mismatched = [] {
    Filter filter = present("cn");
    filter.setTag(Filter::kEqualityMatch);
    return filter;
  }();
  for (const Row& row : {
           Row{present("objectclass"), "( objectclass=* )", "870b6f626a656374636c617373"},
           Row{comparison(Filter::kEqualityMatch), "( cn = xy)", "a3080402636e04027879"},
           Row{comparison(Filter::kGreaterOrEqual), "( cn >= xy)", "a5080402636e04027879"},
           Row{comparison(Filter::kLessOrEqual), "( cn <= xy)", "a6080402636e04027879"},
           Row{comparison(Filter::kApproxMatch), "( cn ~= xy)", "a8080402636e04027879"},
           Row{pieces("a", {"b"}, "c"), "( cn = a*b*c)", "a40f0402636e3009800161810162820163"},
           Row{pieces(nullptr, {"x"}, nullptr), "( cn = *x*)", "a4090402636e3003810178"},
           Row{pieces("a", {}, nullptr), "( cn = a*)", "a4090402636e3003800161"},
           Row{setOf(Filter::kAnd, {present("a"), notOf(present("b"))}), "( &( a=* )( !( b=* )))",
               "a008870161a203870162"},
           Row{setOf(Filter::kOr, {present("a"), present("b")}), "( |( a=* )( b=* ))", "a106870161870162"},
           Row{extensible(), kNoText, "a91c810e6361736545786163744d617463688202636e83034f6c648401ff"},
           Row{setOf(Filter::kAnd, {present("a"), extensible()}), kNoText,
               "a021870161a91c810e6361736545786163744d617463688202636e83034f6c648401ff"},
           Row{mismatched, kNoText, "a302636e"},
           Row{Filter(), kNoText, ""},
       }) {
    EXPECT_EQ(textOf(row.filter), row.text);
    EXPECT_EQ(encoded(row.filter), fromHex(row.hex)) << row.text;
    Filter reread;
    const bool readable = row.filter.tag() != Filter::kNone && row.hex != std::string("a302636e");
    ASSERT_EQ(decodeFilter(reread, fromHex(row.hex)), readable) << row.hex;
    EXPECT_EQ(readable ? textOf(reread) : row.text, row.text) << row.hex;
  }
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
  for (const int levels : {1, 2, 64, 65, 200}) {
    const Filter filter = nested(levels);
    const ByteString bytes = encoded(filter);
    Filter reread;
    EXPECT_EQ(filter.toString().has_value(), levels <= 64) << levels;
    EXPECT_EQ(decodeFilter(reread, bytes), levels <= 64) << levels;
  }
  ByteString deep = fromHex("870161");
  for (int i = 0; i < 5000; ++i) deep = element(i % 2 == 0 ? 0xA2 : 0xA0, deep);
  Filter filter;
  EXPECT_FALSE(decodeFilter(filter, deep));
  for (const std::size_t number : {1023U, 1024U}) {
    const Filter wide = setOf(Filter::kAnd, std::vector<Filter>(number, present("")));
    EXPECT_EQ(decodeFilter(filter, encoded(wide)), number < 1024) << number;
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
