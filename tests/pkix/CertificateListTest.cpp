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

// The DER of every CRL in a file, armoured or not.
std::vector<ByteString> crlsIn(const ByteString& file) {
  if (!file.empty() && file[0] == 0x30) return {file};
  std::vector<ByteString> found;
  const std::string text(file.begin(), file.end());
  for (const char* label : {"-----BEGIN X509 CRL-----", "-----BEGIN CRL-----"})
    for (std::size_t at = text.find(label); at != std::string::npos; at = text.find(label, at + 1))
      if (ByteString der = fromPEM(text.substr(at)); !der.empty()) found.push_back(std::move(der));
  return found;
}

// Of the first such extension, -1 when there is none.
int reasonOf(const RevokedCertificate& entry) {
  const ExtensionList* extensions = entry.extensionsView();
  const Extension* reason = extensions != nullptr ? extensions->find(OID("2.5.29.21")) : nullptr;
  return reason != nullptr && reason->length() >= 3 ? reason->valueView()[2] : -1;
}

int reasonOf(const X509_REVOKED* entry) {
  const int place = X509_REVOKED_get_ext_by_NID(entry, NID_crl_reason, -1);
  if (place < 0) return -1;
  const std::unique_ptr<ASN1_ENUMERATED, decltype(&ASN1_ENUMERATED_free)> reason(
      static_cast<ASN1_ENUMERATED*>(X509V3_EXT_d2i(X509_REVOKED_get_ext(entry, place))), ASN1_ENUMERATED_free);
  return reason ? static_cast<int>(ASN1_ENUMERATED_get(reason.get())) : -1;
}

bool sameTime(const X500Time* ours, const ASN1_TIME* theirs) {
  if (ours == nullptr || theirs == nullptr) return ours == nullptr && theirs == nullptr;
  return secondsOf(theirs) == -1 || ours->seconds() == secondsOf(theirs);
}

void expectSame(const CertificateList& crl, X509_CRL* theirs) {
  EXPECT_EQ(std::max(crl.infoView()->version(), 0), X509_CRL_get_version(theirs));
  EXPECT_TRUE(sameTime(crl.thisUpdateView(), X509_CRL_get0_lastUpdate(theirs)));
  EXPECT_TRUE(sameTime(crl.nextUpdateView(), X509_CRL_get0_nextUpdate(theirs)));
  EXPECT_EQ(crl.crlExtensionsView() != nullptr ? crl.crlExtensionsView()->count() : 0, X509_CRL_get_ext_count(theirs));
  const RevokedCertificateList* list = crl.revokedCertificates();
  const STACK_OF(X509_REVOKED)* revoked = X509_CRL_get_REVOKED(theirs);
  ASSERT_EQ(list != nullptr ? list->count() : 0, std::max(sk_X509_REVOKED_num(revoked), 0));
  std::map<std::string, int> first;
  for (int i = 0; i < sk_X509_REVOKED_num(revoked); ++i) {
    const X509_REVOKED* expected = sk_X509_REVOKED_value(revoked, i);
    const std::string serial = hexadecimal(X509_REVOKED_get0_serialNumber(expected));
    RevokedCertificate entry;
    ASSERT_TRUE(list->decode(i, entry));
    EXPECT_EQ(entry.serialView().text(16), serial);
    EXPECT_TRUE(sameTime(entry.revocationDateView(), X509_REVOKED_get0_revocationDate(expected)));
    EXPECT_EQ(reasonOf(entry), reasonOf(expected));
    EXPECT_EQ(list->find(serial), first.emplace(serial, i).first->second);
  }
}

// The CRLs that others made, and whatever lies beside them: PKITS everywhere, the real ones where they are. Some of the
// damaged ones are read by one of the two only.
TEST(PublishedCRLs, SayWhatOpenSSLReads) {
  std::size_t readByBoth = 0;
  std::vector folders = {publishedVectors() / "x509" / "PKITS_data" / "crls"};
  for (const char* folder : {"crl", "cert/bsi", "cert/pss", "malformed/openssl-crl"})
    if (const auto path = testData(folder)) folders.push_back(*path);
  for (const auto& folder : folders) {
    for (const auto& file : std::filesystem::recursive_directory_iterator(folder)) {
      if (!file.is_regular_file()) continue;
      SCOPED_TRACE(file.path());
      const bool damaged = file.path().string().find("malformed") != std::string::npos;
      for (const ByteString& der : crlsIn(readFile(file.path()))) {
        CertificateList crl;
        const bool good = decode(crl, der);
        const CRLHandle theirs = readCRL(der);
        EXPECT_TRUE(damaged || good == (theirs != nullptr));
        if (!good || !theirs) continue;
        ++readByBoth;
        expectSame(std::as_const(crl), theirs.get());
        EXPECT_TRUE(encode(crl) == der || damaged);
      }
    }
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
  const std::pair<const char*, CRLSpec> rows[] = {
      {"all parts", {.entries = kSomeEntries}},
      {"no entries", {}},
      {"no next update", {.nextUpdate = {}, .entries = kSomeEntries}},
      {"no extensions", {.entries = kSomeEntries, .extensions = {}}},
      {"ends behind its one date", {.nextUpdate = {}, .extensions = {}}},
      {"version 1", {.version = 0, .entries = {{.serial = "0A"}}, .extensions = {}}},
      {"dates of after 2049", {.thisUpdate = "20510101000000Z", .nextUpdate = "20520101000000Z"}},
  };
  for (const auto& [name, wanted] : rows) {
    SCOPED_TRACE(name);
    const ByteString der = makeCRL(authority(), wanted);
    CertificateList crl;
    ASSERT_TRUE(decode(crl, der));
    expectSame(std::as_const(crl), readCRL(der).get());
    EXPECT_EQ(crl.infoView()->version(), wanted.version == 0 ? -1 : 1);
    EXPECT_EQ(crl.revokedCertificates() != nullptr, !wanted.entries.empty());
    EXPECT_EQ(encode(crl), der);
    EXPECT_TRUE(wanted.entries.empty() || crl.revokedCertificates()->peek(0) != nullptr);
    const std::unique_ptr<CertificateList> copyOfLent(crl.clone());
    EXPECT_EQ(encode(*copyOfLent), der);
    const std::unique_ptr<CertificateListInfo> body(crl.releaseInfo());
    EXPECT_TRUE(crl.issuerView() == nullptr && crl.revokedCertificates() == nullptr);
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

// Names and extensions become objects of many times their length: no more of them is read than any CRL needs.
TEST(CertificateListInfo, RefusesPartsThatNoCRLNeeds) {
  const std::vector<ByteString> crl = children(makeCRL(authority(), {.entries = kSomeEntries}));
  const auto repeated = [](const char* hex, std::size_t length) {
    const ByteString one = fromHex(hex);
    ByteString all;
    while (all.size() < length) all.insert(all.end(), one.begin(), one.end());
    return element(0x30, all);
  };
  constexpr std::size_t kIssuer = 2;
  for (const auto& [length, good] : {std::pair<std::size_t, bool>{0xFFF00, true}, {0x100100, false}}) {
    for (const bool inIssuer : {true, false}) {
      std::vector<ByteString> body = children(crl[0]);
      if (inIssuer) {
        body[kIssuer] = repeated("3100", length);
      } else {
        body.back() = element(0xA0, repeated("3007 0603551D15 0400", length));
      }
      CertificateListInfo info;
      EXPECT_EQ(decode(info, sequence(body, true)), good) << length << ' ' << inIssuer;
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

}  // namespace
}  // namespace keystrand::test
