// verify_trust_list over real lists, and over lists signed by xmlsec1 in ways that it knows, in ways that it must not,
// and changed by somebody since.
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

// A way from the certificate that was published once to the European list, and on to those of countries.
std::string wayTo(const std::string& list, const std::filesystem::path& data) {
  std::string way = "--signers " + (data / "anchors/lotl-bootstrap-0.cert.pem").string();
  for (const char* step : {"2023/eu-lotl-pivot-282.xml", "2023/eu-lotl-pivot-300.xml", "2023/eu-lotl.xml"}) {
    if (step == list) break;
    way += " --via " + (data / step).string();
  }
  return way + " ";
}

using Editor = std::function<std::string(std::string)>;

// Another character in the content of the first element of this name.
Editor change(const std::string& name, std::size_t offset = 0) {
  return [=](std::string text) {
    char& changed = text.at(text.find_first_not_of(" \r\n", text.find('>', text.find(name)) + 1) + offset);
    changed = changed == '1' ? '2' : '1';
    return text;
  };
}

TEST(VerifyTrustList, RealListsUnlessSomebodyHasChangedThem) {
  const auto data = testData("tl");
  if (!data) GTEST_SKIP() << kNoTestData;
  const TempFolder folder;
  const std::string changed = folder / "changed.xml";
  for (const char* list : {"2023/eu-lotl-pivot-282.xml", "2023/eu-lotl.xml", "2023/AT.xml", "2023/CY.xml",
                           "2023/IS.xml", "2023/IT.xml", "2023/LU.xml", "2023/SE.xml", "xsw/TSL-noID.xml"}) {
    const std::string way = wayTo(list, *data);
    const Outcome answer = verify(way + (*data / list).string());
    EXPECT_EQ(answer.status, 0) << answer.text;
    for (const char* element : {"TSLSequenceNumber", "SigningTime"}) {
      std::ofstream(changed) << change(element)(readText(*data / list));
      EXPECT_THAT(verify(way + changed).text, EndsWith("refused, it has been changed since it was signed\n")) << list;
    }
  }
}

TEST(VerifyTrustList, ListsThatAreNone) {
  const auto data = testData("tl");
  if (!data) GTEST_SKIP() << kNoTestData;
  const std::string european = wayTo("2023/AT.xml", *data);
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
    const Outcome answer = verify(european + (data->parent_path() / list).string());
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

// The signature, and what of the list is not.
std::array<std::string, 2> partsOf(const std::string& text) {
  const std::size_t from = text.find("<ds:Signature ");
  const std::size_t to = text.find("</ds:Signature>") + 15;
  return {text.substr(from, to - from), text.substr(0, from) + text.substr(to)};
}

std::string aroundIt(const std::string& content) {
  return "<TrustServiceStatusList xmlns='http://uri.etsi.org/02231/v2#'>" + content + "</TrustServiceStatusList>";
}

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
  Editor edit = {};  // of what was signed
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
  if (!run.succeeded) return "";
  if (wanted.edit) {
    const std::string text = readText(path);
    std::ofstream(path) << wanted.edit(text.substr(text.find("<Trust")));
  }
  return path;
}

TEST(VerifyTrustList, KnowsWhatItKnowsAndNothingElse) {
  if (findProgram("xmlsec1").empty()) GTEST_SKIP() << "xmlsec1 is not installed";
  struct Row {
    const char* name;
    SignedList list;
    std::string answer;
  };
  const std::string c14n10 = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
  const std::string c14n11 = "http://www.w3.org/2006/12/xml-c14n11";
  const std::string xpath = "http://www.w3.org/TR/1999/REC-xpath-19991116";
  const std::string sha256 = kEncryption + "sha256";
  const std::string hiding = transform(xpath, "<ds:XPath>not(ancestor-or-self::*[local-name()='part'])</ds:XPath>");
  const std::string prefixes =
      transform(kExclusive, "<e:InclusiveNamespaces xmlns:e='" + kExclusive + "' PrefixList='ds'/>");
  const auto to = [&](const std::string& uri) { return reference(uri, kEnveloped, sha256); };
  const auto through = [&](const std::string& transforms) { return reference("", kEnveloped + transforms, sha256); };
  const std::string whole = to("");
  const std::string part = reference("#part", transform(kExclusive), sha256);
  const std::string properties =
      replaced(part, "<ds:Reference", "<ds:Reference Type='http://uri.etsi.org/01903#SignedProperties'");
  const auto over = [](const std::string& references) { return SignedList{.references = references}; };
  const auto edited = [](const Editor& edit) { return SignedList{.edit = edit}; };
  const auto exchanged = [&](const std::string& old, const std::string& by) {
    return edited([=](const std::string& text) { return replaced(text, old, by); });
  };
  // What is made of the signature and of the list without it.
  const auto parted = [](const std::function<std::string(const std::string&, const std::string&)>& make) -> Editor {
    return [=](const std::string& text) { return make(partsOf(text)[0], partsOf(text)[1]); };
  };
  const Editor moved = parted([](auto& signature, auto& list) { return replaced(list, "<sub/>", signature); });
  const Editor outside = parted([](auto& signature, auto& list) { return aroundIt(list + signature); });
  const Editor inside =
      parted([](auto& signature, auto& list) { return aroundIt(replaced(signature, "</ds:Sig", list + "</ds:Sig")); });
  const Editor twice =
      parted([](auto& signature, auto& list) { return replaced(list, "</Trust", signature + signature + "</Trust"); });

  const std::string verified = "signed by ";
  const std::string unknown = "refused, it uses the algorithm ";
  const std::string covers = "refused, a reference covers a part of it";
  const std::string incomplete = "refused, not the whole of it is signed";
  const std::string isChanged = "refused, it has been changed since it was signed";
  const std::string isElsewhere = "refused, its signature is not a part of it";
  const std::string isWrong = "refused, its signature value is wrong";
  const std::string several = "refused, it has more than one signature";
  const Row rows[] = {
      {"as it stands", {}, verified},
      {"RSA with SHA-384", {.method = kMore + "rsa-sha384"}, verified},
      {"RSA with SHA-512", {.method = kMore + "rsa-sha512"}, verified},
      {"ECDSA on P-256", {.key = "P-256", .method = kMore + "ecdsa-sha256"}, verified},
      {"ECDSA on P-384", {.key = "P-384", .method = kMore + "ecdsa-sha384"}, verified},
      {"ECDSA on P-521", {.key = "P-521", .method = kMore + "ecdsa-sha512"}, verified},
      {"SHA-384", over(reference("", kEnveloped, kMore + "sha384")), verified},
      {"SHA-512", over(reference("", kEnveloped, kEncryption + "sha512")), verified},
      {"Canonical XML 1.0", {.canonicalisation = c14n10, .references = whole}, verified},
      {"Canonical XML 1.1",
       {.canonicalisation = c14n11, .references = through(transform(c14n11 + "#WithComments"))},
       verified},
      {"comments count for nothing", {.content = "<!-- a --><part>b<!-- c --></part>"}, verified},
      {"by the name of its root", over(to("#root")), verified},
      {"the whole by a pointer", over(to("#xpointer(/)")), verified},

      {"SHA-1", over(reference("", kEnveloped, kBasic + "sha1")), unknown + kBasic + "sha1"},
      {"RSA with SHA-1", {.method = kBasic + "rsa-sha1"}, unknown + kBasic + "rsa-sha1"},
      {"an expression that hides a part", over(through(hiding)), "refused, the algorithm " + xpath + " has parameters"},
      {"a list of prefixes", over(through(prefixes)), "refused, the algorithm " + kExclusive + " has parameters"},
      {"a part", over(part), covers},
      {"a part by a pointer", over(to("#xpointer(//*[@Id=&quot;part&quot;])")), covers},
      {"the whole and a part", over(whole + to("#part")), covers},
      {"the whole twice", over(whole + whole), incomplete},
      {"properties alone", over(properties), incomplete},
      {"a mark that goes out of the canonical form",
       {.content = "<part>urn:FIX<!-- -->UUID</part>"},
       "refused, its canonical form hides a part of it"},
      {"a document type",
       {.front = "<!DOCTYPE x [<!ATTLIST part a CDATA 'b'>]>"},
       "refused, it has a document type declaration"},
      {"a signature in the signature", {.object = "<ds:Object><ds:Signature/></ds:Object>"}, several},

      {"a name changed", exchanged("<sub/>", "<sup/>"), isChanged},
      {"SignedInfo changed", exchanged("<ds:SignedInfo>", "<ds:SignedInfo> "), isWrong},
      {"the signature value changed", edited(change("SignatureValue", 5)), isWrong},
      {"the certificate changed", edited(change("X509Certificate", 20)),
       "refused, its signer is not one of those allowed"},
      {"the signature elsewhere", edited(moved), isElsewhere},
      {"the signature twice", edited(twice), several},
      {"another list around it", edited(aroundIt), isElsewhere},
      {"another list around it, and the signature its own", edited(outside), isChanged},
      {"the same, signed by name", {.references = to("#root"), .edit = outside}, covers},
      {"the list inside of its signature, beside another", edited(inside), isChanged},
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
