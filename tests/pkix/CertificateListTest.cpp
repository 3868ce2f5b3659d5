#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "keystrand/pkix/CertificateList.h"
#include "pkix/OpenSSLOracle.h"
#include "support/Builders.h"
#include "support/Coding.h"
#include "support/Der.h"
#include "support/TestData.h"

namespace keystrand::test {
namespace {

struct NamedCRL {
  std::string name;
  ByteString der;
};

void collect(const std::filesystem::path& folder, std::vector<NamedCRL>& into) {
  if (!std::filesystem::exists(folder)) return;
  for (const auto& file : std::filesystem::recursive_directory_iterator(folder)) {
    if (!file.is_regular_file()) continue;
    for (ByteString& der : crlsInFile(file.path())) {
      into.push_back({file.path().string(), std::move(der)});
    }
  }
}

// The CRLs that others made, and whatever lies beside them: PKITS everywhere, the real ones where they are.
const std::vector<NamedCRL>& publishedCRLs() {
  static const std::vector<NamedCRL> crls = [] {
    std::vector<NamedCRL> found;
    collect(publishedVectors() / "x509" / "PKITS_data" / "crls", found);
    for (const char* folder : {"crl", "cert/bsi", "cert/pss", "malformed/openssl-crl"}) {
      if (const auto path = testData(folder)) collect(*path, found);
    }
    return found;
  }();
  return crls;
}

int reasonOf(const RevokedCertificate& entry) {
  const Extension* reason =
      entry.extensionsView() != nullptr ? entry.extensionsView()->find(OID("2.5.29.21")) : nullptr;
  if (reason == nullptr || reason->length() < 3) return -1;
  return reason->valueView()[2];
}

void expectSameEntries(const RevokedCertificateList* list, const CRLFacts& read) {
  ASSERT_EQ(list != nullptr ? list->count() : 0, static_cast<int>(read.entries.size()));
  std::map<std::string, int> first;
  for (int i = 0; i < static_cast<int>(read.entries.size()); ++i) {
    const CRLFacts::Entry& expected = read.entries[static_cast<std::size_t>(i)];
    RevokedCertificate entry;
    ASSERT_TRUE(list->decode(i, entry));
    EXPECT_EQ(entry.serialView().text(16), expected.serial);
    if (expected.date != -1) {
      EXPECT_EQ(entry.revocationDateView()->seconds(), expected.date);
    }
    EXPECT_EQ(reasonOf(entry), expected.reason);
    EXPECT_EQ(list->find(expected.serial), first.emplace(expected.serial, i).first->second);
  }
}

void expectSameContent(const CertificateList& crl, const CRLFacts& content) {
  EXPECT_EQ(std::max(crl.infoView()->version(), 0), content.version);
  if (content.thisUpdate != -1) {
    EXPECT_EQ(crl.thisUpdateView()->seconds(), content.thisUpdate);
  }
  ASSERT_EQ(crl.nextUpdateView() != nullptr, content.nextUpdate.has_value());
  if (content.nextUpdate) {
    EXPECT_EQ(crl.nextUpdateView()->seconds(), *content.nextUpdate);
  }
  EXPECT_EQ(crl.crlExtensionsView() != nullptr ? crl.crlExtensionsView()->count() : 0, content.extensions);
  expectSameEntries(crl.revokedCertificates(), content);
}

// Some of the damaged ones are read by one of the two only.
TEST(PublishedCRLs, SayWhatOpenSSLReads) {
  std::size_t readByBoth = 0;
  for (const NamedCRL& published : publishedCRLs()) {
    SCOPED_TRACE(published.name);
    const bool damaged = published.name.find("malformed") != std::string::npos;
    CertificateList crl;
    const bool good = decode(crl, published.der);
    const auto content = factsOfCRL(published.der);
    EXPECT_TRUE(damaged || good == content.has_value());
    if (!good || !content) continue;
    ++readByBoth;
    expectSameContent(crl, *content);
    const ByteString again = encode(crl);
    EXPECT_TRUE(damaged || again == published.der);
    const std::unique_ptr<CertificateList> copy(crl.clone());
    EXPECT_EQ(encode(*copy), again);
  }
  EXPECT_GE(readByBoth, 173U);
}

const Authority& authority() {
  static const Authority ca = makeAuthority();
  return ca;
}

const std::vector<CRLEntrySpec> kSomeEntries = {
    {.serial = "0A11", .extensions = {{"CRLReason", "ASN1:ENUM:1"}}},
    {.serial = "-0A11"},
    {.serial = "00"},
    {.serial = std::string(40, 'E'),
     .revocationDate = "20600101000000Z",
     .extensions = {{"CRLReason", "ASN1:ENUM:6"}, {"invalidityDate", "critical,ASN1:GENTIME:20240102030405Z"}}},
    {.serial = "0A11", .extensions = {{"CRLReason", "ASN1:ENUM:4"}}},
};

TEST(CertificateList, ReadsEveryShapeOfBody) {
  struct Row {
    const char* name;
    CRLSpec wanted;
  };
  const Row rows[] = {
      {"all parts", {.entries = kSomeEntries}},
      {"no entries", {}},
      {"no next update", {.nextUpdate = {}, .entries = kSomeEntries}},
      {"no extensions", {.entries = kSomeEntries, .extensions = {}}},
      {"ends behind its one date", {.nextUpdate = {}, .extensions = {}}},
      {"version 1", {.version = 0, .entries = {{.serial = "0A"}}, .extensions = {}}},
      {"dates of after 2049", {.thisUpdate = "20510101000000Z", .nextUpdate = "20520101000000Z"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const ByteString der = makeCRL(authority(), row.wanted);
    CertificateList crl;
    ASSERT_TRUE(decode(crl, der));
    EXPECT_EQ(crl.infoView()->version(), row.wanted.version == 0 ? -1 : 1);
    EXPECT_EQ(crl.nextUpdateView() != nullptr, row.wanted.nextUpdate.has_value());
    EXPECT_EQ(crl.revokedCertificates() != nullptr, !row.wanted.entries.empty());
    EXPECT_EQ(crl.crlExtensionsView() != nullptr, !row.wanted.extensions.empty());
    expectSameEntries(std::as_const(crl).revokedCertificates(), *factsOfCRL(der));
    EXPECT_EQ(encode(crl), der);
    EXPECT_EQ(crl.revokedCertificates() != nullptr && crl.revokedCertificates()->peek(0) != nullptr,
              !row.wanted.entries.empty());
    const std::unique_ptr<CertificateList> copyOfLent(crl.clone());
    EXPECT_EQ(encode(*copyOfLent), der);
    const std::unique_ptr<CertificateListInfo> body(crl.releaseInfo());
    EXPECT_EQ(crl.issuerView(), nullptr);
    EXPECT_EQ(crl.revokedCertificates(), nullptr);
    crl.setInfo(body.get());
    EXPECT_EQ(encode(crl), der);
  }
}

// A SEQUENCE of these elements, in either form.
ByteString sequence(const std::vector<ByteString>& parts, bool definite) {
  const ByteString whole = withChildren(0x30, parts);
  const ByteString end = {0, 0};
  return definite ? whole : ByteString{0x30, 0x80} + firstElement(whole).content + end;
}

// Each of the four levels in either form: the same CRL, written in the definite one.
TEST(CertificateList, ReadsIndefiniteLengthsAtEveryLevel) {
  const ByteString der = makeCRL(authority(), {.entries = kSomeEntries});
  constexpr std::size_t kListOfEntries = 5;
  for (unsigned form = 0; form < 16; ++form) {
    std::vector<ByteString> crl = children(der);
    std::vector<ByteString> body = children(crl[0]);
    std::vector<ByteString> entries = children(body[kListOfEntries]);
    for (ByteString& entry : entries) entry = sequence(children(entry), (form & 1) == 0);
    body[kListOfEntries] = sequence(entries, (form & 2) == 0);
    crl[0] = sequence(body, (form & 4) == 0);
    CertificateList read;
    EXPECT_TRUE(decode(read, sequence(crl, (form & 8) == 0))) << form;
    EXPECT_EQ(encode(read), der) << form;
  }
}

// The reader of the body passes over an element that it doesn't expect and is content; nothing behind it is read.
TEST(CertificateListInfo, EndsAtAnUnknownElement) {
  const std::vector<ByteString> crl = children(makeCRL(authority(), {.entries = kSomeEntries}));
  const ByteString unknown = {0x85, 0x01, 0x00};
  constexpr std::size_t kNextUpdate = 4;
  for (std::size_t place = kNextUpdate; place <= kNextUpdate + 3; ++place) {
    std::vector<ByteString> body = children(crl[0]);
    body.insert(body.begin() + static_cast<std::ptrdiff_t>(place), unknown);
    for (const bool definite : {true, false}) {
      const ByteString der = sequence(body, definite);
      Buffer in;
      in.assign(der.data(), static_cast<std::uint32_t>(der.size()));
      CertificateListInfo info;
      EXPECT_EQ(info.get(in), definite) << place;
      EXPECT_EQ(info.nextUpdateView() != nullptr, place > kNextUpdate);
      EXPECT_EQ(info.revokedCertificates() != nullptr, place > kNextUpdate + 1);
      EXPECT_EQ(info.crlExtensionsView() != nullptr, place > kNextUpdate + 2);
    }
  }
}

// Its length is not looked at: all that it holds is there. Of a certificate it is.
TEST(CertificateList, IsReadThoughItsLengthPassesTheData) {
  const ByteString der = makeCRL(authority(), {.entries = kSomeEntries});
  CertificateList crl;
  ASSERT_TRUE(decode(crl, fromHex("3084FFFFFFF0") + firstElement(der).content));
  EXPECT_EQ(encode(crl), der);
}

// Cut anywhere, a CRL is no CRL, though the buffer still holds the rest of it from before.
TEST(CertificateList, RefusesEveryCut) {
  const ByteString der = makeCRL(authority(), {.entries = kSomeEntries});
  Buffer in;
  for (std::uint32_t n = 0; n < der.size(); ++n) {
    in.assign(der.data(), static_cast<std::uint32_t>(der.size()));
    in.setSize(n);
    in.setReadPosition(0);
    CertificateList crl;
    EXPECT_FALSE(crl.get(in)) << n;
  }
}

}  // namespace
}  // namespace keystrand::test
