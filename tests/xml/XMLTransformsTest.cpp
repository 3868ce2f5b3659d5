// The transforms of XML Signature: the octets that a chain of steps gives, judged by xmlsec1 and by published vectors.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <optional>
#include <span>

#include "support/Process.h"
#include "support/TempFolder.h"
#include "support/Texts.h"
#include "support/XmlSec.h"
#include "xml/Documents.h"

namespace keystrand::test {
namespace {

// --- the references of a signed document, driven through the steps of XMLFile as a verifier does

struct ReferenceOctets {
  std::string uri;
  std::optional<std::string> octets;  // nothing where a step fails or is not among those of XMLFile
};

// Canonical XML 1.0, 1.1 and Exclusive XML Canonicalization, by the URI of the algorithm.
struct CanonicalMode {
  const char* uri;
  int mode;
  bool withComments;
};
constexpr CanonicalMode kCanonicalModes[] = {
    {"http://www.w3.org/TR/2001/REC-xml-c14n-20010315", 0, false},
    {"http://www.w3.org/TR/2001/REC-xml-c14n-20010315#WithComments", 0, true},
    {"http://www.w3.org/2001/10/xml-exc-c14n#", 1, false},
    {"http://www.w3.org/2001/10/xml-exc-c14n#WithComments", 1, true},
    {"http://www.w3.org/2006/12/xml-c14n11", 2, false},
    {"http://www.w3.org/2006/12/xml-c14n11#WithComments", 2, true},
};
constexpr const char* kXMLSignature = "http://www.w3.org/2000/09/xmldsig#";
constexpr const char* kXPath = "http://www.w3.org/TR/1999/REC-xpath-19991116";
constexpr const char* kXPathFilter2 = "http://www.w3.org/2002/06/xmldsig-filter2";
constexpr const char* kXSLT = "http://www.w3.org/TR/1999/REC-xslt-19991116";

// One reference. Comments are left out where the URI is empty or a bare name (XML Signature section 4.4.3.3), until
// octets have been read again.
class Driver {
 public:
  explicit Driver(XMLFile& file) : file_(file) {}

  ReferenceOctets run() {
    const std::string uri = attributeText(file_, "URI");
    hasComments_ = uri.starts_with("#xpointer");
    const bool isDone =
        (uri.empty() ? file_.selectWholeDocument() : file_.selectReference(uri.c_str())) && transforms();
    if (!isDone || file_.output() == nullptr) return {uri, std::nullopt};
    return {uri, heldText(file_, file_.output())};
  }

 private:
  bool transforms() {
    file_.pushBookmark();
    bool isDone = true;
    if (file_.child("Transforms"))
      for (bool more = file_.firstChildElement(); more && isDone; more = file_.nextElement()) isDone = step();
    file_.popBookmark();
    return isDone;
  }
  bool step() {
    const std::string algorithm = attributeText(file_, "Algorithm");
    file_.pushBookmark();
    const bool isDone = apply(algorithm);
    file_.popBookmark();
    return isDone;
  }
  bool apply(const std::string& algorithm) {
    const auto mode = std::ranges::find_if(kCanonicalModes, [&](const auto& row) { return algorithm == row.uri; });
    if (mode != std::end(kCanonicalModes)) return canonicalise(*mode);
    if (algorithm == std::string(kXMLSignature) + "enveloped-signature") return file_.applyEnveloped();
    if (algorithm == std::string(kXMLSignature) + "base64") return octets(file_.applyBase64());
    if (algorithm == kXSLT) return octets(file_.applyStylesheet());
    if (algorithm == kXPath) return file_.applyXPath(file_.valueOf("XPath").value_or("").c_str());
    return algorithm == kXPathFilter2 && filter();
  }
  bool canonicalise(const CanonicalMode& wanted) {
    if (file_.firstChildElement()) return false;  // a list of prefixes
    if (hasOctets_ && !file_.applyXPath("true()")) return false;
    hasComments_ = hasComments_ || hasOctets_;
    return octets(file_.canonical(wanted.mode, wanted.withComments && hasComments_));
  }
  bool filter() {
    bool isDone = file_.beginFilter();
    for (bool more = file_.child("XPath"); more && isDone; more = file_.sibling("XPath"))
      isDone = file_.addFilter(attributeText(file_, "Filter").c_str(), file_.value().value_or("").c_str());
    return isDone && file_.applyFilter();
  }
  bool octets(bool isDone) {
    hasOctets_ = true;
    return isDone;
  }

  XMLFile& file_;
  bool hasComments_ = false;
  bool hasOctets_ = false;
};

// Of SignedInfo, in order.
std::vector<ReferenceOctets> referencesOf(XMLFile& file) {
  std::vector<ReferenceOctets> found;
  if (!file.toRoot() || !file.find("SignedInfo")) return found;
  for (bool more = file.child("Reference"); more; more = file.sibling("Reference")) {
    file.pushBookmark();
    found.push_back(Driver(file).run());
    file.popBookmark();
  }
  return found;
}

// --- documents and references to sign

std::string transform(const std::string& algorithm, const std::string& content = "") {
  return "<ds:Transform Algorithm=\"" + algorithm + "\">" + content + "</ds:Transform>";
}

std::string xpath(const std::string& expression) {
  return transform(kXPath, "<ds:XPath>" + expression + "</ds:XPath>");
}

std::string filter(const std::vector<std::pair<std::string, std::string>>& steps) {
  std::string content;
  for (const auto& [operation, expression] : steps)
    content += "<f:XPath xmlns:f=\"" + std::string(kXPathFilter2) + "\" Filter=\"" + operation + "\">" + expression +
               "</f:XPath>";
  return transform(kXPathFilter2, content);
}

const std::string kEnveloped = transform(std::string(kXMLSignature) + "enveloped-signature");
const std::string kBase64 = transform(std::string(kXMLSignature) + "base64");
const std::string kCommented = transform("http://www.w3.org/2006/12/xml-c14n11#WithComments");
const std::string kNames =
    transform(kXSLT,
              "<s:stylesheet xmlns='' xmlns:s='http://www.w3.org/1999/XSL/Transform' version='1.0'>"
              "<s:strip-space elements='*'/><s:template match='/'><names><!-- not copied -->"
              "<s:comment>c</s:comment><s:for-each select='//item'>"
              "<s:sort select='@n' order='descending'/><n><s:value-of select='@n'/></n>"
              "</s:for-each></names></s:template></s:stylesheet>");

std::string reference(const std::string& uri, const std::string& transforms) {
  return "<ds:Reference URI=\"" + uri + "\">" +
         (transforms.empty() ? "" : "<ds:Transforms>" + transforms + "</ds:Transforms>") +
         "<ds:DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"/><ds:DigestValue/></ds:Reference>";
}

// A document with what canonical forms differ in, to be signed with an HMAC.
std::string documentWith(const std::string& references) {
  return "<?xml version='1.0' encoding='ISO-8859-1'?>\n<!-- before -->\n<?before it?>\n"
         "<p:root xmlns:p='urn:p' xmlns='uuid:1234' xmlns:unused='urn:unused' xml:lang='en' xml:base='http://a/b/' "
         "b='2' p:a='1' a=' &#9;&#13;&quot;&lt;&gt;\xE9 '>\r\n"
         "<other Id='other'>text &amp; &#13;<![CDATA[<cdata>]]><!-- inside --><?inside pi?></other>\n"
         "<w xmlns:unused='urn:again' xml:lang='de' xml:base='c/'><item xmlns='' Id='target' n='1' "
         "xml:space='preserve'>"
         "<!-- of it --> <q:inner xmlns:q='urn:q' xmlns:p='urn:inner' q:z='1' p:y='2'><deep xmlns='uuid:5'/></q:inner>"
         "</item></w><item xmlns='' n='2'>SGVs<!-- no Base64 -->\nbG8h<x>IQ==</x></item>\n"
         "<ds:Signature xmlns:ds='http://www.w3.org/2000/09/xmldsig#'><ds:SignedInfo><ds:CanonicalizationMethod "
         "Algorithm='http://www.w3.org/2001/10/xml-exc-c14n#'/><ds:SignatureMethod "
         "Algorithm='http://www.w3.org/2001/04/xmldsig-more#hmac-sha256'/>" +
         references + "</ds:SignedInfo><ds:SignatureValue/></ds:Signature>\n</p:root>\n<!-- after --><?after it?>\n";
}

struct Signed {
  XmlSecRun judge;
  std::vector<ReferenceOctets> ours;
};

// What xmlsec1 digests when it signs the document, and what ours are.
Signed signedBy(const std::string& document) {
  const TempFolder folder;
  const std::string path = (folder / "document.xml").string();
  std::ofstream(path) << document;
  std::ofstream(folder / "key") << "secret";
  XMLFile file;
  EXPECT_TRUE(file.load(path.c_str()));
  return {runXmlSec({"--sign", "--id-attr:Id", "item", "--hmackey", (folder / "key").string(), "--output",
                     (folder / "signed.xml").string(), path}),
          referencesOf(file)};
}

struct Chain {
  std::string name;
  std::string uri;
  std::string transforms;
};

// Every step, behind every way to select, as it stands and before every canonicalisation.
std::vector<std::vector<Chain>> allChains() {
  const Chain selections[] = {{"document", "", kEnveloped},
                              {"pointer to the root", "#xpointer(/)", kEnveloped},
                              {"bare name", "#target", ""},
                              {"pointer to a name", "#xpointer(id('target'))", ""}};
  const std::vector<std::pair<std::string, std::string>> subtraction = {{"subtract", "//*[local-name()='inner']"}};
  const Chain steps[] = {
      {"nothing", "", ""},
      {"XPath, subtrees", "", xpath("ancestor-or-self::item or self::text()")},
      {"XPath, values", "", xpath("not(self::node()[. = '2']) or count(ancestor::node()) &lt; 3")},
      {"two XPaths", "", xpath("not(ancestor-or-self::item[@n='2'])") + xpath("not(ancestor-or-self::ds:Signature)")},
      {"subtract", "", filter(subtraction)},
      {"intersect, intersect, subtract", "",
       filter({{"intersect", "//item | //comment()"}, {"intersect", "//@*/.. | //text()"}, {"subtract", "//x"}})},
      {"canonical, then XPath", "", kCommented + xpath("not(self::x)")}};
  std::vector<std::vector<Chain>> chains;
  const std::span<const CanonicalMode> all = kCanonicalModes;
  const std::span<const CanonicalMode> inclusive = all.first(2);
  const auto add = [&](const Chain& chain, std::span<const CanonicalMode> modes) {
    chains.push_back({chain});
    for (const CanonicalMode& mode : modes)
      chains.back().push_back({chain.name + ", " + mode.uri, chain.uri, chain.transforms + transform(mode.uri)});
  };
  for (const Chain& selection : selections)
    for (const Chain& step : steps) {
      // An XPath transform, behind the selection of a part, is one of the exceptions below.
      const bool isXPathOfPart = selection.transforms.empty() && step.name.find("XPath") != std::string::npos;
      add({selection.name + ", " + step.name, selection.uri, selection.transforms + step.transforms},
          isXPathOfPart ? inclusive : all);
    }
  add({"document, stylesheet", "", kNames}, all);
  add({"several", "#xpointer(//item)", ""}, all);
  add({"several, subtract", "#xpointer(//item)", filter(subtraction)}, all);
  chains.push_back({{"Base64 of nodes", "#xpointer(//item[@n='2'])", kBase64},
                    {"Base64 of octets", "#xpointer(//item[@n='2'])", xpath("self::text()") + kBase64}});
  return chains;
}

TEST(XMLTransforms, GiveTheOctetsThatXmlSecDigests) {
  if (findProgram("xmlsec1").empty()) GTEST_SKIP() << "xmlsec1 is not installed";
  for (const std::vector<Chain>& chains : allChains()) {
    std::string references;
    for (const Chain& chain : chains) references += reference(chain.uri, chain.transforms);
    const Signed result = signedBy(documentWith(references));
    ASSERT_EQ(result.judge.digested.size(), chains.size()) << chains.front().name;
    for (std::size_t i = 0; i < chains.size(); ++i)
      EXPECT_EQ(result.ours.at(i).octets, result.judge.digested[i]) << chains[i].name;
  }
}

// Where the steps are made otherwise than W3C tells them, and callers have signatures over what they give.
TEST(XMLTransforms, DifferWhereTheyAreMeantTo) {
  struct Row {
    const char* reason;
    std::string uri;
    std::string transforms;
    std::optional<std::string> ours;
  };
  const std::string exclusive = transform(kCanonicalModes[2].uri);
  const std::string inner =
      "<q:inner xmlns:p=\"urn:inner\" xmlns:q=\"urn:q\" p:y=\"2\" q:z=\"1\"><deep xmlns=\"uuid:5\"></deep></q:inner>";
  const Row rows[] = {
      {"XPath reads canonical octets, in which an element has brought along the xml: attributes around it", "#target",
       xpath("not(self::comment())") + exclusive,
       "<item Id=\"target\" n=\"1\" xml:base=\"c/\" xml:lang=\"de\" xml:space=\"preserve\"> "
       "<q:inner xmlns:p=\"urn:inner\" xmlns:q=\"urn:q\" p:y=\"2\" q:z=\"1\"><deep xmlns=\"uuid:5\"></deep></q:inner>"
       "</item>"},
      {"and which have to be one document", "#xpointer(//item)", xpath("true()"), std::nullopt},
      {"a namespace node counts by its element", "#target", xpath("self::*[local-name()='inner']"),
       "<q:inner xmlns:p=\"urn:inner\" xmlns:q=\"urn:q\" xmlns:unused=\"urn:again\" xml:base=\"c/\" xml:lang=\"de\" "
       "xml:space=\"preserve\"></q:inner>"},
      {"unions count before subtractions, and the document is one of them", "#target",
       filter({{"subtract", "//item/node()"}, {"union", "//*[local-name()='inner']"}}) + exclusive,
       "<item Id=\"target\" n=\"1\" xml:space=\"preserve\"></item>"},
      {"where subtrees are told apart, a comment draws along the node behind it",
       "#xpointer(//*[local-name()='other']/comment())", filter({{"subtract", "//x"}}) + kCommented,
       "<!-- inside -->\n<?inside pi?>\n"},
      {"a stylesheet takes the whole document", "#target", kNames,
       "<?xml version=\"1.0\"?>\n<names xmlns=\"\"><!--c--><n>2</n><n>1</n></names>\n"},
  };
  for (const Row& row : rows) {
    const Signed result = signedBy(documentWith(reference(row.uri, row.transforms)));
    EXPECT_EQ(result.ours.at(0).octets, row.ours) << row.reason;
    if (findProgram("xmlsec1").empty()) continue;
    ASSERT_EQ(result.judge.digested.size(), 1U) << row.reason;
    EXPECT_NE(result.judge.digested[0], row.ours) << row.reason << ": no longer an exception";
  }
}

// Every signed document of the test data: whatever xmlsec1 digests of it, but for lists of prefixes of the exclusive
// form, and bare names of attributes that are not named Id.
TEST(XMLTransforms, AgreeOnDocumentsOfOthers) {
  const auto data = testData("");
  if (!data || findProgram("xmlsec1").empty()) GTEST_SKIP() << kNoTestData << ", or xmlsec1 is not installed";
  const TempFolder folder;
  std::ofstream(folder / "key") << "secret";
  int compared = 0;
  for (const char* part : {"tl", "xmldsig"})
    for (const auto& entry : std::filesystem::recursive_directory_iterator(*data / part)) {
      XMLFile file;
      if (entry.path().extension() != ".xml" || !file.load(entry.path().c_str())) continue;
      const std::vector<ReferenceOctets> ours = referencesOf(file);
      if (ours.empty()) continue;
      const std::string content = readText(entry.path());
      const XmlSecRun judge = runXmlSec({"--verify", "--insecure", "--hmackey", (folder / "key").string(),
                                         "--id-attr:Id", "SignedProperties", "--id-attr:Id", "Object", "--id-attr:Id",
                                         "TrustServiceStatusList", entry.path().string()});
      for (std::size_t i = 0; i < std::min(ours.size(), judge.digested.size()); ++i) {
        const std::string name = ours[i].uri.starts_with('#') ? ours[i].uri.substr(1) : "";
        const bool isByOtherID = content.find("Id=\"" + name + "\"") == content.npos;
        const bool isBeyond = !ours[i].octets && (isByOtherID || content.find("PrefixList") != content.npos);
        if (isBeyond) continue;
        EXPECT_EQ(ours[i].octets, judge.digested[i]) << entry.path() << " " << ours[i].uri;
        ++compared;
      }
      if (judge.signedInfo.empty()) continue;
      file.toRoot();
      file.find("CanonicalizationMethod");
      const std::string method = attributeText(file, "Algorithm");
      const auto mode = std::ranges::find_if(kCanonicalModes, [&](const auto& row) { return method == row.uri; });
      ASSERT_TRUE(mode != std::end(kCanonicalModes) && file.up() && file.canonicalSubtree(mode->mode, false));
      EXPECT_EQ(heldText(file, file.output()), judge.signedInfo) << entry.path();
    }
  EXPECT_GE(compared, 60);
}

// The examples of the three recommendations, and what several parties agreed on.
TEST(XMLTransforms, CanonicalFormsOfTheRecommendations) {
  const auto data = testData("xmldsig");
  if (!data) GTEST_SKIP() << kNoTestData;
  const std::filesystem::recursive_directory_iterator files(*data);
  const auto first =
      std::ranges::find_if(files, [](const auto& entry) { return entry.path().filename() == "31_input.xml"; });
  ASSERT_NE(first, end(files));
  const std::filesystem::path folder = first->path().parent_path();
  struct Row {
    const char* input;
    const char* expected;  // empty: has none
    const char* uri = "";
    bool withComments = false;
  };
  // Those with defaults or IDs of a document type are not here: no document type makes nodes.
  const Row rows[] = {
      {"31_input.xml", "31_c14n.xml"},
      {"31_input.xml", "31_c14n-comments.xml", "", true},
      {"32_input.xml", "32_c14n.xml"},
      {"34_input.xml", "34_c14n.xml"},
      {"35_input.xml", ""},  // references to entities
      {"36_input.xml", "36_c14n.xml"},
      {"default_ns_redefinition_input.xml", "default_ns_redefinition_c14n.xml", "#envelopedData"},
      {"relative-ns-behaviour.xml", ""},
  };
  for (const Row& row : rows) {
    XMLFile file;
    ASSERT_TRUE(file.load((folder / row.input).c_str())) << row.input;
    EXPECT_TRUE(row.uri[0] != '\0' ? file.selectReference(row.uri) : file.selectWholeDocument());
    const std::string ours = heldText(file, file.output(0, row.withComments));
    EXPECT_EQ(ours, row.expected[0] != '\0' ? readText(folder / row.expected) : "(none)") << row.input;
  }
}

// The examples that several parties agreed on.
TEST(XMLTransforms, SubsetsOfCanonicalXML11) {
  const auto data = testData("xmldsig/c14n11-interop");
  if (!data) GTEST_SKIP() << kNoTestData;
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(*data)) {
    if (entry.path().extension() != ".xpath") continue;
    const std::string name = entry.path().stem().string();
    const std::string expression = readText(entry.path());
    const std::size_t begin = expression.find('[') + 1;
    XMLFile file;
    ASSERT_TRUE(file.load((*data / (name.substr(0, name.rfind('-')) + "-input.xml")).c_str())) << name;
    EXPECT_TRUE(file.selectWholeDocument());
    EXPECT_TRUE(file.applyXPath(expression.substr(begin, expression.rfind(']') - begin).c_str())) << name;
    EXPECT_EQ(heldText(file, file.output(2, false)), readText(*data / (name + ".output"))) << name;
    ++count;
  }
  EXPECT_EQ(count, 17);
}

}  // namespace
}  // namespace keystrand::test
