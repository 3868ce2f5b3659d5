// verify_trust_list over real lists, over real lists that somebody has changed, and over lists signed by xmlsec1 in
// ways that it knows and that it must not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <functional>

#include "support/Builders.h"
#include "support/Process.h"
#include "support/TSLBuilders.h"
#include "support/TempFolder.h"
#include "support/TestData.h"
#include "support/XmlSec.h"

namespace keystrand::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

Outcome verify(const std::string& arguments) {
  return runCommand(VERIFY_TRUST_LIST " " + arguments);
}

// --- real lists -----------------------------------------------------------------------------------------------------

struct RealList {
  std::filesystem::path path;
  std::string way;  // the arguments before it
};

// Behind the first of this name from there on, the end of its tag, and blanks.
std::size_t contentAt(const std::string& text, const std::string& name, std::size_t from = 0) {
  const std::size_t tag = text.find(name, from);
  return tag == text.npos ? text.npos : text.find_first_not_of(" \r\n\t", text.find('>', tag) + 1);
}

std::string armoured(const std::string& base64) {
  return "-----BEGIN CERTIFICATE-----\n" + base64 + "\n-----END CERTIFICATE-----\n";
}

// A list whose signer nothing else names here is one for whoever trusts the certificate in it.
std::string certificateWithin(const std::filesystem::path& list, const TempFolder& folder) {
  const std::string content = readText(list);
  const std::size_t from = contentAt(content, "X509Certificate", content.find("KeyInfo"));
  std::string base64 = content.substr(from, content.find('<', from) - from);
  base64 = replaced(base64, "&#13;", "");
  std::erase_if(base64, [](char c) { return c == '\n' || c == '\r' || c == ' '; });
  const std::string path = (folder / (list.stem().string() + ".pem")).string();
  std::ofstream(path) << armoured(base64);
  return path;
}

std::vector<RealList> realLists(const std::filesystem::path& data) {
  const std::string journal = "--signers " + (data / "anchors/lotl-bootstrap-0.cert.pem").string();
  const std::string pivots = journal + " --via " + (data / "2023/eu-lotl-pivot-282.xml").string() + " --via " +
                             (data / "2023/eu-lotl-pivot-300.xml").string();
  const std::string european = pivots + " --via " + (data / "2023/eu-lotl.xml").string();
  std::vector<RealList> lists = {{data / "2023/eu-lotl-pivot-282.xml", journal},
                                 {data / "2023/eu-lotl.xml", pivots},
                                 {data / "xsw/TSL-noID.xml", european}};
  for (const char* country : {"AT", "CY", "IS", "IT", "LU", "SE"})
    lists.push_back({data / "2023" / (std::string(country) + ".xml"), european});
  return lists;
}

using Editor = std::function<std::string(const std::string&)>;

struct Change {
  const char* name;
  Editor make;
  std::vector<std::string> reasons;  // one of them
};

// A character of the content of the first element or attribute of this name, behind another.
Editor change(const std::string& name, std::size_t offset = 0, const std::string& behind = "") {
  return [=](std::string text) {
    const std::size_t from = contentAt(text, name, text.find(behind));
    if (from == text.npos) return std::string();
    char& changed = text[from + offset];
    changed = changed == '1' ? '2' : '1';
    return text;
  };
}

// What stands in front of the signature, the signature, and what stands behind it.
std::array<std::string, 3> aroundSignature(const std::string& text) {
  const std::size_t name = text.rfind("Signature ", text.find("SignedInfo"));
  const std::size_t from = text.rfind('<', name);
  const std::string end = "</" + text.substr(from + 1, name - from - 1) + "Signature>";
  const std::size_t to = text.find(end, name) + end.size();
  return {text.substr(0, from), text.substr(from, to - from), text.substr(to)};
}

std::string declaration(const std::string& text) {
  return text.starts_with("<?xml") ? text.substr(text.find("?>") + 2) : text;
}

const Change kChanges[] = {
    {"a digit of its number", change("TSLSequenceNumber"), {"it has been changed since it was signed"}},
    {"what the signer says of the signature", change("SigningTime"), {"it has been changed since it was signed"}},
    {"SignedInfo",
     [](std::string text) { return text.insert(contentAt(text, "SignedInfo"), " "); },
     {"its signature value is wrong"}},
    {"the signature value", change("SignatureValue", 5), {"its signature value is wrong"}},
    {"the certificate", change("X509Certificate", 20, "KeyInfo"), {"its signer is not one of those allowed"}},
    {"the signature stands elsewhere",
     [](const std::string& text) {
       const auto [front, signature, behind] = aroundSignature(text);
       const std::size_t name = front.rfind("SchemeInformation>");
       const std::string end = front.substr(front.rfind('<', name), name + 18 - front.rfind('<', name));
       return replaced(front, end, signature + end) + behind;
     },
     {"its signature is not a part of it"}},
    {"a second signature",
     [](const std::string& text) {
       const auto [front, signature, behind] = aroundSignature(text);
       return front + signature + signature + behind;
     },
     {"it has more than one signature"}},
    {"another list around it",
     [](const std::string& text) {
       return "<TrustServiceStatusList xmlns='http://uri.etsi.org/02231/v2#'>" + declaration(text) +
              "</TrustServiceStatusList>";
     },
     {"its signature is not a part of it"}},
    {"another list around it, and the signature its own",
     [](const std::string& text) {
       const auto [front, signature, behind] = aroundSignature(text);
       return "<TrustServiceStatusList xmlns='http://uri.etsi.org/02231/v2#'>" + declaration(front) + behind +
              signature + "</TrustServiceStatusList>";
     },
     {"it has been changed since it was signed", "a reference covers a part of it", "it has no canonical form",
      "it is not signed"}},
    {"the list inside of its signature, beside another",
     [](const std::string& text) {
       const auto [front, signature, behind] = aroundSignature(text);
       const std::string end = signature.substr(signature.rfind("</"));
       return "<TrustServiceStatusList xmlns='http://uri.etsi.org/02231/v2#'>" +
              signature.substr(0, signature.size() - end.size()) + declaration(front) + behind + end +
              "</TrustServiceStatusList>";
     },
     {"it has been changed since it was signed", "a reference covers a part of it", "it has no canonical form",
      "it is not signed"}},
};

TEST(VerifyTrustList, RealListsAndWhatIsMadeOfThem) {
  const auto data = testData("tl");
  if (!data) GTEST_SKIP() << kNoTestData;
  const TempFolder folder;
  const std::string changedPath = (folder / "changed.xml").string();
  for (const RealList& list : realLists(*data)) {
    const Outcome answer = verify(list.way + " " + list.path.string());
    EXPECT_EQ(answer.status, 0) << answer.text;
    const std::string content = readText(list.path);
    const std::string signer = "--signers " + certificateWithin(list.path, folder) + " ";
    for (const Change& change : kChanges) {
      const std::string changed = change.make(content);
      if (changed.empty()) continue;  // the list has no such place
      ASSERT_NE(changed, content) << list.path << ": " << change.name;
      std::ofstream(changedPath) << changed;
      const Outcome refused = verify(signer + changedPath);
      EXPECT_EQ(refused.status, 1) << list.path << ": " << change.name;
      const bool isExpected = std::ranges::any_of(change.reasons, [&](const std::string& reason) {
        return refused.text.find("changed.xml: refused, " + reason) != std::string::npos;
      });
      EXPECT_TRUE(isExpected) << list.path << ": " << change.name << ": " << refused.text;
    }
  }
}

TEST(VerifyTrustList, ListsThatAreNone) {
  const auto data = testData("tl");
  if (!data) GTEST_SKIP() << kNoTestData;
  const std::string european = realLists(*data).back().way;
  const std::pair<const char*, const char*> rows[] = {
      {"tl/negative/fr-65-docusign.xml", "it has been changed since it was signed"},
      {"tl/negative/tl-empty.xml", "it is not signed"},
      {"tl/negative/zero-bytes.xml", "it is no XML document"},
      {"tl/v6/tlv6_empty.xml", "it is not signed"},
      {"xmldsig/xsw/XSW-enveloping-fake-manifest.xml", "it is no trusted list"},
      {"tl/third-country/ZZ-mra-test.xml", "its signer is not one of those allowed"},
      {"tl/absent.xml", "it is no XML document"},
  };
  for (const auto& [list, reason] : rows) {
    const Outcome answer = verify(european + " " + (data->parent_path() / list).string());
    EXPECT_EQ(answer.status, 1) << list;
    EXPECT_THAT(answer.text, EndsWith(std::string("refused, ") + reason + "\n")) << list;
  }
  const std::string lotl = (*data / "2023/eu-lotl.xml").string();
  EXPECT_EQ(verify("--signers " + (*data / "anchors/lotl-bootstrap-0.cert.pem").string() + " " + lotl).status, 1)
      << "the pivots are left out";
  std::string circle;
  for (int i = 0; i < 10; ++i) circle += " --via " + lotl;
  EXPECT_EQ(verify("--signers x 2>/dev/null" + circle + " " + lotl).status, 2);
  EXPECT_EQ(verify(lotl + " 2>/dev/null").status, 2);
}

// --- lists that xmlsec1 signs ---------------------------------------------------------------------------------------

std::string transform(const std::string& algorithm, const std::string& content = "") {
  return "<ds:Transform Algorithm='" + algorithm + "'>" + content + "</ds:Transform>";
}

const std::string kMore = "http://www.w3.org/2001/04/xmldsig-more#";
const std::string kEncryption = "http://www.w3.org/2001/04/xmlenc#";
const std::string kBasic = "http://www.w3.org/2000/09/xmldsig#";
const std::string kEnveloped = transform(kBasic + "enveloped-signature");
const std::string kExclusive = "http://www.w3.org/2001/10/xml-exc-c14n#";

std::string reference(const std::string& uri, const std::string& transforms, const std::string& digest) {
  return "<ds:Reference URI='" + uri + "'><ds:Transforms>" + transforms +
         "</ds:Transforms><ds:DigestMethod Algorithm='" + digest + "'/><ds:DigestValue/></ds:Reference>";
}

struct SignedList {
  std::string key = "RSA-2048";
  std::string method = kMore + "rsa-sha256";
  std::string canonicalisation = kExclusive;
  std::string references = reference("", kEnveloped + transform(kExclusive), kEncryption + "sha256");
  std::string content = "<part Id='part'><sub/></part>";
  std::string front = "";
  std::string object = "";
};

// The path of the list; empty when xmlsec1 does not sign it. The signer's certificate is signer.pem.
std::string sign(const SignedList& wanted, const TempFolder& folder) {
  const Authority signer = makeAuthority({.key = privateKey(wanted.key)});
  writeAuthority(signer, folder / "signer.pem", folder / "key.pem");
  std::ofstream(folder / "template.xml")
      << wanted.front << "<TrustServiceStatusList xmlns='http://uri.etsi.org/02231/v2#' Id='root'>" << wanted.content
      << "<ds:Signature xmlns:ds='" << kBasic << "'><ds:SignedInfo><ds:CanonicalizationMethod Algorithm='"
      << wanted.canonicalisation << "'/><ds:SignatureMethod Algorithm='" << wanted.method << "'/>" << wanted.references
      << "</ds:SignedInfo><ds:SignatureValue/><ds:KeyInfo><ds:X509Data/></ds:KeyInfo>" << wanted.object
      << "</ds:Signature></TrustServiceStatusList>";
  const std::string path = (folder / "signed.xml").string();
  std::filesystem::remove(path);
  const XmlSecRun run =
      runXmlSec({"--sign", "--privkey-pem", (folder / "key.pem").string() + "," + (folder / "signer.pem").string(),
                 "--id-attr:Id", "part", "--id-attr:Id", "TrustServiceStatusList", "--output", path,
                 (folder / "template.xml").string()});
  return run.succeeded ? path : "";
}

TEST(VerifyTrustList, KnowsWhatItKnowsAndNothingElse) {
  if (findProgram("xmlsec1").empty()) GTEST_SKIP() << "xmlsec1 is not installed";
  struct Row {
    const char* name;
    SignedList list;
    std::string answer;
  };
  const std::string sha256 = kEncryption + "sha256";
  const std::string whole = reference("", kEnveloped, sha256);
  const std::string verified = "signed by ";
  const std::string unknown = "refused, it uses the algorithm ";
  const std::string covers = "refused, a reference covers a part of it";
  const std::string xpathHiding = transform("http://www.w3.org/TR/1999/REC-xpath-19991116",
                                            "<ds:XPath>not(ancestor-or-self::*[local-name()='part'])</ds:XPath>");
  const std::string prefixes = transform(
      kExclusive, "<e:InclusiveNamespaces xmlns:e='http://www.w3.org/2001/10/xml-exc-c14n#' PrefixList='ds'/>");
  const Row rows[] = {
      {"as it stands", {}, verified},
      {"RSA with SHA-384", {.method = kMore + "rsa-sha384"}, verified},
      {"RSA with SHA-512", {.method = kMore + "rsa-sha512"}, verified},
      {"ECDSA on P-256", {.key = "P-256", .method = kMore + "ecdsa-sha256"}, verified},
      {"ECDSA on P-384", {.key = "P-384", .method = kMore + "ecdsa-sha384"}, verified},
      {"ECDSA on P-521", {.key = "P-521", .method = kMore + "ecdsa-sha512"}, verified},
      {"SHA-384", {.references = reference("", kEnveloped, kMore + "sha384")}, verified},
      {"SHA-512", {.references = reference("", kEnveloped, kEncryption + "sha512")}, verified},
      {"Canonical XML 1.0",
       {.canonicalisation = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315", .references = whole},
       verified},
      {"Canonical XML 1.1",
       {.canonicalisation = "http://www.w3.org/2006/12/xml-c14n11",
        .references =
            reference("", kEnveloped + transform("http://www.w3.org/2006/12/xml-c14n11#WithComments"), sha256)},
       verified},
      {"comments count for nothing", {.content = "<!-- a --><part>b<!-- c --></part>"}, verified},
      {"by the name of its root", {.references = reference("#root", kEnveloped, sha256)}, verified},
      {"by a name, with a part of that name",
       {.references = reference("#root", kEnveloped, sha256), .content = "<x><part Id='part'/></x>"},
       verified},

      {"SHA-1", {.references = reference("", kEnveloped, kBasic + "sha1")}, unknown + kBasic + "sha1"},
      {"RSA with SHA-1", {.method = kBasic + "rsa-sha1"}, unknown + kBasic + "rsa-sha1"},
      {"an expression that hides a part",
       {.references = reference("", kEnveloped + xpathHiding, sha256)},
       "refused, the algorithm http://www.w3.org/TR/1999/REC-xpath-19991116 has parameters"},
      {"a list of prefixes",
       {.references = reference("", kEnveloped + prefixes, sha256)},
       "refused, the algorithm " + kExclusive + " has parameters"},
      {"a part", {.references = reference("#part", transform(kExclusive), sha256)}, covers},
      {"the whole and a part", {.references = whole + reference("#part", kEnveloped, sha256)}, covers},
      {"the whole twice", {.references = whole + whole}, "refused, not the whole of it is signed"},
      {"properties alone",
       {.references = replaced(reference("#part", transform(kExclusive), sha256), "<ds:Reference",
                               "<ds:Reference Type='http://uri.etsi.org/01903#SignedProperties'")},
       "refused, not the whole of it is signed"},
      {"the whole by a pointer", {.references = reference("#xpointer(/)", kEnveloped, sha256)}, verified},
      {"a part by a pointer",
       {.references = reference("#xpointer(//*[@Id=&quot;part&quot;])", kEnveloped, sha256)},
       covers},
      {"a mark that goes out of the canonical form",
       {.content = "<part>urn:FIX<!-- -->UUID</part>"},
       "refused, its canonical form hides a part of it"},
      {"a document type",
       {.front = "<!DOCTYPE x [<!ATTLIST part a CDATA 'b'>]>"},
       "refused, it has a document type declaration"},
      {"a signature in the signature",
       {.object = "<ds:Object><ds:Signature/></ds:Object>"},
       "refused, it has more than one signature"},
  };
  for (const Row& row : rows) {
    const TempFolder folder;
    const std::string list = sign(row.list, folder);
    ASSERT_NE(list, "") << row.name;
    const Outcome answer = verify("--signers " + (folder / "signer.pem").string() + " " + list);
    EXPECT_THAT(answer.text, HasSubstr("signed.xml: " + row.answer)) << row.name;
    EXPECT_EQ(answer.status, row.answer == verified ? 0 : 1) << row.name;
  }
}

}  // namespace
}  // namespace keystrand::test
