#include <gtest/gtest.h>

#include <tuple>

#include "keystrand/pkix/AuthorityKeyIdentifier.h"
#include "keystrand/pkix/DistributionPoint.h"
#include "pkix/OpenSSLOracle.h"
#include "support/Builders.h"
#include "support/Coding.h"

namespace keystrand::test {
namespace {

TEST(DistributionPointList, ReadsWhatOpenSSLWrites) {
  const ByteString points = madeByOpenSSL(
      {"crlDistributionPoints", "full,relative,issuer",
       "[full]\nfullname=URI:http://example.org/a.crl,URI:ldap://example.org/b\nreasons=keyCompromise,CACompromise\n"
       "[relative]\nrelativename=piece\n[piece]\nCN=Piece 1\n"
       "[issuer]\nCRLissuer=dirName:who\n[who]\nC=IT\nCN=Issuer\n"});
  DistributionPointList list;
  ASSERT_TRUE(decode(list, points));
  ASSERT_EQ(list.count(), 3);
  EXPECT_EQ(encode(list), points);

  const GeneralNameList* full = list.view(0)->distributionPointView()->fullNameView();
  ASSERT_EQ(full->count(), 2);
  EXPECT_EQ(full->view(1)->textView(), "ldap://example.org/b");
  EXPECT_EQ(list.view(0)->reasonsLength(), 1U);
  EXPECT_EQ(list.view(0)->reasons()[0], 0x60);
  const std::unique_ptr<RelativeDistinguishedName> part(
      list.view(1)->distributionPointView()->nameRelativeToCRLIssuer());
  EXPECT_EQ(part->count(), 1);
  EXPECT_EQ(list.view(1)->distributionPointView()->fullNameView(), nullptr);
  EXPECT_EQ(list.view(2)->distributionPointView(), nullptr);
  EXPECT_EQ(list.view(2)->cRLIssuerView()->view(0)->directoryNameView()->text(), "C=IT,CN=Issuer");
  EXPECT_EQ(list.view(2)->reasonsLength(), 0U);
  EXPECT_EQ(list.view(2)->reasons(), (std::array<unsigned char, 4>{0xFF, 0xFF, 0xFF, 0xFF})) << "absent is all reasons";
}

TEST(DistributionPoint, ReadsReasonsOfAnyLength) {
  std::string octets200;
  for (int i = 0; i < 200; ++i) octets200 += "A5";
  using Row = std::tuple<const char*, std::string, bool, std::uint32_t, std::array<unsigned char, 4>, std::string>;
  for (const auto& [name, encoding, ok, length, reasons, written] : {
           Row{"none", "3000", true, 0, {0xFF, 0xFF, 0xFF, 0xFF}, "3000"},
           Row{"no bits", "3003 810100", true, 0, {0xFF, 0xFF, 0xFF, 0xFF}, "3003 810100"},
           Row{"nine bits", "3005 8103074080", true, 2, {0x40, 0x80, 0xFF, 0xFF}, "3005 8103074080"},
           Row{"200 octets, of which four are kept",
               "3081CC 8181C907" + octets200,
               true,
               4,
               {0xA5, 0xA5, 0xA5, 0xA5},
               "3007 810500A5A5A5A5"},
           Row{"no octet at all", "3002 8100", false, 0, {0xFF, 0xFF, 0xFF, 0xFF}, "3000"},
           Row{"longer than the data", "3007 8184FFFFFFFF07", false, 0, {0xFF, 0xFF, 0xFF, 0xFF}, "3000"},
       }) {
    DistributionPoint point;
    EXPECT_EQ(decode(point, fromHex(encoding)), ok) << name;
    EXPECT_EQ(point.reasonsLength(), length) << name;
    EXPECT_EQ(point.reasons(), reasons) << name;
    EXPECT_EQ(encode(point), fromHex(written)) << name;
  }
}

TEST(DistributionPoint, GoesOnBehindWhatItDoesNotKnow) {
  // The points that are read, the last of which has reasons; 0 for a failure.
  using Row = std::tuple<const char*, const char*, int>;
  for (const auto& [name, encoding, points] :
       {Row{"a name of an unknown form", "300B 3009 A002 8500 8103074080", 1},
        Row{"a name of nothing", "3009 3007 A000 8103074080", 1},
        Row{"it does not take what follows it", "3012 3009 A000 A105 8603613A62 3005 8103074080", 2},
        Row{"unknown elements at the end of a point", "300D 3004 8F022020 3005 8103074080", 2},
        Row{"a name of indefinite length", "3013 3011 A080 A006 8604613A2F62 0000 8103074080", 1},
        Row{"a name that leaves its tag", "300B 3009 A002 A005 8603613A62", 0},
        Row{"a point longer than the data", "3004 3084FFFF", 0}}) {
    DistributionPointList list;
    EXPECT_EQ(decode(list, fromHex(encoding)), points != 0) << name;
    ASSERT_EQ(list.count(), points) << name;
    EXPECT_TRUE(points == 0 || list.view(points - 1)->reasonsLength() == 2) << name;
  }
}

TEST(IssuingDistPointSyntax, ReadsWhatOpenSSLWrites) {
  const ByteString syntax =
      madeByOpenSSL({"issuingDistributionPoint", "critical,@idp",
                     "[idp]\nfullname=URI:http://example.org/a.crl\nonlyuser=TRUE\nindirectCRL=TRUE\n"
                     "onlysomereasons=keyCompromise\n"});
  IssuingDistPointSyntax idp;
  ASSERT_TRUE(decode(idp, syntax));
  EXPECT_EQ(encode(idp), syntax);
  EXPECT_EQ(idp.distributionPointView()->fullNameView()->view(0)->textView(), "http://example.org/a.crl");
  EXPECT_EQ(std::tuple(idp.onlyContainsUserCerts(), idp.onlyContainsCACerts()), std::tuple(0xFF, 0));
  EXPECT_EQ(std::tuple(idp.indirectCRL(), idp.onlyContainsAttributeCerts()), std::tuple(0xFF, 0));
  EXPECT_EQ(idp.onlySomeReasonsLength(), 1U);
}

struct CodingRow {
  const char *name, *encoding;
  bool ok;
  const char* written;
};

template <class T>
void expectCodings(const std::vector<CodingRow>& rows) {
  for (const CodingRow& row : rows) {
    T object;
    EXPECT_EQ(decode(object, fromHex(row.encoding)), row.ok) << row.name;
    EXPECT_EQ(encode(object), fromHex(row.written)) << row.name;
  }
}

TEST(IssuingDistPointSyntax, KeepsAndDropsFlags) {
  expectCodings<IssuingDistPointSyntax>({
      {"empty", "3000", true, "3000"},
      {"an octet of its own stays", "3003 820101", true, "3003 820101"},
      {"FALSE is dropped", "3006 820100 8501FF", true, "3003 8501FF"},
      {"reasons of no bits", "3003 830100", true, "3003 830100"},
      {"of indefinite length", "3080 A080 A005 8603613A62 0000 820101 0000", true, "300C A007 A005 8603613A62 820101"},
      {"without its end", "3080 820101", false, "3003 820101"},
      {"a flag of two octets", "3004 8102FFFF", false, "3000"},
      {"out of order, the rest is not read", "3006 8401FF 8201FF", true, "3003 8401FF"},
  });
}

TEST(AuthorityKeyIdentifier, ReadsWhatOpenSSLWrites) {
  for (const char* form : {"keyid:always", "issuer:always", "keyid:always,issuer:always"}) {
    const ByteString value = madeByOpenSSL({"authorityKeyIdentifier", form});
    const bool hasIssuer = std::string(form).find("issuer") != std::string::npos;
    AuthorityKeyIdentifier aki;
    ASSERT_TRUE(decode(aki, value)) << form;
    EXPECT_EQ(encode(aki), value) << form;
    EXPECT_EQ(aki.keyIdentifierLength(), std::string(form).starts_with("keyid") ? 20U : 0U) << form;
    ASSERT_EQ(aki.authorityCertIssuerView() != nullptr, hasIssuer) << form;
    if (hasIssuer) {
      EXPECT_EQ(aki.authorityCertIssuerView()->view(0)->directoryNameView()->text(), "C=IT,O=Keystrand,CN=Test CA");
      EXPECT_EQ(aki.authorityCertSerialNumber(), BigInteger(1));
    }
  }
}

TEST(AuthorityKeyIdentifier, EndsWithItsElement) {
  expectCodings<AuthorityKeyIdentifier>({
      {"empty", "3000", true, "3000"},
      {"an identifier of no octets", "3002 8000", true, "3002 8000"},
      {"an issuer alone", "3007 A105 8603613A62", true, "3007 A105 8603613A62"},
      {"a serial number of 0 alone", "3003 820100", true, "3003 820100"},
      {"of indefinite length", "3080 800105 A1 06 A480 3000 0000 820101 0000", true,
       "300C 800105 A104 A402 3000 820101"},
      {"another element in place of the serial number", "3007 8000 8603613A62", false, "3002 8000"},
      {"a serial number with a surplus octet", "3004 82020001", false, "3000"},
      {"an issuer that never ends", "3004 A102 0101", false, "3002 A100"},
  });
}

}  // namespace
}  // namespace keystrand::test
