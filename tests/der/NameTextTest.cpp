#include <gmock/gmock.h>

#include <tuple>

#include "der/Values.h"

namespace keystrand::test {
namespace {

std::string commaText(const ByteString& der) {
  Name name;
  EXPECT_TRUE(decode(name, der));
  EXPECT_EQ(taken(name.toText(kAttributeIdentifiers.data(), kAttributeLabels.data(), kAttributeCount)), name.text());
  return name.text();
}

// --- text out ----------------------------------------------------------------------------------------------

TEST(NameText, HasTheFirstLabelOfEachType) {
  using Row = std::pair<const char*, const char*>;
  for (const auto& [written, text] :
       {Row{"C=IT,ST=RM,DC=it,SN=Rossi,serialNumber=1,E=a@b.it", "C=IT,PROV=RM,DOM=it,SUR=Rossi,SER=1,EMAL=a@b.it"},
        Row{"givenName=A,dnQualifier=1,pseudonym=P,description=D,title=T",
            "GIVEN=A,DNQUALIF=1,PSEUD=P,DESCR=D,TITLE=T"},
        Row{"organizationIdentifier=VATIT-1,L=Roma,OU=U,CN=X", "ORGID=VATIT-1,L=Roma,OU=U,CN=X"},
        Row{"O=A\\,B\\+C,CN=X+SER=1", "O=A\\,B\\+C,CN=X+SER=1"},
        Row{"1.2.3=a\\,b,CN=X", "?\?=a,b,CN=X"}})  // nothing is escaped behind an unknown label
    EXPECT_EQ(nameOf(written)->text(), text);
}

TEST(NameText, OfNamesThatStrangersMake) {
  using Row = std::tuple<const char*, const char*, const char*>;
  const Row rows[] = {
      {"empty", "3000", ""},
      {"an empty RDN", "30023100", ""},
      {"an empty RDN between", "301C 310B 3009 0603550406 13024954 3100 310B 3009 0603550403 13025859", "C=IT,CN=XY"},
      {"a BIT STRING", "300D 310B 3009 060355042D 030200A0", "?\?=#a0"},
      {"a NumericString", "300C 310A 3008 0603550405 120131", "SER=#120131"},
      {"an unreadable UTF8String", "300C 310A 3008 0603550403 0C0180", "CN="},
      {"an empty value", "300B 3109 3007 0603550403 1300", "CN="},
      {"a value of separators", "300D 310B 3009 0603550403 13022C2B", "CN=\\,\\+"},
      // neither is a backslash escaped, nor told apart from an escaping one: both texts have always been one
      {"a backslash before a comma", "300D 310B 3009 0603550403 13025C2C", "CN=\\\\,"},
  };
  for (const auto& [name, der, text] : rows) EXPECT_EQ(commaText(hex(der)), text) << name;
}

TEST(NameText, IsUTF8WhateverTheType) {
  const ByteString accented = hex("3020 310A 3008 0603550406 1301 49 3112 3010 0603550403 1E09 0053006F0063 00E0 00");
  EXPECT_EQ(commaText(accented), "C=I,CN=Soc\xC3\xA0");
  Name name;
  ASSERT_TRUE(decode(name, hex("300C 310A 3008 0603550403 1401E0")));
  EXPECT_EQ(name.text(), "CN=\xE0");  // a narrow type as it stands
  EXPECT_EQ(taken(name.toTextUTF8(kAttributeIdentifiers.data(), kAttributeLabels.data(), kAttributeCount)),
            "CN=\xC3\xA0");
}

TEST(NameText, GrowsWithTheName) {
  const std::string value(100000, ',');
  const auto name = nameOf(("CN=\"" + value + "\"").c_str());
  EXPECT_EQ(name->text().size(), 3 + 2 * value.size());
  EXPECT_EQ(taken(name->toPrintable()).size(), 4 + 7 + 2 + value.size() + 1);
}

TEST(NameText, InLinesTagsAndTemplates) {
  const auto name = nameOf("C=IT,OU=1,1.2.3=\\C3\\A0,OU=2,OU=3");
  const char* const identifiers[] = {"2.5.4.6", "2.5.4.11"};
  const char* const labels[] = {"country", "unit"};
  EXPECT_EQ(taken(name->toPrintable()),
            "    2.5.4.6: IT\n    2.5.4.11: 1\n    1.2.3: \xC3\xA0\n    2.5.4.11: 2\n    2.5.4.11: 3\n");
  EXPECT_EQ(taken(name->toPrintableUTF8()), taken(name->toPrintable()));
  EXPECT_EQ(taken(name->toPrintableUTF8(identifiers, labels, 2)),
            "\tcountry: IT\n\tunit: 1\n\t1.2.3: \xC3\xA0\n\tunit: 2\n\tunit: 3\n");
  EXPECT_EQ(taken(name->toPrintable(kAttributeIdentifiers.data(), kAttributeItalianLabels.data(), 1)),
            "\tStato: IT\n\t2.5.4.11: 1\n\t1.2.3: \xC3\xA0\n\t2.5.4.11: 2\n\t2.5.4.11: 3\n");
  EXPECT_EQ(taken(nameOf("C=IT,OU=1")->toXML(identifiers, labels, 1)),
            "<country>\n\tIT\n</country>\n<oid oidValue = \"2.5.4.11\">\n\t1\n</oid>\n");
  EXPECT_EQ(taken(name->toAttributes(identifiers, labels, 2)),
            "       country=\"IT\"\n\n       unit=\"1\"\n\n       unit2=\"2\"\n\n       unit3=\"3\"\n\n");
}

TEST(NameText, FindsTheFirstAttributeOfAType) {
  const auto name = nameOf("C=IT,CN=one+CN=two");
  EXPECT_EQ(taken(name->firstValue("2.5.4.3")), "one");
  EXPECT_EQ(taken(name->firstValueUTF8("2.5.4.3")), "one");
  EXPECT_EQ(name->firstValue("2.5.4.10"), nullptr);
  const std::unique_ptr<AttributeTypeAndValue> found(name->findAttribute("2.5.4.6"));
  EXPECT_EQ(found->tag(), 19);
  EXPECT_EQ(name->findAttribute("2.5.4"), nullptr);
  EXPECT_EQ(Name().findAttribute("2.5.4.6"), nullptr);
}

// --- text in -----------------------------------------------------------------------------------------------

TEST(NameParse, ReadsTheCommaForm) {
  using Row = std::pair<const char*, const char*>;
  const Row rows[] = {
      {"C=IT,O=A\\,B,CN=X+SER=1", "C=IT,O=A\\,B,CN=X+SER=1"},
      {" \t\nC= \n IT ,\n O=A", "C=IT ,O=A"},
      {"c=IT,cn=X,SERIALNUMBER=1", "C=IT,CN=X,SER=1"},
      {"OID.2.5.4.3=X,oid.2.5.4.10=Y,2.5.4.6=IT", "CN=X,O=Y,C=IT"},
      {"C=IT,FOO=x,O=A", "C=IT,O=A"},
      {"C=IT,FOO=x+O=A", "C=IT+O=A"},  // what counts is the separator right before it
      {"C=IT+FOO=x+O=A", "C=IT+O=A"},
      {"FOO=x+C=IT", "C=IT"},
      {"OID.2.x=1,OID.=1,OID.2..5=1,2=1,C=IT", "C=IT"},
      {"no equals sign,C=IT", ""},  // belongs to the label
      {"C=IT,O=", "C=IT"},
      {"C=IT,O= ", "C=IT,O="},
      {"C=IT,O=,CN=X", "C=IT,O=,CN=X"},
      {"C=IT,O", "C=IT"},
      {"O=\"A, B + C\" rest,C=IT", "O=A\\, B \\+ C,C=IT"},
      {"O=\"A \\\" B\",C=IT", "O=A \" B,C=IT"},
      {"O=\"A,C=IT", "O=A\\,C=IT"},
      {"O=a=b,C=IT", "O=a=b,C=IT"},
      {"O=a\\=b\\;c\\\\d,C=IT", "O=a=b;c\\d,C=IT"},
      {"CN=Societ\\C3\\A0 \\E2\\82\\ac", "CN=Societ\xC3\xA0 \xE2\x82\xAC"},
      {"CN=\\f0\\9f\\98\\80 x,C=IT", "CN=\xEF\x98\x80 x,C=IT"},
      {"E=\\C3\\+x", "EMAL=\xC3\\+x"},  // an escape that is no second octet is one of its own
      {"E=\\Carlo\\", "EMAL=\xCArlo"},
      {"CN=\\Dx\\E\\", "CN=x"},
      {"CN=x\\", "CN=x"},
      {"CN=#0C0141", "CN=A"},
      {"CN=#0C014,O=#,C=#zz,OU=#130441,L=A", "L=A"},
      {"CN=#020105", "CN=#020105"},
      {"", ""},
      {"=", ""},
      {"=x,C=IT", "C=IT"},
  };
  for (const auto& [text, expected] : rows) {
    Name name;
    const bool read = name.setText(text, 12, kAttributeLabels.data(), kAttributeIdentifiers.data(), kAttributeCount);
    EXPECT_EQ(read, *expected != '\0') << text;
    EXPECT_EQ(name.text(), expected) << text;
    EXPECT_EQ(name.listView() != nullptr, read) << text;
  }
}

TEST(NameParse, ReplacesTheContent) {
  Name name("C=IT", 12, kAttributeLabels.data(), kAttributeIdentifiers.data(), kAttributeCount);
  setText(name, "C=FR");
  EXPECT_EQ(name.text(), "C=FR");
  EXPECT_FALSE(name.setText(nullptr, 12, kAttributeLabels.data(), kAttributeIdentifiers.data(), kAttributeCount));
  EXPECT_EQ(name.text(), "");
  EXPECT_TRUE(name.setText("C=IT,2.5.4.6=DE", 12, nullptr, nullptr, kAttributeCount)) << "without a table";
  EXPECT_EQ(name.text(), "C=DE");
  const auto mixed = nameOf("C=IT,SER=1,DNQUALIF=1,DC=it,E=a@b,O=A,CN=#040141", 20);
  std::vector<int> tags;
  for (const RelativeDistinguishedName& rdn : mixed->listView()->rdns()) tags.push_back(rdn.view(0)->tag());
  EXPECT_THAT(tags, testing::ElementsAre(19, 19, 19, 22, 22, 20, 4)) << "each type has its string";
}

}  // namespace
}  // namespace keystrand::test
