// Queries of the CA list: who issued an object, what is known of a certificate, and what an unknown one answers; the
// records of trusted lists.
#include <cstdlib>
#include <utility>

#include "cache/TestCA.h"
#include "support/Coding.h"
#include "support/Der.h"

namespace keystrand::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CALookup : public CAFixture {};

std::unique_ptr<AuthorityKeyIdentifier> keyIdentifier(const ByteString& bytes) {
  auto aki = std::make_unique<AuthorityKeyIdentifier>();
  aki->setKeyIdentifier(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  return aki;
}

// 0 for a subject that is known with other certificates only in the forms by certificate, where the form by names has
// -1.
TEST_F(CALookup, SourcesInEachForm) {
  ASSERT_TRUE(context->addCertificate(*decoded(makeCA()), 77));
  logged();
  struct Row {
    const char* name;
    ByteString der;
    int byCertificate, byNames;
  };
  for (const Row& row : {Row{"listed", makeCA(), 77, 77}, Row{"other serial", makeCA({.serial = 2}), 0, -1},
                         Row{"other issuer", makeCA({.issuer = "Root"}), 0, -1},
                         Row{"no row", makeCA({.subject = "Unknown"}), -1, -1}}) {
    const auto certificate = decoded(row.der);
    EXPECT_EQ(context->sourceOfDER(row.der), row.byCertificate) << row.name;
    EXPECT_EQ(context->sourceOfPEM(toBase64(row.der).c_str()), row.byCertificate) << row.name;
    EXPECT_EQ(context->sourceOf(*certificate->subjectView(), *certificate->issuerView(), certificate->serialNumber()),
              row.byNames)
        << row.name;
  }
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(CALookup, WhatIsNoCertificateIsLoggedExceptByTheQuestionOfTrust) {
  ASSERT_TRUE(add({}));
  logged();
  const ByteString garbage = {0x30, 0x01, 0x00};
  EXPECT_EQ(context->sourceOfDER(garbage), -1);
  EXPECT_EQ(context->sourceOfDER({}), -1);
  EXPECT_EQ(context->sourceOfPEM(nullptr), -1);
  EXPECT_EQ(context->sourceOfPEM("MAEA"), -1);
  EXPECT_EQ(context->metadataOf("MAEA"), nullptr);
  EXPECT_EQ(context->metadataRecordsOf(""), nullptr);
  EXPECT_EQ(logged(), std::vector<std::string>(6, message(5195)));
  EXPECT_FALSE(context->trustedCA(garbage));
  EXPECT_FALSE(context->trustedCA({}));
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(CALookup, TrustGoesByTheNameOfTheIssuerAlone) {
  ASSERT_TRUE(add({.subject = "Known"}));
  EXPECT_TRUE(context->trustedCA(makeCA({.subject = "Other", .issuer = "KNOWN", .signer = rsaKey()}))) << "no key";
  EXPECT_TRUE(context->trustedCA(makeCA({.subject = "Known", .serial = 9}))) << "self-issued, not in the list";
  EXPECT_FALSE(context->trustedCA(makeCA({.subject = "Known", .issuer = "Other"})));
}

class IssuerIndex : public CALookup {
 protected:
  const PrivateKey other = privateKey("P-256", 1);
  int indexFor(const CAPlan& issued, const AuthorityKeyIdentifier* aki) {
    return context->issuerIndex(*decoded(makeCA(issued)), 0, aki);
  }
};

TEST_F(IssuerIndex, BySignatureTakesTheFirstKeyThatFits) {
  add({.serial = 1, .key = rsaKey()});
  add({.serial = 2, .key = other});
  add({.serial = 3, .key = other});
  EXPECT_EQ(indexFor({.subject = "Leaf", .signer = rsaKey()}, nullptr), 0);
  EXPECT_EQ(indexFor({.subject = "Leaf", .signer = other}, nullptr), 1) << "the smaller of two with one key";
  EXPECT_EQ(indexFor({.subject = "Leaf", .signer = privateKey("P-256", 2)}, nullptr), -1);
  const ByteString spoilt = withBitFlipped(makeCA({.subject = "Leaf", .signer = rsaKey()}));
  EXPECT_EQ(context->issuerIndex(*decoded(spoilt), 0, nullptr), -1);
}

TEST_F(IssuerIndex, ByKeyIdentifierAsksForNoSignature) {
  add({.serial = 1, .key = rsaKey(), .subjectKeyIdentifier = "010203"});
  add({.serial = 2, .key = other, .subjectKeyIdentifier = "010204"});
  const CAPlan issued = {.subject = "Leaf", .signer = rsaKey()};
  EXPECT_EQ(indexFor(issued, keyIdentifier({1, 2, 4}).get()), 1) << "although the first one's key verifies";
  EXPECT_EQ(indexFor(issued, keyIdentifier({9}).get()), 0) << "falls through to signatures";
  EXPECT_EQ(indexFor(issued, keyIdentifier({1, 2}).get()), 0);
  EXPECT_EQ(indexFor(issued, std::make_unique<AuthorityKeyIdentifier>().get()), 0);
}

// Otherwise an identifier that says nothing would stand in for a signature check.
TEST_F(IssuerIndex, AnEmptyIdentifierMatchesNothing) {
  const ByteString empty;
  add({.serial = 1, .key = rsaKey()});
  const std::unique_ptr<Certificate> certificate(context->certificateAt(0, 0));
  for (const ByteString& value : {ByteString{4, 0}, ByteString{5, 0}, ByteString{}, ByteString{4, 1}}) {
    Extension extension;
    extension.setID("2.5.29.14");
    extension.setValue(value.data(), static_cast<std::uint32_t>(value.size()));
    ExtensionList list;
    list.add(extension);
    certificate->setExtensions(&list);
    EXPECT_FALSE(CACache::matchAuthorityKey(AuthorityKeyIdentifier(), *certificate));
    EXPECT_FALSE(CACache::matchAuthorityKey(*keyIdentifier(empty), *certificate));
  }
}

TEST_F(IssuerIndex, ByIssuerAndSerialComparesTheNameExactly) {
  add({.issuer = "Root", .serial = 5, .key = rsaKey()});
  add({.issuer = "Root", .serial = 6, .key = other});
  struct Row {
    const char* name;
    const char* issuer;  // of the authority's certificate; none: no name
    std::int32_t serial;
    bool behindOthers;
    int index;
  };
  const CAPlan issued = {.subject = "Leaf", .signer = rsaKey()};
  for (const Row& row :
       {Row{"both fit", "Root", 6, false, 1}, Row{"behind other names", "Root", 6, true, 1},
        Row{"case counts", "ROOT", 6, false, 0}, Row{"the subject is not asked", "First CA", 6, false, 0},
        Row{"another serial", "Root", 7, false, 0}, Row{"a serial of zero", "Root", 0, false, 0},
        Row{"no name", nullptr, 6, false, 0}}) {
    AuthorityKeyIdentifier aki;
    aki.setAuthorityCertSerialNumber(BigInteger(row.serial));
    GeneralNameList names;
    if (row.behindOthers) {
      GeneralName uri;
      uri.setURI("http://ca.example/");
      names.add(uri);
    }
    if (row.issuer != nullptr) {
      GeneralName name;
      name.setDirectoryName(decoded(makeCA({.subject = row.issuer}))->subjectView());
      names.add(name);
      aki.setAuthorityCertIssuer(&names);
    }
    EXPECT_EQ(indexFor(issued, &aki), row.index) << row.name;
  }
}

TEST_F(IssuerIndex, CRLsAndAttributeCertificatesFindTheirIssuerToo) {
  add({.serial = 1, .key = other});
  add({.serial = 2, .key = rsaKey()});
  const ByteString der = makeCRL(makeAuthority({.key = rsaKey()}), {.entries = {{.serial = "0A"}}});
  SecureBuffer buffer(library().cryptoDevice.get());
  buffer.assign(der.data(), static_cast<std::uint32_t>(der.size()));
  CertificateList crl;
  ASSERT_TRUE(crl.get(buffer));
  EXPECT_EQ(context->issuerIndex(crl, 0, nullptr), 1);
  const ByteString role = readFile(treeData() / "fuzz" / "attribute_certificate" / "role");
  const ByteString held = makeSigned(children(role).at(0), rsaKey());
  buffer.assign(held.data(), static_cast<std::uint32_t>(held.size()));
  AttributeCertificate attributes;
  ASSERT_TRUE(attributes.get(buffer));
  EXPECT_EQ(context->issuerIndex(attributes, 0, nullptr), 1);
  context->removeEntryDER(makeCA({.serial = 2, .key = rsaKey()}));
  EXPECT_EQ(context->issuerIndex(crl, 0, nullptr), -1);
  EXPECT_EQ(context->issuerIndex(attributes, 0, nullptr), -1);
}

TEST_F(CALookup, WhatATrustedListSaid) {
  const std::string base = "http://uri.etsi.org/TrstSvc/Svctype/";
  const auto listed = [&](int serial, const char* type, const char* status) {
    const std::string uri = base + (type != nullptr ? type : "");
    insert({.serial = serial}, kSourceTSL,
           stateOf({.type = type != nullptr ? uri.c_str() : nullptr, .status = status}));
  };
  listed(1, "CA/QC", "granted");
  listed(2, "TSA/QTST", nullptr);
  listed(3, "TSA", "");
  listed(4, nullptr, "granted");
  listed(5, "ca/qc", "granted");
  add({.serial = 6});
  for (const auto& [index, qualified] : {std::pair{0, 1}, {1, 1}, {2, 0}, {3, 0}, {4, 0}, {5, 255}}) {
    EXPECT_EQ(context->qualifiedAt(0, index), qualified) << index;
  }
  EXPECT_EQ(taken(context->countryCodeAt(0, 0)), "IT");
  EXPECT_EQ(taken(context->serviceTypeAt(0, 0)), base + "CA/QC");
  EXPECT_EQ(taken(context->serviceStatusAt(0, 0)), "granted");
  EXPECT_EQ(taken(context->serviceStatusAt(0, 1)), "(null)");
  EXPECT_EQ(taken(context->serviceStatusAt(0, 2)), "");
  EXPECT_EQ(taken(context->countryCodeAt(0, 5)), "(null)");
  // What a list said goes when the certificate is added from elsewhere.
  add({.serial = 1});
  EXPECT_EQ(context->qualifiedAt(0, 5), 255);
}

TEST_F(CALookup, MetadataComesAsObjectsAndAsPlainRecords) {
  insert({.serial = 1}, kSourceTSL, stateOf({.name = nullptr}, stateOf({.type = nullptr, .status = "before"})));
  add({.serial = 2});
  const std::string listed = toBase64(makeCA({.serial = 1}));
  const std::unique_ptr<TSLMetadata> object(context->metadataOf(listed.c_str()));
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->serviceStatusView(), "now");
  ASSERT_NE(object->nextView(), nullptr);
  EXPECT_EQ(object->nextView()->serviceStatusView(), "before");
  _md* first = context->metadataRecordsOf(listed.c_str());
  ASSERT_NE(first, nullptr);
  EXPECT_STREQ(first->serviceType, "type");
  EXPECT_STREQ(first->serviceStatus, "now");
  EXPECT_EQ(first->serviceName, nullptr);
  ASSERT_NE(first->next, nullptr);
  EXPECT_EQ(first->next->serviceType, nullptr);
  EXPECT_STREQ(first->next->serviceStatus, "before");
  EXPECT_EQ(first->next->next, nullptr);
  for (_md* record = first; record != nullptr;) {  // as a client gives all of it back
    for (char* text : {record->serviceType, record->serviceName, record->serviceStatus, record->statusStartingTime})
      std::free(text);
    delete std::exchange(record, record->next);
  }
  for (const CAPlan& unknown : {CAPlan{.serial = 2}, CAPlan{.serial = 3}, CAPlan{.subject = "Unknown"}}) {
    EXPECT_EQ(context->metadataOf(toBase64(makeCA(unknown)).c_str()), nullptr);
    EXPECT_EQ(context->metadataRecordsOf(toBase64(makeCA(unknown)).c_str()), nullptr);
  }
}

TEST(TSLRecords, ACountryIsExactlyTwoCharacters) {
  struct Row {
    const char *set, *asked;
    bool has;
  };
  for (const Row& row : {Row{"IT", "IT", true}, Row{"IT", "it", false}, Row{"IT", "ITA", false}, Row{"IT", "I", false},
                         Row{"IT", "", false}, Row{"IT", nullptr, false}, Row{"ITALY", "IT", true},
                         Row{"I", "I", false}, Row{"", "", false}, Row{nullptr, "", false}}) {
    TSLMetadata record;
    record.setCountryCode(row.set);
    EXPECT_EQ(record.hasCountry(row.asked), row.has) << (row.asked != nullptr ? row.asked : "null");
    EXPECT_EQ(TSLInfo(row.set != nullptr ? row.set : "", 1, "").hasCountry(row.asked), row.has);
  }
}

// Each record owns the next: neither copying nor deleting may go down the chain by recursion.
TEST(TSLRecords, ChainsOfAnyLengthAreCopiedAndDeleted) {
  auto chain = std::make_unique<TSLMetadata>();
  for (int i = 0; i < 1'000'000; ++i) {
    auto newer = std::make_unique<TSLMetadata>();
    newer->setNext(chain.release());
    chain = std::move(newer);
  }
  std::unique_ptr<TSLMetadata> copy(chain->getNext());
  chain.reset();
  int count = 0;
  for (const TSLMetadata* record = copy.get(); record != nullptr; record = record->nextView()) ++count;
  EXPECT_EQ(count, 1'000'000);
  copy->setNext(nullptr);
  EXPECT_EQ(copy->getNext(), nullptr);
}

}  // namespace
}  // namespace keystrand::test
