// Messages, filters and the query part of URLs: what is read, written and refused.
#include <gtest/gtest.h>

#include "ldap/Filter.h"
#include "ldap/LDAPQuery.h"
#include "ldap/Messages.h"
#include "ldap/Responses.h"
#include "ldap/SearchRequest.h"
#include "ldap/SearchResult.h"
#include "support/Der.h"

namespace keystrand::test {
namespace {

// A response in an envelope with message ID 2.
ByteString response(const std::string& hexOfBody) {
  return element(0x30, fromHex("020102") + fromHex(hexOfBody));
}

// Requests of OpenLDAP's command-line clients and answers of slapd, recorded on the wire, one of each operation.
TEST(LDAPMessage, ReadsWhatClientsAndServersSendAndWritesTheSame) {
  int count = 0;
  for (const auto& file : std::filesystem::directory_iterator(treeData() / "fuzz/ldap_message")) {
    SCOPED_TRACE(file.path());
    ByteString bytes = readFile(file.path());
    constexpr unsigned char kIsMessage = 0;  // otherwise the file is one for other readers
    if (bytes.front() != kIsMessage || file.path().filename() == "indefinite") continue;
    bytes.erase(bytes.begin());
    LDAPMessage message;
    ASSERT_TRUE(decoded(message, bytes));
    EXPECT_EQ(message.protocolOpTag(), children(bytes).at(1).front());
    EXPECT_EQ(encoded(message), bytes);
    LDAPMessage copy;
    copy.setMessageID(message.messageID());
    copy.setProtocolOp(*message.protocolOp());
    if (message.controls()) copy.setControls(*message.controls());
    EXPECT_EQ(encoded(copy), bytes);
    for (std::size_t n = 0; n < bytes.size(); ++n)
      EXPECT_FALSE(decoded(message, ByteString(bytes.begin(), bytes.begin() + static_cast<long>(n)))) << n;
    ++count;
  }
  EXPECT_GE(count, 29);
}

// The referral of stored messages is primitive; that of the standard is no answer here, though every server sends it.
TEST(LDAPMessage, ReferralIsReadUnderThePrimitiveTagOnly) {
  SearchResultDone done;
  done.setResultCode(10);
  URLList urls;
  urls.add("ldap://a/");
  done.setReferral(urls);
  EXPECT_EQ(encoded(done), fromHex("65140A010A 0400 0400 830B 0409 6C6461703A2F2F612F"));
  LDAPMessage message;
  ASSERT_TRUE(decoded(message, response("65140A010A 0400 0400 830B 0409 6C6461703A2F2F612F")));
  EXPECT_EQ(message.protocolOpAs<SearchResultDone>()->referral()->texts(), std::vector<std::string>{"ldap://a/"});
  EXPECT_FALSE(decoded(message, response("65140A010A 0400 0400 A30B 0409 6C6461703A2F2F612F")));
  EXPECT_FALSE(decoded(message, fromHex("304d02010265480a010a04116f753d656c736577686572652c633d49540400a32e042c6c"
                                        "6461703a2f2f6f746865722e6578616d706c652f6f753d656c736577686572652c633d"
                                        "49543f3f62617365")))
      << "as slapd sends it";
}

TEST(LDAPMessage, RefusesMalformedMessages) {
  struct Row {
    const char* name;
    ByteString bytes;
  };
  const ByteString uris = withChildren(0x73, std::vector<ByteString>(1025, fromHex("0400")));
  const ByteString longList = element(0x30, fromHex("020102") + uris);
  for (const Row& row :
       {Row{"nothing", {}}, Row{"another element", fromHex("310c02010161070a010004000400")},
        Row{"indefinite length", fromHex("308002010161070a0100040004000000")},
        Row{"longer than the data", fromHex("300d02010161070a010004000400")},
        Row{"no message ID", fromHex("300761050a0100040004")},
        Row{"empty message ID", fromHex("300b020061070a010004000400")},
        Row{"message ID of five octets", fromHex("301002050000000001 61070a010004000400")},
        Row{"no operation", fromHex("3003020101")}, Row{"unknown operation", response("6a070a010004000400")},
        Row{"operation of the wrong form", response("41070a010004000400")},
        Row{"two operations", response("61070a01000400040065070a010004000400")},
        Row{"controls under another tag", response("4200a1020500")},
        Row{"a text behind the end", response("61070a010004000405")},
        Row{"result of two octets", response("61080a02010004000400")},
        Row{"element behind the result", response("61090a0100040004000500")},
        Row{"unbind with content", response("42020500")},
        Row{"entry: values outside their attribute", response("640b 0400 3005 3003 0401 41 3100")},
        Row{"entry: attribute is a SET", response("640b 0400 3007 3105 0401 41 3100")},
        Row{"more elements than any server lists", longList}}) {
    LDAPMessage message;
    EXPECT_FALSE(decoded(message, row.bytes)) << row.name;
  }
  LDAPMessage message;
  EXPECT_FALSE(decoded(message, response("6a070a010004000400")));
  EXPECT_EQ(message.protocolOpTag(), 0xFF) << "an unknown operation leaves none";
}

TEST(LDAPMessage, NullsReadAsNothingAndTextsEndAtTheirNUL) {
  LDAPMessage message;
  ASSERT_TRUE(decoded(message, response("640f 0500 300b 3009 0403 414200 3102 0500")));
  const auto* entry = message.protocolOpAs<SearchResultEntry>();
  EXPECT_EQ(entry->objectName(), "");
  const PartialAttribute& only = entry->attributes().attributes().at(0);
  EXPECT_EQ(only.type(), "AB");
  EXPECT_EQ(only.vals().values(), std::vector<AttrValue>{{}});
  EXPECT_EQ(encoded(message), fromHex("30130201026 40e 0400 300a 3008 0402 4142 3102 0400"));
}

constexpr const char* kNoText = "(none)";

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
    ASSERT_TRUE(decoded(filter, fromHex(row.hex))) << row.text;
    EXPECT_EQ(filter.toString().value_or(kNoText), row.text);
    EXPECT_EQ(encoded(filter), fromHex(row.hex)) << row.text;
  }
  Filter filter;
  EXPECT_EQ(filter.toString().value_or(kNoText), kNoText);
  EXPECT_TRUE(encoded(filter).empty());
  filter.setTag(Filter::kPresent);
  filter.setPresent("cn");
  filter.setTag(Filter::kEqualityMatch);  // which the value does not follow
  EXPECT_EQ(filter.toString().value_or(kNoText), kNoText);
  EXPECT_EQ(encoded(filter), fromHex("a302636e"));
  EXPECT_FALSE(decoded(filter, fromHex("a302636e")));
}

TEST(Filter, NestingAndNumberAreBounded) {
  ByteString bytes = fromHex("870161");
  Filter made;
  made.setTag(Filter::kPresent);
  made.setPresent("a");
  for (int levels = 1; levels <= 70; ++levels) {
    Filter read;
    EXPECT_EQ(decoded(read, bytes), levels <= 64) << levels;
    EXPECT_EQ(made.toString().has_value(), levels <= 64) << levels;
    bytes = element(0xA2, bytes);
    Filter outer;
    outer.setTag(Filter::kNot);
    outer.setNot(made);
    made = outer;
  }
  for (int i = 0; i < 5000; ++i) bytes = element(i % 2 == 0 ? 0xA2 : 0xA0, bytes);
  Filter filter;
  EXPECT_FALSE(decoded(filter, bytes));
  for (const std::size_t number : {1023U, 1024U}) {
    const std::vector<ByteString> members(number, fromHex("8700"));
    EXPECT_EQ(decoded(filter, withChildren(0xA0, members)), number < 1024) << number;
  }
}

TEST(Filter, RefusesMalformedFilters) {
  for (const char* hex :
       {"", "810161", "aa00", "ff00", "a200", "a206870161870162", "a3040402636e", "a30a0402636e040278790500",
        "a4040402636e", "a40f0402636e3009820161810162800163", "a0028701", "a003 870261"}) {
    Filter filter;
    EXPECT_FALSE(decoded(filter, fromHex(hex))) << hex;
  }
}

TEST(LDAPQuery, TakesTheTextApart) {
  constexpr const char* kAny = "( objectclass=* )";
  struct Row {
    const char *text, *attribute, *name;
    bool binary;
    int scope;
    const char* filter;
  };
  for (const Row& row : {
           Row{"certificateRevocationList", "certificateRevocationList", "certificateRevocationList", false, 0, kAny},
           Row{"certificateRevocationList;binary", "certificateRevocationList;binary", "certificateRevocationList",
               true, 0, kAny},
           Row{"crl;lang-it;binary?sub", "crl;lang-it;binary", "crl", true, 2, kAny},
           Row{"crl?base", "crl", "crl", false, 0, kAny},
           Row{"crl?ONE", "crl", "crl", false, 1, kAny},
           Row{"crl?onelevel", "crl", "crl", false, 1, kAny},
           Row{"crl?Subtree?", "crl", "crl", false, 2, kAny},
           Row{"crl?children", "crl", "crl", false, 0, kAny},
           Row{"crl?su", "crl", "crl", false, 0, kAny},
           Row{"crl??cn=CA", "crl", "crl", false, 0, "( cn = CA)"},
           Row{"crl?sub?(cn=CA)", "crl", "crl", false, 2, "( cn = CA)"},
           Row{"crl?sub?(cn=CA=1)", "crl", "crl", false, 2, "( cn = CA=1)"},
           Row{"crl?sub?(cn=CA", "crl", "crl", false, 2, "( (cn = CA)"},
           Row{"crl?sub?cn=*", "crl", "crl", false, 2, kAny},
           Row{"crl?sub?(objectClass=*)", "crl", "crl", false, 2, kAny},
           Row{"crl?sub?cn=", "crl", "crl", false, 2, "( cn = )"},
           Row{"crl?sub?cn", "crl", "crl", false, 2, kAny},
           Row{"crl?sub?(", "crl", "crl", false, 2, kAny},
           Row{"crl?sub?cn=a;binary", "crl", "crl", true, 2, "( cn = a;binary)"},
           Row{"", "", "", false, 0, kAny},
           Row{"??", "", "", false, 0, kAny},
       }) {
    const LDAPQuery query = parseLDAPQuery(row.text);
    EXPECT_EQ(query.attribute, row.attribute) << row.text;
    EXPECT_EQ(query.name, row.name) << row.text;
    EXPECT_EQ(query.binary, row.binary) << row.text;
    EXPECT_EQ(query.scope, row.scope) << row.text;
    EXPECT_EQ(query.filter.toString(), row.filter) << row.text;
  }
  EXPECT_EQ(withoutBinary("crl;binary"), "crl");
  EXPECT_EQ(withoutBinary("crl;lang-it"), "crl;lang-it");
}

}  // namespace
}  // namespace keystrand::test
