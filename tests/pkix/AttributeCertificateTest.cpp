// The certificates of tests/data/fuzz/attribute_certificate come from the RFC 5755 schema of another ASN.1 library and
// are signed by OpenSSL, with the keys of tests/data/attribute_certificates.
#include <gtest/gtest.h>

#include "keystrand/pkix/AttributeCertificate.h"
#include "keystrand/pkix/Certificate.h"
#include "pkix/IssuerKey.h"
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
  const auto ec = issuer("ec");
  const auto rsa = issuer("rsa");
  for (const auto& [name, key] : {std::pair{"role", "rsa"}, {"everything", "ec"}, {"v1form", "ec"}}) {
    SCOPED_TRACE(name);
    const ByteString der = madeElsewhere(name);
    const Certificate& own = key == std::string("ec") ? *ec : *rsa;
    const Certificate& other = key == std::string("ec") ? *rsa : *ec;
    AttributeCertificate certificate;
    ASSERT_TRUE(device.read(certificate, der));
    EXPECT_EQ(encode(certificate), der);
    EXPECT_TRUE(certificate.verify(device.get(), *own.subjectPublicKeyInfoView()));
    EXPECT_FALSE(certificate.verify(device.get(), *other.subjectPublicKeyInfoView()));
    const std::unique_ptr<AttributeCertificate> copy(certificate.clone());
    EXPECT_TRUE(copy->verify(device.get(), *own.subjectPublicKeyInfoView()));

    AttributeCertificate plain;  // under an implicit tag, and without a digest until it is asked
    ByteString tagged = der;
    tagged[0] = kImplicit;
    ASSERT_TRUE(decode(plain, tagged, kImplicit));
    EXPECT_EQ(encode(plain, kImplicit), tagged);
    EXPECT_EQ(plain.digestView(), nullptr);
    EXPECT_TRUE(plain.verify(device.get(), *own.subjectPublicKeyInfoView()));
    ASSERT_TRUE(device.read(plain, withBitFlipped(der)));
    EXPECT_FALSE(plain.verify(device.get(), *own.subjectPublicKeyInfoView()));
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

// Every part taken out through its getter and set in a new object gives the same bytes.
TEST(AttributeCertificate, IsMadeOfParts) {
  TestDevice device;
  AttributeCertificate model;
  ASSERT_TRUE(decode(model, madeElsewhere("everything")));
  const AttributeCertificateInfo& from = *model.infoView();
  const auto digestInfo = [](const ObjectDigestInfo& source) {
    auto made = std::make_unique<ObjectDigestInfo>();
    made->setDigestedObjectType(source.digestedObjectType());
    made->setOtherObjectTypeID(source.otherObjectTypeIDView());
    made->setDigestAlgorithm(source.digestAlgorithmView());
    made->setObjectDigest(source.objectDigestView().data(), source.objectDigestLength());
    return made;
  };
  const auto issuerSerial = [](const IssuerSerial& source) {
    auto made = std::make_unique<IssuerSerial>();
    made->setIssuer(source.issuerView());
    made->setSerial(source.serial());
    const std::unique_ptr<unsigned char[]> uid(source.issuerUID());
    made->setIssuerUID(uid.get(), source.issuerUIDLength());
    return made;
  };
  Holder holder;
  holder.setBaseCertificateID(issuerSerial(*from.holderView()->baseCertificateIDView()).get());
  holder.setEntityName(from.holderView()->entityNameView());
  holder.setObjectDigestInfo(digestInfo(*from.holderView()->objectDigestInfoView()).get());
  V2Form form;
  form.setIssuerName(from.issuerView()->v2FormView()->issuerNameView());
  form.setBaseCertificateID(issuerSerial(*from.issuerView()->v2FormView()->baseCertificateIDView()).get());
  form.setObjectDigestInfo(digestInfo(*from.issuerView()->v2FormView()->objectDigestInfoView()).get());
  AttCertIssuer issuerChoice;
  issuerChoice.setV1Form(form.issuerNameView());
  issuerChoice.setV2Form(&form);
  AttCertValidity validity;
  validity.setNotBeforeTime(from.attrCertValidityPeriodView()->notBeforeTimeView());
  validity.setNotAfterTime(from.attrCertValidityPeriodView()->notAfterTimeView());
  AttributeList attributes;
  for (int i = 0; i < from.attributesView()->count(); ++i) {
    const keystrand::Attribute& source = *from.attributesView()->view(i);
    keystrand::Attribute attribute;
    attribute.setType(*source.typeView());
    for (int n = 0; n < source.count(); ++n) {
      attribute.addValue(source.valueView(n).data(), static_cast<std::uint32_t>(source.valueView(n).size()));
    }
    attributes.add(attribute);
  }
  AttributeCertificateInfo info;
  info.setHolder(&holder);
  info.setIssuer(&issuerChoice);
  const std::unique_ptr<AlgorithmIdentifier> algorithm(from.signatureAlgorithm());
  info.setSignatureAlgorithm(algorithm.get());
  info.setSerialNumber(from.serialNumber());
  info.setAttrCertValidityPeriod(&validity);
  info.setAttributes(&attributes);
  const std::unique_ptr<unsigned char[]> uid(from.issuerUniqueID());
  info.setIssuerUniqueID(uid.get(), from.issuerUniqueIDLength());
  info.setExtensions(from.extensionsView());
  AttributeCertificate made;
  made.setInfo(&info);
  made.setOuterAlgorithm(algorithm.get());
  SecureBuffer buffer(&device.get());
  EXPECT_FALSE(made.sign(buffer)) << "the device has no private key";
  const std::unique_ptr<Signature> signature(model.signature());
  made.setSignature(signature.get());
  EXPECT_EQ(encode(made), madeElsewhere("everything"));
  EXPECT_TRUE(made.sign(buffer));
  EXPECT_EQ(buffer.size(), made.size(buffer));
}

// The element that a path of child numbers leads to, put in place of what is there; taken out when it is empty.
ByteString edited(const ByteString& der, std::vector<std::size_t> path, const ByteString& replacement) {
  if (path.empty()) return replacement;
  auto parts = children(der);
  ByteString& part = parts.at(path.front());
  path.erase(path.begin());
  part = edited(part, path, replacement);
  return withChildren(der[0], parts);
}

TEST(AttributeCertificate, OddAndHostileForms) {
  TestDevice device;
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
    EXPECT_EQ(device.read(certificate, der), row.read);
    if (!row.read) continue;
    EXPECT_EQ(encode(certificate) == der, row.same);
    const std::unique_ptr<AttributeCertificate> copy(certificate.clone());
    EXPECT_EQ(encode(*copy), encode(certificate));
  }
  for (std::size_t n = 0; n < whole.size(); ++n) {
    AttributeCertificate cut;
    EXPECT_FALSE(device.read(cut, ByteString(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n)))) << n;
  }
}

// The digest runs over what arrived; without it, and for RSASSA-PSS, only a canonical encoding passes.
TEST(AttributeCertificate, IsVerifiedOverItsReceivedBody) {
  TestDevice device;
  const Authority ca = makeAuthority({.key = privateKey("RSA-2048")});
  const ByteString body = children(madeElsewhere("role"))[0];
  for (const bool canonical : {true, false}) {
    for (const bool pss : {false, true}) {
      const ByteString received = canonical ? body : element(0x30, firstElement(body).content, 3);
      const ByteString der = makeSigned(received, ca.key, {.pss = pss});
      AttributeCertificate digested;
      ASSERT_TRUE(device.read(digested, der));
      EXPECT_EQ(digested.verify(device.get(), IssuerKey(ca)), canonical || !pss);
      AttributeCertificate plain;
      ASSERT_TRUE(decode(plain, der));
      EXPECT_EQ(plain.verify(device.get(), IssuerKey(ca)), canonical);
      const std::unique_ptr<AttributeCertificateInfo> info(digested.info());
      digested.setInfo(info.get());
      EXPECT_EQ(digested.verify(device.get(), IssuerKey(ca)), canonical) << "a new body has no received bytes";
    }
  }
}

}  // namespace

}  // namespace keystrand::test
