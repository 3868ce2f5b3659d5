#include <gtest/gtest.h>

#include <tuple>

#include "keystrand/pkix/GeneralName.h"
#include "pkix/OpenSSLOracle.h"
#include "support/Builders.h"
#include "support/Coding.h"

namespace keystrand::test {
namespace {

TEST(GeneralName, ReadsEveryChoice) {
  const ByteString names = madeByOpenSSL(
      {"subjectAltName", "@names",
       "[names]\notherName=1.3.6.1.4.1.311.20.2.3;UTF8:user@example.org\nemail=a@example.org\nDNS=example.org\n"
       "dirName=directory\nURI=http://example.org/a?b=c\nIP=192.0.2.7\nRID=1.2.3.4\n[directory]\nC=IT\nCN=Somebody\n"});
  GeneralNameList list;
  ASSERT_TRUE(decode(list, names));
  ASSERT_EQ(list.count(), 7);
  EXPECT_EQ(encode(list), names);

  const std::unique_ptr<OtherName> other(list.view(0)->otherName());
  EXPECT_EQ(taken(other->upnView()->toText()), "user@example.org");
  EXPECT_EQ(list.view(1)->textView(), "a@example.org");
  EXPECT_EQ(list.view(2)->textView(), "example.org");
  EXPECT_EQ(list.view(3)->directoryNameView()->text(), "C=IT,CN=Somebody");
  EXPECT_EQ(list.view(4)->textView(), "http://example.org/a?b=c");
  const std::unique_ptr<unsigned char[]> address(list.view(5)->ipAddress());
  EXPECT_EQ(ByteString(address.get(), address.get() + list.view(5)->ipAddressLength()), fromHex("C0000207"));
  EXPECT_EQ(taken(list.view(6)->registeredIDText()), "1.2.3.4");
  constexpr unsigned char kTags[] = {0xA0, 0x81, 0x82, 0xA4, 0x86, 0x87, 0x88};
  for (int i = 0; i < list.count(); ++i) EXPECT_EQ(list.view(i)->tag(), kTags[i]);
}

TEST(GeneralName, EncodesURIs) {
  using Row = std::pair<const char*, const char*>;
  for (const auto& [given, stored] :
       {Row{"http://example.org/a b", "http://example.org/a%20b"},
        Row{"ldap://h/cn=CA,c=IT?x", "ldap://h/cn%3DCA,c%3DIT?x"}, Row{"already%20encoded", "already%2520encoded"},
        Row{"a\nb", "a%Ab"},  // no padding: one digit below 0x10
        Row{"\xC3\xA8", "%C3%A8"}, Row{"!$&'()*+,-./:;?_@09azAZ", "!$&'()*+,-./:;?_@09azAZ"},
        Row{"~#[]\"", "%7E%23%5B%5D%22"}, Row{"", ""}}) {
    GeneralName name;
    name.setURI(given);
    EXPECT_EQ(taken(name.text()), stored);
  }
}

TEST(GeneralName, SetterReplacesTheFormerChoice) {
  GeneralName name;
  name.setRegisteredID("1.2.3");
  name.setIPAddress(nullptr, 0);
  name.setDNSName("example.org");
  EXPECT_EQ(encode(name), fromHex("820B 6578616D706C652E6F7267"));
  EXPECT_EQ(taken(name.registeredIDText()), "(null)");
  EXPECT_TRUE(encode(GeneralName()).empty());
}

// A name of an unknown choice is no failure by itself; only a list knows how to go on behind it.
TEST(GeneralName, LeavesAnUnknownChoiceUnread) {
  Buffer buffer;
  const ByteString unknown = fromHex("0C0141");
  buffer.assign(unknown.data(), 3);
  GeneralName name;
  EXPECT_TRUE(name.get(buffer));
  EXPECT_EQ(buffer.readPosition(), 0U);
  EXPECT_TRUE(encode(name).empty());
}

TEST(GeneralNameList, StaysWithinItsBytes) {
  const std::string uri = "8603613A62";
  using Row = std::tuple<const char*, std::string, bool, int>;
  const std::string unknownOther = "A00A 06032A0304 A0030C0141";  // a value of an unknown type
  for (const auto& [name, encoding, ok, count] : {
           Row{"empty", "3000", true, 0},
           Row{"an unknown choice is passed over", "3008 0C0141" + uri, true, 1},
           Row{"NULL is an unknown choice", "3007 0500" + uri, true, 1},
           Row{"an unknown choice longer than the data", "3002 0C05", false, 0},
           Row{"an unknown choice that claims four gigabytes", "3006 0C84FFFFFFFF", false, 0},
           Row{"a list longer than the data", "3084FFFFFFFF" + uri, false, 0},
           Row{"a text longer than the data", "3006 8684FFFFFFFF", false, 0},
           Row{"the value of an unknown otherName is passed over", "3011" + unknownOther + uri, true, 2},
           Row{"an otherName without its value", "3007 A005 06032A0304", false, 0},
           Row{"a user principal name of nothing", "3010 A00E 060A2B060104018237140203 A000", false, 0},
           Row{"a value that leaves its otherName", "3013 A011 060A2B060104018237140203 A0030C0541", false, 0},
           Row{"a globally unique identifier in a segment", "3015 A013 06092B060104018237 1901 A006 2404 0402AABB",
               true, 1},
           Row{"one that claims more than its otherName", "3018 A011 06092B060104018237 1901 A004 2407 0400" + uri,
               false, 0},
           Row{"a directory name that leaves its tag", "3008 A402 3004 31020000", false, 0},
           Row{"a directory name of nothing", "3002 A400", false, 0},
           Row{"an EDI name without a party", "3004 A502 8000", false, 0},
           Row{"an EDI name", "3008 A506 800141 810142", true, 1},
           Row{"a registered identifier that does not end", "3003 880181", false, 0},
       }) {
    GeneralNameList list;
    EXPECT_EQ(decode(list, fromHex(encoding)), ok) << name;
    EXPECT_EQ(list.count(), count) << name;
    encode(list);
  }
}

TEST(GeneralNameList, ReadsAMillionUnknownChoicesAtOnce) {
  ByteString encoding = fromHex("30831E8480");
  for (int i = 0; i < 1'000'000; ++i) encoding.insert(encoding.end(), {0x01, 0x00});
  GeneralNameList list;
  EXPECT_TRUE(decode(list, encoding));
  EXPECT_EQ(list.count(), 0);
}

// What a C text cannot hold is cut, so that size and put agree.
TEST(GeneralName, CutsATextAtItsNul) {
  GeneralName name;
  ASSERT_TRUE(decode(name, fromHex("8605 6162006364")));
  EXPECT_EQ(taken(name.text()), "ab");
  EXPECT_EQ(encode(name), fromHex("8602 6162"));
}

}  // namespace
}  // namespace keystrand::test
