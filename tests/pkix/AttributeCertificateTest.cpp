// The certificates of tests/data/fuzz/attribute_certificate come from the RFC 5755 schema of another ASN.1 library and
// are signed by OpenSSL, with the keys of tests/data/attribute_certificates.
#include <gtest/gtest.h>

#include "keystrand/pkix/AttributeCertificate.h"
#include "keystrand/pkix/Certificate.h"
#include "support/Builders.h"
#include "support/Coding.h"
#include "support/Der.h"
#include "support/TestDevice.h"

namespace keystrand::test {
namespace {

constexpr unsigned char kImplicit = 0xA1;

ByteString madeElsewhere(const std::string& name) {
  return readFile(treeData() / "fuzz" / "attribute_certificate" / name);
}

std::unique_ptr<Certificate> issuer(const std::string& key) {
  auto certificate = std::make_unique<Certificate>();
  EXPECT_TRUE(decode(*certificate, readFile(treeData() / "attribute_certificates" / ("issuer-" + key + ".der"))));
  return certificate;
}

TEST(AttributeCertificate, ReadsVerifiesAndWritesBackWhatOthersMade) {
  TestDevice device;
  for (const auto& [name, key, other] :
       {std::tuple{"role", "rsa", "ec"}, {"everything", "ec", "rsa"}, {"v1form", "ec", "rsa"}}) {
    SCOPED_TRACE(name);
    const ByteString der = madeElsewhere(name);
    AttributeCertificate certificate;
    ASSERT_TRUE(device.read(certificate, der));
    EXPECT_EQ(encode(certificate), der);
    EXPECT_TRUE(certificate.verify(device.get(), *issuer(key)->subjectPublicKeyInfoView()));
    EXPECT_FALSE(certificate.verify(device.get(), *issuer(other)->subjectPublicKeyInfoView()));

    AttributeCertificate implicit;
    ByteString tagged = der;
    tagged[0] = kImplicit;
    ASSERT_TRUE(decode(implicit, tagged, kImplicit));
    EXPECT_EQ(encode(implicit, kImplicit), tagged);
    EXPECT_TRUE(implicit.verify(device.get(), *issuer(key)->subjectPublicKeyInfoView()));
  }
}

TEST(AttributeCertificate, TellsItsParts) {
  AttributeCertificate certificate;
  ASSERT_TRUE(decode(certificate, madeElsewhere("everything")));
  const AttributeCertificateInfo& info = *certificate.infoView();
  EXPECT_EQ(info.version(), AttributeCertificateInfo::kV2);
  EXPECT_EQ(taken(info.serialNumberText(16)), "8000000000000000000000000000000000000001");
  EXPECT_STREQ(info.attrCertValidityPeriodView()->notAfterTimeView()->textView(), "20391231235959Z");
  const Holder& holder = *info.holderView();
  EXPECT_EQ(taken(holder.baseCertificateIDView()->serialView().toText(10)), "5");
  EXPECT_EQ(holder.baseCertificateIDView()->issuerUIDLength(), 3U);
  EXPECT_EQ(holder.entityNameView()->view(0)->textView(), "holder@keystrand.example");
  EXPECT_EQ(holder.objectDigestInfoView()->digestedObjectType(), ObjectDigestInfo::kOtherObjectTypes);
  EXPECT_EQ(taken(holder.objectDigestInfoView()->otherObjectTypeIDView()->toText()), "1.2.3.4.5");
  EXPECT_EQ(holder.objectDigestInfoView()->objectDigestLength(), 32U);
  const V2Form& form = *info.issuerView()->v2FormView();
  EXPECT_EQ(form.issuerNameView()->count(), 1);
  EXPECT_EQ(form.objectDigestInfoView()->digestedObjectType(), ObjectDigestInfo::kPublicKeyCert);
  ASSERT_EQ(info.attributesView()->count(), 2);
  const keystrand::Attribute& group = *info.attributesView()->view(1);
  EXPECT_EQ(taken(group.typeView()->toText()), "1.3.6.1.5.5.7.10.4");
  ASSERT_EQ(group.count(), 3);
  EXPECT_EQ(group.valueView(1)[0], 0x05);
  EXPECT_TRUE(group.valueView(3).empty());
  EXPECT_EQ(info.issuerUniqueIDLength(), 2U);
  EXPECT_EQ(info.extensionsView()->count(), 1);
}

TEST(AttributeCertificate, OddAndHostileForms) {
  const ByteString whole = madeElsewhere("everything");
  const std::vector<std::size_t> holder = {0, 1};
  const std::vector<std::size_t> issuer = {0, 2};
  const std::vector<std::size_t> attributes = {0, 6};
  const ByteString deep = [] {
    ByteString nested = fromHex("0500");
    for (int i = 0; i < 1000; ++i) nested = element(0x31, nested);
    return nested;
  }();
  struct Row {
    const char* name;
    std::vector<std::size_t> path;
    ByteString replacement;
    bool read;
    bool same = true;  // goes out as it came in
  };
  for (const Row& row : {
           Row{"a holder that says nothing", holder, fromHex("3000"), true},
           Row{"a holder of an unknown form", holder, fromHex("3003830100"), false},
           Row{"the forms of a holder in another order", {0, 1, 2}, fromHex("A100"), false},
           Row{"an issuer that is neither form", issuer, fromHex("A100"), false},
           Row{"an empty v2Form", issuer, fromHex("A000"), true},
           Row{"an empty v1Form", issuer, fromHex("3000"), true},
           Row{"version 1, which is left out", {0, 0}, {}, false},
           Row{"a version of no one", {0, 0}, fromHex("020107"), true},
           Row{"an IssuerSerial without serial", {0, 1, 0, 1}, {}, false},
           Row{"an issuerUID with unused bits", {0, 1, 0, 2}, fromHex("030204F0"), true},
           Row{"a digest with unused bits", {0, 1, 2, 3}, fromHex("030207FF"), true, false},
           Row{"a digest that is NULL", {0, 1, 2, 3}, fromHex("0500"), true},
           Row{"a digest type of two octets", {0, 1, 2, 0}, fromHex("0A020001"), false},
           Row{"a UTCTime", {0, 5, 0}, fromHex("170D3230303130313030303030305A"), true},
           Row{"one time only", {0, 5, 1}, {}, false},
           Row{"three times", {0, 5, 1}, children(children(children(whole)[0])[5])[1] + fromHex("0500"), false},
           Row{"no attributes", attributes, fromHex("3000"), true},
           Row{"an attribute without values", attributes, fromHex("3005300306012A"), false},
           Row{"an attribute with an empty set", attributes, fromHex("3007300506012A3100"), true},
           Row{"something behind the set", attributes, fromHex("3009300706012A31000500"), false},
           Row{"a value that nests a thousand deep", {0, 6, 0, 1, 0}, deep, true},
           Row{"a value of indefinite length", {0, 6, 0, 1, 0}, fromHex("30800000"), false},
           Row{"a value longer than its set", {0, 6, 0, 1, 0}, fromHex("308400FFFFFF"), false},
           Row{"a value that ends something", {0, 6, 0, 1, 0}, fromHex("0000"), false},
           Row{"no unique identifier", {0, 7}, {}, true},
           Row{"no extensions", {0, 8}, {}, true},
           Row{"extensions twice", {0, 8}, fromHex("30003000"), false},
           Row{"a body that goes on", {0, 8}, fromHex("3000820100"), false},
           Row{"no signature", {2}, {}, false},
           Row{"something behind the signature", {2}, fromHex("0301000500"), false},
       }) {
    SCOPED_TRACE(row.name);
    const ByteString der = edited(whole, row.path, row.replacement);
    AttributeCertificate certificate;
    EXPECT_EQ(decode(certificate, der), row.read);
    EXPECT_EQ(row.read && encode(certificate) == der, row.read && row.same);
  }
}

}  // namespace
}  // namespace keystrand::test
