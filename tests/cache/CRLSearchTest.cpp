// Which CRL is accepted, which of those held answers, and what is reported of it. Nothing is fetched here.
#include <sys/resource.h>

#include <new>

#include "cache/TestCA.h"
#include "support/Client.h"
#include "support/LibraryFixture.h"

namespace keystrand::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kCASubject = "C=IT,O=Keystrand,CN=Test CA";
const std::string kURL = "http://h/ca.crl";

const Authority& ca() {
  static const Authority authority = makeAuthority();
  return authority;
}

// The issuing distribution point in OpenSSL's syntax: "fullname=URI:http://h/", "onlyuser=TRUE".
ExtensionSpec placed(const std::string& lines) {
  return {"issuingDistributionPoint", "critical,@idp", "[idp]\n" + lines + "\n"};
}

class CRLSearch : public LibraryFixture {
 protected:
  CRLSearch() { settings().downloadMode = 4; }

  bool addCA(const Authority& authority) { return context->addCertificateDER(authority.certificate); }
  static std::shared_ptr<const CertificateList> received(const ByteString& der) {
    SecureBuffer in(library().cryptoDevice.get());
    in.assign(der.data(), static_cast<std::uint32_t>(der.size()));
    auto crl = std::make_shared<CertificateList>();
    EXPECT_TRUE(crl->get(in));
    return crl;
  }
  // A row as an earlier fetch left it.
  static void hold(const std::string& uri, const CRLSpec& wanted) {
    auto entry = std::make_shared<CRLCacheEntry>();
    const auto crl = received(makeCRL(ca(), wanted));
    entry->issuer = kCASubject;
    entry->crl = crl;
    entry->thisUpdate = *crl->thisUpdateView();
    if (crl->nextUpdateView() != nullptr) entry->nextUpdate = *crl->nextUpdateView();
    library().crlTable.addHeld(uri)->publish(std::move(entry));
  }
  // 1 revoked, 0 not revoked, otherwise minus the code.
  int search(const std::vector<std::string>& urls, const char* serial = "0A", int caRow = 0) {
    if (context->searchCRL(Client::at(urls).get(), caRow, serial)) return 1;
    return context->report().errCode == kNoError ? 0 : -context->report().errCode;
  }

  std::unique_ptr<CACache> context = contextLogging(Logger::kTrace);
};

TEST_F(CRLSearch, AcceptsWhatItsIssuerSigned) {
  const std::vector<ExtensionSpec> noIdentifier = {{"crlNumber", "DER:020101"}};
  const Authority other = makeAuthority({.serial = "02", .key = privateKey("P-256", 5)});
  const Authority unlisted = makeAuthority({.key = privateKey("P-256", 6)});
  const Authority stranger = makeAuthority({.subject = nameOf("Stranger")});
  const auto limited = [](int key, const ExtensionSpec& usage) {
    return makeAuthority({.subject = nameOf(usage.value),
                          .key = privateKey("P-256", key),
                          .extensions = {usage, {"subjectKeyIdentifier", "hash"}}});
  };
  const Authority noUsage = limited(7, {"basicConstraints", "CA:TRUE"});
  const Authority noCRLSign = limited(8, {"keyUsage", "keyCertSign,digitalSignature"});
  for (const Authority& each : {other, ca(), noUsage, noCRLSign}) ASSERT_TRUE(addCA(each));
  struct Row {
    const char* name;
    ByteString crl;
    int row, index;  // of the issuer
    int code;        // logged behind the issuer's name; 0: nothing is said
  };
  for (const Row& row :
       {Row{"by identifier", makeCRL(ca()), 0, 1, 0},
        Row{"by trial", makeCRL(ca(), {.extensions = noIdentifier}), 0, 1, 0},
        Row{"due for long", makeCRL(ca(), {.thisUpdate = "20100101000000Z", .nextUpdate = "20100102000000Z"}), 0, 1, 0},
        Row{"of the future", makeCRL(ca(), {.thisUpdate = "20370101000000Z"}), 0, 1, 0},
        Row{"damaged", withBitFlipped(makeCRL(ca())), -1, -1, 5138},
        Row{"damaged, by trial", withBitFlipped(makeCRL(ca(), {.extensions = noIdentifier})), -1, -1, 0},
        Row{"of a key not listed", makeCRL(unlisted), -1, -1, 0}, Row{"of nobody known", makeCRL(stranger), -1, -1, 0},
        Row{"no key usage", makeCRL(noUsage), -1, -1, 5136},
        Row{"usage asked before signature", withBitFlipped(makeCRL(noCRLSign)), -1, -1, 5136}}) {
    context->report().reset();
    const auto crl = received(row.crl);
    int caRow = -1;
    int index = -1;
    logged();
    EXPECT_EQ(context->checkCRL(*crl, caRow, index), row.row >= 0) << row.name;
    EXPECT_EQ(std::pair(caRow, index), std::pair(row.row, row.index)) << row.name;
    EXPECT_EQ(context->report().errCode, row.code != 0 ? row.code : kNoError) << row.name;
    std::vector<std::string> said = {message(4704)};
    if (row.row >= 0) said.push_back(message(4705));
    if (row.code != 0) said.insert(said.end(), {crl->issuerView()->text(), message(static_cast<unsigned>(row.code))});
    EXPECT_EQ(logged(), said) << row.name;
  }
}

TEST_F(CRLSearch, ReportsTheEntry) {
  hold(kURL,
       {.entries = {{.serial = "0A",
                     .extensions = {{"CRLReason", "ASN1:ENUM:6"}, {"invalidityDate", "ASN1:GENTIME:20240102030405Z"}}},
                    {.serial = "0B", .extensions = {{"CRLReason", "ASN1:ENUM:1"}, {"2.5.29.21", "DER:0A0105"}}},
                    {.serial = "0C"},
                    {.serial = "0A"}}});
  const Report& report = context->report();
  EXPECT_EQ(search({kURL}), 1) << "a hold is a revocation";
  EXPECT_EQ(report.reason, 6);
  EXPECT_STREQ(report.revocationDate->textView(), "250102030405Z");
  EXPECT_STREQ(report.invalidSince->textView(), "20240102030405Z");
  EXPECT_THAT(logged(), ElementsAre(message(4713), message(4714), "CRL date: Jan 01 00:00:00 2025 GMT", message(4708),
                                    "Suspension date:", "No longer valid since:", message(4709)));
  context->report().reset();
  EXPECT_EQ(search({kURL}, "0B"), 1);
  EXPECT_EQ(report.reason, 5) << "the last of two counts";
  EXPECT_FALSE(report.invalidSince);
  EXPECT_EQ(search({kURL}, "0C"), 1);
  EXPECT_EQ(report.reason, 5) << "what the entry does not tell stays from before";
  EXPECT_EQ(search({kURL}, nullptr), -5120) << "and what was not asked is not answered";
}

TEST_F(CRLSearch, AnExpiredCRLAnswersAndIsToldOf) {
  hold("expired", {.thisUpdate = "20240101000000Z", .nextUpdate = "20240201000000Z", .entries = {{.serial = "0A"}}});
  hold("endless", {.nextUpdate = std::nullopt});
  EXPECT_EQ(search({"expired"}), 1);
  EXPECT_THAT(logged(), testing::Contains("CRL expired: Feb 01 00:00:00 2024 GMT"));
  EXPECT_EQ(search({"EXPIRED"}), 1) << "URIs are compared without case";
  EXPECT_STREQ(context->report().nextUpdate->textView(), "240201000000Z");
  logged();
  EXPECT_EQ(search({"endless"}), 0) << "and lists nothing";
  EXPECT_FALSE(context->report().nextUpdate);
  EXPECT_THAT(logged(), ElementsAre(message(4713), message(4714), "CRL date: Jan 01 00:00:00 2025 GMT", message(4708),
                                    message(4710)));
}

TEST_F(CRLSearch, TheLatestOfSeveralPlacesAnswers) {
  EXPECT_TRUE(library().crlTable.addHeld("empty"));
  hold("old", {.thisUpdate = "20240101000000Z", .entries = {{.serial = "01"}}});
  hold("new", {.entries = {{.serial = "02"}}});
  hold("as new", {.entries = {{.serial = "03"}}});
  struct Row {
    std::vector<std::string> urls;
    const char* revoked;
  };
  for (const Row& row : {Row{{"old", "new"}, "02"}, Row{{"new", "old"}, "02"}, Row{{"new", "as new"}, "02"},
                         Row{{"as new", "new"}, "03"}, Row{{"empty", "old", "unknown"}, "01"}}) {
    for (const char* serial : {"01", "02", "03"}) {
      EXPECT_EQ(search(row.urls, serial), std::string_view(serial) == row.revoked) << row.urls[0] << ' ' << serial;
    }
  }
  logged();
  EXPECT_EQ(search({"empty", "unknown"}), -5137);
  EXPECT_THAT(logged(), ElementsAre(message(4713), message(4713), message(4715), message(5137)))
      << "of a row without a CRL nothing is said";
}

TEST_F(CRLSearch, AFullTableHasNoPlaceForAnotherURI) {
  hold(kURL, {.entries = {{.serial = "0A"}}});
  for (int i = 1; i < CRLTable::kRows; ++i) EXPECT_TRUE(library().crlTable.addHeld(std::to_string(i)));
  EXPECT_EQ(search({"new", kURL}), -5137) << "given up at the first that does not fit";
  EXPECT_THAT(logged(), ElementsAre(message(4713), message(4715), message(5120), message(5137)));
  EXPECT_EQ(search({kURL}), 1);
  Certificate untouched;
  Certificate* issuer = &untouched;
  EXPECT_EQ(context->getCRL(Client::at({"new"}).get(), 0, false, &issuer), nullptr);
  EXPECT_EQ(issuer, &untouched);
  EXPECT_EQ(context->report().errCode, 5120);
}

// A URI that there is no memory for costs its own search, and no other.
TEST_F(CRLSearch, ARowThatCouldNotBeMadeIsFreeAgain) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer ends the process instead";
#endif
  const std::string uri(std::size_t{64} << 20, 'u');
  rlimit before{};
  getrlimit(RLIMIT_AS, &before);
  const rlimit full{1, before.rlim_max};
  setrlimit(RLIMIT_AS, &full);
  EXPECT_THROW(static_cast<void>(library().crlTable.addHeld(uri)), std::bad_alloc);
  setrlimit(RLIMIT_AS, &before);
  EXPECT_TRUE(library().crlTable.addHeld(kURL));
}

TEST_F(CRLSearch, LocalCRLsAnswerForTheirPlaceOrTheirIssuer) {
  ASSERT_TRUE(addCA(ca()));
  context->setUseLocalCRLs(1);
  const auto listing = [](const char* serial, const std::string& place = "") {
    std::vector<ExtensionSpec> extensions = {{"authorityKeyIdentifier", "keyid:always"}};
    if (!place.empty()) extensions.push_back(placed(place));
    return makeCRL(ca(), {.entries = {{.serial = serial}}, .extensions = extensions});
  };
  const std::string here = "fullname=URI:" + kURL;
  struct Row {
    const char* name;
    std::vector<ByteString> added;
    const char* revoked;  // by the one that answers
    int otherwise;        // for any other serial number
  };
  for (const Row& row :
       {Row{"its place", {listing("0A", here)}, "0A", 0},
        Row{"one of its places", {listing("0A", "fullname=URI:http://x/,URI:" + kURL)}, "0A", 0},
        Row{"another place", {listing("0A", "fullname=URI:http://h/CA.crl")}, "", -5137},
        Row{"a relative place", {listing("0A", "relativename=rdn\n[rdn]\nCN=x")}, "", -5137},
        Row{"no place", {listing("0A")}, "0A", 0}, Row{"no place, but more", {listing("0A", "onlyuser=TRUE")}, "0A", 0},
        Row{"the last one added", {listing("0A", here), listing("0B")}, "0B", 0},
        Row{"the one that verifies", {listing("0A", here), withBitFlipped(listing("0B"))}, "0A", -5138}}) {
    context->removeLocalCRLs();
    for (const ByteString& der : row.added) context->addLocalCRL(*received(der));
    for (const char* serial : {"0A", "0B"}) {
      const bool isRevoked = std::string_view(serial) == row.revoked;
      EXPECT_EQ(search({kURL}, serial), isRevoked ? 1 : row.otherwise) << row.name << ' ' << serial;
    }
  }
  EXPECT_EQ(search({kURL}, "0A", 1), 1) << "a place needs no CA row";
  EXPECT_EQ(context->getCRL(Client::at({kURL}).get(), 0, true, nullptr), nullptr) << "asks the table alone";
}

}  // namespace
}  // namespace keystrand::test
