#include <gtest/gtest.h>

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

TEST(LDAPMessage, ReadsWhatClientsAndServersSendAndWritesTheSame) {
  for (const Recorded& row : recordedMessages()) {
    LDAPMessage message;
    ASSERT_TRUE(decodeMessage(message, fromHex(row.hex))) << row.name;
    EXPECT_EQ(message.protocolOpTag(), row.tag) << row.name;
    EXPECT_EQ(encoded(message), fromHex(row.hex)) << row.name;
    LDAPMessage copy;
    copy.setMessageID(message.messageID());
    copy.setProtocolOp(*message.protocolOp());
    if (message.controls()) copy.setControls(*message.controls());
    EXPECT_EQ(encoded(copy), fromHex(row.hex)) << row.name;
  }
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
  ASSERT_TRUE(decodeMessage(message, response("65140A010A 0400 0400 830B 0409 6C6461703A2F2F612F")));
  EXPECT_EQ(message.protocolOpAs<SearchResultDone>()->referral()->texts(), std::vector<std::string>{"ldap://a/"});
  EXPECT_FALSE(decodeMessage(message, response("65140A010A 0400 0400 A30B 0409 6C6461703A2F2F612F")));
  EXPECT_FALSE(decodeMessage(message, fromHex("304d02010265480a010a04116f753d656c736577686572652c633d49540400a32e042c6c"
                                              "6461703a2f2f6f746865722e6578616d706c652f6f753d656c736577686572652c633d"
                                              "49543f3f62617365")))
      << "as slapd sends it";
}

TEST(LDAPMessage, RefusesMalformedMessages) {
  struct Row {
    const char* name;
    ByteString bytes;
  };
  const ByteString longList = element(0x30, fromHex("020102") + element(0x73, [] {
                                              ByteString uris;
                                              for (int i = 0; i < 1025; ++i) uris = std::move(uris) + fromHex("0400");
                                              return uris;
                                            }()));
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
    EXPECT_FALSE(decodeMessage(message, row.bytes)) << row.name;
  }
  LDAPMessage message;
  EXPECT_FALSE(decodeMessage(message, response("6a070a010004000400")));
  EXPECT_EQ(message.protocolOpTag(), 0xFF) << "an unknown operation leaves none";
}

TEST(LDAPMessage, NoPrefixOfAMessageIsOne) {
  for (const Recorded& row : recordedMessages()) {
    const ByteString whole = fromHex(row.hex);
    for (std::size_t n = 0; n < whole.size(); ++n) {
      LDAPMessage message;
      EXPECT_FALSE(decodeMessage(message, ByteString(whole.begin(), whole.begin() + static_cast<long>(n))))
          << row.name << ", " << n;
    }
  }
}

TEST(LDAPMessage, NullsReadAsNothingAndTextsEndAtTheirNUL) {
  LDAPMessage message;
  ASSERT_TRUE(decodeMessage(message, response("640f 0500 300b 3009 0403 414200 3102 0500")));
  const auto* entry = message.protocolOpAs<SearchResultEntry>();
  EXPECT_EQ(entry->objectName(), "");
  const PartialAttribute& only = entry->attributes().attributes().at(0);
  EXPECT_EQ(only.type(), "AB");
  EXPECT_EQ(only.vals().values(), std::vector<AttrValue>{{}});
  EXPECT_EQ(encoded(message), fromHex("30130201026 40e 0400 300a 3008 0402 4142 3102 0400"));
}

}  // namespace
}  // namespace keystrand::test
