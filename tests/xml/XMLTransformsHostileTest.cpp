// Steps out of order, and expressions, stylesheets and documents of strangers: no file, no network, no end that does
// not come, and what cannot be done leaves the chain as it was.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <functional>

#include "support/ScriptedServer.h"
#include "support/TSLBuilders.h"
#include "support/TempFolder.h"
#include "xml/Documents.h"
#include "xml/Watchdog.h"

namespace keystrand::test {
namespace {

using Step = std::function<bool(XMLFile&)>;

bool selectAll(XMLFile& file) {
  return file.selectWholeDocument();
}

const std::string kSmall =
    "<r xmlns:p='u:1'><a Id='x' id='y'>1<!-- c --></a><p:b Id='z'>QUJD</p:b><Signature>s<i/></Signature></r>";

// No names, no names of the document below, and pointers to nothing.
const char* const kNoReferences[] = {"",
                                     "#",
                                     "x",
                                     "#X",
                                     "#y",
                                     "http://x",
                                     "#x'] | //*[@Id='z",
                                     "#x)",
                                     "#xpointer(",
                                     "#xpointer()",
                                     "#xpointer(id())",
                                     "#xpointer(id('q'))",
                                     "#xpointer(id('x') = 1)",
                                     "#xpointer('text')",
                                     "#xpointer(1)",
                                     "#xpointer(//q)",
                                     "#xpointer(here())",
                                     "#xpointer(range(//a))",
                                     "#xpointer(string-range(//a,'1'))",
                                     "#element(/1"};

TEST(XMLTransformsHostile, StepsThatCannotBeTaken) {
  const std::string whole =
      "<r xmlns:p=\"u:1\"><a Id=\"x\" id=\"y\">1</a><p:b Id=\"z\">QUJD</p:b><Signature>s<i></i></Signature></r>";
  struct Row {
    const char* name;
    Step prepare;
    Step step;
    std::string after;  // what the chain gives then
  };
  const auto nothing = [](XMLFile&) { return true; };
  const auto filtering = [](XMLFile& f) { return selectAll(f) && f.beginFilter() && f.addFilter("subtract", "//a"); };
  const Row rows[] = {
      {"a form of nothing", nothing, [](XMLFile& f) { return f.canonical(0, false); }, "(none)"},
      {"an unknown form", selectAll, [](XMLFile& f) { return f.canonical(3, false) || f.canonical(-1, true); }, whole},
      {"XPath on nothing", nothing, [](XMLFile& f) { return f.applyXPath("true()"); }, "(none)"},
      {"Base64 of nothing", nothing, [](XMLFile& f) { return f.applyBase64(); }, "(none)"},
      {"enveloped, nothing selected", nothing, [](XMLFile& f) { return f.find("i") && f.applyEnveloped(); }, "(none)"},
      {"enveloped, outside of a signature", selectAll, [](XMLFile& f) { return f.find("a") && f.applyEnveloped(); },
       whole},
      {"no stylesheet", selectAll, [](XMLFile& f) { return f.applyStylesheet(); }, whole},
      {"a filter that was not begun", selectAll,
       [](XMLFile& f) { return f.addFilter("union", "//a") || f.applyFilter(); }, whole},
      {"an unknown operation", filtering,
       [](XMLFile& f) { return f.addFilter("Subtract", "/*") || f.addFilter("", "/*"); }, whole},
      {"a filter with another result", filtering, [](XMLFile& f) { return f.addFilter("subtract", "count(//a)"); },
       whole},
      {"a filter that is none", filtering, [](XMLFile& f) { return f.addFilter("subtract", "//q:a"); }, whole},
      {"null", selectAll,
       [](XMLFile& f) { return f.applyXPath(nullptr) || f.addFilter(nullptr, "/") || f.addFilter("union", nullptr); },
       whole},
      {"an expression that closes the predicate", selectAll, [](XMLFile& f) { return f.applyXPath("0] | //*[1"); },
       whole},
      {"an expression that fails", selectAll,
       [](XMLFile& f) {
         return f.applyXPath("here()") || f.applyXPath("$v") || f.applyXPath("q:a") || f.applyXPath("");
       },
       whole},
      {"an endless expression", selectAll,
       [](XMLFile& f) {
         return f.applyXPath(("not(" + repeated("(", 20000) + "1" + repeated(")", 20000) + ")").c_str());
       },
       whole},
      {"no name, and no name of this document", selectAll,
       [](XMLFile& f) {
         for (const char* uri : kNoReferences)
           if (f.selectReference(uri)) return true;
         return f.selectReference(nullptr);
       },
       "(none)"},
  };
  for (const Row& row : rows) {
    XMLFile file;
    ASSERT_TRUE(parse(file, kSmall));
    EXPECT_TRUE(row.prepare(file)) << row.name;
    EXPECT_FALSE(row.step(file)) << row.name;
    EXPECT_EQ(heldText(file, file.output()), row.after) << row.name;
    EXPECT_EQ(file.outputLength(), row.after == "(none)" ? 0 : row.after.size()) << row.name;
  }
}

TEST(XMLTransformsHostile, StepsThatCan) {
  struct Row {
    const char* name;
    Step step;
    std::string output;
  };
  const std::string a = "<a xmlns:p=\"u:1\" Id=\"x\" id=\"y\">1</a>";
  const Row rows[] = {
      {"a bare name", [](XMLFile& f) { return f.selectReference("#x"); }, a},
      {"id() by Id", [](XMLFile& f) { return f.selectReference("#xpointer(id('x'))"); }, a},
      {"id() by id", [](XMLFile& f) { return f.selectReference("#xpointer(id(\"y\"))"); }, a},
      {"a long id()",
       [](XMLFile& f) { return f.selectReference(("#xpointer(id('x')) " + repeated(" ", 500)).c_str()); }, a},
      {"a prefix of the document", [](XMLFile& f) { return f.selectReference("#xpointer(//p:b)"); },
       "<p:b xmlns:p=\"u:1\" Id=\"z\">QUJD</p:b>"},
      {"enveloped, by the cursor", [](XMLFile& f) { return selectAll(f) && f.find("i") && f.applyEnveloped(); },
       "<r xmlns:p=\"u:1\"><a Id=\"x\" id=\"y\">1</a><p:b Id=\"z\">QUJD</p:b></r>"},
      {"an empty intersection stops everything",
       [](XMLFile& f) { return selectAll(f) && f.beginFilter() && f.addFilter("intersect", "//q") && f.applyFilter(); },
       ""},
      {"31 steps, and no more",
       [](XMLFile& f) {
         bool isTaken = selectAll(f) && f.beginFilter();
         for (int i = 0; i < 31; ++i) isTaken = isTaken && f.addFilter("subtract", "//a");
         return isTaken && !f.addFilter("subtract", "//*") && f.applyFilter();
       },
       "<r xmlns:p=\"u:1\"><p:b Id=\"z\">QUJD</p:b><Signature>s<i></i></Signature></r>"},
      {"Base64 of nodes", [](XMLFile& f) { return f.selectReference("#z") && f.applyBase64(); }, "ABC"},
      {"the Base64 in what is none",
       [](XMLFile& f) { return f.selectReference("#xpointer(//@id)") && f.canonical(0, false) && f.applyBase64(); },
       "\x89\xDC"},
      {"binary octets are no document",
       [](XMLFile& f) { return f.selectReference("#z") && f.applyBase64() && !f.applyXPath("true()"); }, "ABC"},
      {"a subtree", [](XMLFile& f) { return f.find("b") && f.canonicalSubtree(1, false); },
       "<p:b xmlns:p=\"u:1\" Id=\"z\">QUJD</p:b>"},
      {"octets outlive their nodes",
       [](XMLFile& f) { return f.selectReference("#z") && f.canonical(1, false) && f.removeElement("r"); },
       "<p:b xmlns:p=\"u:1\" Id=\"z\">QUJD</p:b>"},
      {"nodes do not outlive an element", [](XMLFile& f) { return f.selectReference("#z") && f.removeElement("a"); },
       "(none)"},
      {"nor another document", [](XMLFile& f) { return selectAll(f) && f.beginFilter() && parse(f, "<s/>"); },
       "(none)"},
  };
  for (const Row& row : rows) {
    XMLFile file;
    ASSERT_TRUE(parse(file, kSmall));
    EXPECT_TRUE(row.step(file)) << row.name;
    EXPECT_EQ(heldText(file, file.output()), row.output) << row.name;
  }
}

// A mark of former days is cut out of every form, and who verifies can tell.
TEST(XMLTransformsHostile, AMarkIsCutOutAndTold) {
  XMLFile file;
  ASSERT_TRUE(parse(file, "<r xmlns='urn:FIXUUIDuuid:1'><a>urn:FIX<!-- -->UUID</a></r>"));
  EXPECT_TRUE(file.selectWholeDocument());
  EXPECT_FALSE(file.isOutputShortened());
  EXPECT_EQ(heldText(file, file.output()), "<r xmlns=\"uuid:1\"><a></a></r>");
  EXPECT_TRUE(file.isOutputShortened());
  EXPECT_TRUE(file.applyXPath("not(self::text())") && file.isOutputShortened());
  EXPECT_TRUE(file.selectWholeDocument() && !file.isOutputShortened());
  EXPECT_TRUE(file.find("a") && file.canonicalSubtree(0, false) && file.isOutputShortened());
}

std::string stylesheet(const std::string& templates, const std::string& top = "") {
  return "<r><secret>here</secret><x:stylesheet xmlns:x='http://www.w3.org/1999/XSL/Transform' version='1.0'>" + top +
         "<x:template match='/'>" + templates + "</x:template></x:stylesheet></r>";
}

TEST(XMLTransformsHostile, AStylesheetReachesNothing) {
  const TempFolder folder;
  std::ofstream(folder / "secret") << "<x>SECRET</x>";
  const std::string target = (folder / "written").string();
  ScriptedServer server({{ScriptedServer::ok("<x>SECRET</x>")}});
  std::vector<std::string> documents;
  for (const std::string& address :
       {"file://" + (folder / "secret").string(), (folder / "secret").string(), server.url("/secret")}) {
    documents.push_back(stylesheet("<x:copy-of select=\"document('" + address + "')\"/>"));
    documents.push_back(stylesheet("", "<x:import href='" + address + "'/>"));
    documents.push_back(stylesheet("", "<x:include href='" + address + "'/>"));
  }
  for (const char* writer : {"<x:document href='HERE'>w</x:document>",
                             "<e:document xmlns:e='http://exslt.org/common' href='HERE'>w</e:document>",
                             "<s:output xmlns:s='http://icl.com/saxon' file='HERE'>w</s:output>",
                             "<w:write xmlns:w='org.apache.xalan.xslt.extensions.Redirect' file='HERE'>w</w:write>"})
    documents.push_back(replaced(replaced(stylesheet(writer), "HERE", target), "version='1.0'",
                                 "version='1.0' xmlns:e='http://exslt.org/common' xmlns:s='http://icl.com/saxon' "
                                 "extension-element-prefixes='e s'"));
  for (const std::string& document : documents) {
    XMLFile file;
    ASSERT_TRUE(parse(file, document));
    static_cast<void>(file.applyStylesheet());
    EXPECT_EQ(heldText(file, file.output()).find("SECRET"), std::string::npos) << document;
    EXPECT_FALSE(std::filesystem::exists(target)) << document;
  }
  EXPECT_TRUE(server.requests().empty());
}

// The document that a stylesheet runs over is a copy: what it strips stays where the cursor and the selection are.
TEST(XMLTransformsHostile, AStylesheetLeavesTheDocument) {
  XMLFile file;
  ASSERT_TRUE(parse(
      file, stylesheet("<x:value-of select='//secret'/>", "<x:output method='text'/><x:strip-space elements='*'/>")));
  EXPECT_TRUE(file.selectReference("#xpointer(//secret)") && file.find("secret"));
  EXPECT_TRUE(file.applyStylesheet());
  EXPECT_EQ(heldText(file, file.output()), "here");
  EXPECT_TRUE(file.isCurrent("secret"));
  EXPECT_TRUE(file.canonical(0, false));
  EXPECT_EQ(heldText(file, file.output()), "<secret>here</secret>");
}

TEST(XMLTransformsHostile, EverythingEnds) {
  const std::string endless = "<x:template name='t'><x:call-template name='t'/></x:template>";
  const std::string doubling =
      "<x:template name='t'><x:param name='n'/><x:call-template name='t'><x:with-param name='n' "
      "select='concat($n,$n,.)'/></x:call-template></x:template>";
  const std::string nested = repeated("<x:for-each select='//*'>", 12) + "1" + repeated("</x:for-each>", 12);
  for (const std::string& document :
       {stylesheet("<x:call-template name='t'/>", endless), stylesheet("<x:call-template name='t'/>", doubling),
        stylesheet(nested), stylesheet("<x:message terminate='yes'>stop</x:message>"), stylesheet("<x:if/>")}) {
    XMLFile file;
    ASSERT_TRUE(parse(file, document));
    EXPECT_FALSE(file.applyStylesheet()) << document.substr(0, 300);
  }
  XMLFile file;
  ASSERT_TRUE(parse(file, "<r>" + repeated("<a>1</a>", 3000) + "</r>"));
  std::string namespaces;
  for (int i = 0; i < 300; ++i) namespaces += " xmlns:n" + std::to_string(i) + "='u:1'";
  XMLFile inForce;
  ASSERT_TRUE(parse(inForce, "<r" + namespaces + ">" + repeated("<a/>", 3000) + "</r>"));
  EXPECT_TRUE(inForce.selectReference("#xpointer(/r[namespace::n1 = //a[9]/namespace::n2])"));
  EXPECT_FALSE(inForce.selectReference("#xpointer(/r[//namespace::* != //namespace ::*])"));
  EXPECT_FALSE(inForce.selectReference("#xpointer((//namespace::* | //namespace::*))"));
  const std::string nests = "count(" + repeated("//*[", 10) + "1" + repeated("]", 10) + ") = 0";
  EXPECT_TRUE(file.selectWholeDocument());
  EXPECT_FALSE(file.applyXPath(nests.c_str()));
  EXPECT_FALSE(file.selectReference(("#xpointer(//*[" + nests + "])").c_str()));
  EXPECT_TRUE(file.beginFilter());
  EXPECT_FALSE(file.addFilter("subtract", ("//*[" + nests + "]").c_str()));
}

// What is true of the functions that are not libxml2's own, in expressions and in stylesheets: the examples of
// XPath 1.0 and texts as large as a document may hold. libxml2 takes hours for those.
TEST(XMLTransformsHostile, FunctionsOfLargeTexts) {
  constexpr int kLarge = 1'000'000;
  const std::string large = "<a>" + repeated("x", kLarge) + "</a><b>" + repeated("x", kLarge / 2) + "y</b><c>" +
                            repeated("zy", kLarge / 2) + "</c>";
  const std::string named = "<n xml:id='n1' ref='n2  n1'/><n xml:id='n2' ref='n2 n3'/>";
  const std::string document = replaced(stylesheet("<x:value-of select=\"CONDITION\"/>", "<x:output method='text'/>"),
                                        "<secret>", large + named + "<secret>");
  for (const char* condition : {
           "substring-before('1999/04/01','/') = '1999' and substring-before('a','b') = '' and "
           "not(substring-before(1,''))",
           "substring-after('1999/04/01','/') = '04/01' and substring-after('1999/04/01','19') = '99/04/01'",
           "substring-after('a','b') = '' and substring-after('ab','') = 'ab' and contains(12,2) and contains('','')",
           "translate('bar','abc','AB') = 'BAr' and translate('--aaa--','abc-','ABC') = 'AAA'",
           "translate('\xC3\xA9\xE2\x82\xAC','\xE2\x82\xAC\xC3\xA9\xC3\xA9','z\xC3\xA8x') = '\xC3\xA8z'",
           "concat('a',//n[2]/@ref,1 div 2) = 'an2 n30.5' and not(contains('ab','ba'))",
           "count(id('n2 q n1 n2')) = 2 and count(id(//@ref)) = 2 and id(' n1\t')/@ref = 'n2  n1' and not(id('n'))",
           "not(contains(//a,//b)) and substring-before(//a,//b) = '' and substring-after(//a,//b) = ''",
           "translate(//a,//c,'') = //a and translate(//c,concat(//a,'y'),'') = translate(//c,'y','')",
           "string-length(concat(//a,//b,//c)) = 2500001",
       }) {
    XMLFile file;
    ASSERT_TRUE(parse(file, replaced(document, "CONDITION", condition)));
    EXPECT_TRUE(file.selectReference(("#xpointer(/r[" + std::string(condition) + "])").c_str())) << condition;
    EXPECT_TRUE(file.applyStylesheet()) << condition;
    EXPECT_EQ(heldText(file, file.output()), "true") << condition;
  }
  for (const std::string& condition :
       {"concat(//a" + repeated(",//a", 33) + ")", std::string("concat('a')"), std::string("contains('a')"),
        std::string("translate('a','b')"), std::string("id()"), std::string("id('a','b')")}) {
    XMLFile file;
    ASSERT_TRUE(parse(file, replaced(document, "CONDITION", condition)));
    EXPECT_FALSE(file.selectReference(("#xpointer(/r[" + condition + "])").c_str())) << condition;
    EXPECT_FALSE(file.applyStylesheet()) << condition;
  }
}

// What the compilation of a stylesheet goes through again and again, it has little of.
TEST(XMLTransformsHostile, LargeStylesheets) {
  const auto isRun = [](const std::string& templates, const std::string& top) {
    XMLFile file;
    EXPECT_TRUE(parse(file, stylesheet(templates, top)));
    return file.applyStylesheet();
  };
  const auto set = [](int attributes) {
    return "<x:attribute-set name='s'>" + repeated("<x:attribute name='a'/>", attributes) + "</x:attribute-set>";
  };
  const std::string alternatives = "<x:template match='a" + repeated("|a", 9000) + "'/>";
  const std::string key = "<x:key name='k' match='a' use='b'/>";
  EXPECT_TRUE(isRun("<a b='" + repeated("{1}", 4000) + "' x:use-attribute-sets='s'/>", set(900) + alternatives));
  EXPECT_TRUE(isRun("<a/>", repeated(key, 9000)));
  XMLFile file;
  ASSERT_TRUE(parse(file, stylesheet("<x:value-of select=\"count(key('k',/r|//secret)) = 2 and key('k','here') and "
                                     "not(document(//q)) and count(document('')//x:key) = 1\"/>",
                                     "<x:output method='text'/><x:key name='k' match='*' use='.'/>")));
  EXPECT_TRUE(file.applyStylesheet());
  EXPECT_EQ(heldText(file, file.output()), "true");
  for (const char* foreign : {"document('#xpointer(//*[contains(.,..)])')", "document(//secret)", "document()"})
    EXPECT_FALSE(isRun(std::string("<x:value-of select=\"") + foreign + "\"/>", "")) << foreign;
  EXPECT_FALSE(isRun("<a/>", repeated(key, 11000)));
  EXPECT_FALSE(isRun("<a/>", alternatives + alternatives));
  EXPECT_FALSE(isRun("<a/>", set(1100)));
  EXPECT_FALSE(isRun("<a x:use-attribute-sets='" + repeated("s ", 2100) + "'/>", set(1)));
  EXPECT_FALSE(isRun("<a x:exclude-result-prefixes='" + repeated("x ", 100000) + "'/>", ""));
  EXPECT_FALSE(isRun("<a b='" + repeated("{{", 6000) + "'/>", ""));
}

volatile std::sig_atomic_t signalsTaken = 0;

// Handlers of the client run on threads of the client: a signal that none of those takes waits.
TEST(XMLTransformsHostile, TheWatchdogTakesNoSignals) {
  std::signal(SIGUSR1, [](int) { signalsTaken = signalsTaken + 1; });
  sigset_t user;
  sigemptyset(&user);
  sigaddset(&user, SIGUSR1);
  {
    const Watchdog watchdog([] {});
    pthread_sigmask(SIG_BLOCK, &user, nullptr);
    kill(getpid(), SIGUSR1);
  }
  EXPECT_EQ(signalsTaken, 0);
  pthread_sigmask(SIG_UNBLOCK, &user, nullptr);
  EXPECT_EQ(signalsTaken, 1);
}

// Octets that a step has made are read as any other document of a stranger.
TEST(XMLTransformsHostile, EntitiesInOctetsDoNotMultiply) {
  const std::string octets =
      "<!DOCTYPE r [<!ENTITY a '" + std::string(100000, 'a') + "'>]><r>" + repeated("&a;", 3000) + "</r>";
  XMLFile file;
  ASSERT_TRUE(parse(file, "<r><a Id='e'>" + toBase64({octets.begin(), octets.end()}) + "</a></r>"));
  EXPECT_TRUE(file.selectReference("#e") && file.applyBase64());
  EXPECT_FALSE(file.applyXPath("string(.) = ''"));
}

// The size of a large country's list, and sizes that nothing needs.
TEST(XMLTransformsHostile, LargeDocuments) {
  constexpr int kMany = 60000;  // 300 000 nodes with texts, attributes and namespaces
  XMLFile file;
  ASSERT_TRUE(parse(file, "<r xmlns:p='u:1'>" + repeated("<a b='1'>t</a>", kMany) + "<Signature><i/></Signature></r>"));
  const std::string rest = "<r xmlns:p=\"u:1\">" + repeated("<a b=\"1\">t</a>", kMany) + "</r>";
  EXPECT_TRUE(file.selectWholeDocument() && file.applyXPath("not(ancestor-or-self::Signature)"));
  EXPECT_TRUE(heldText(file, file.output()) == rest);
  EXPECT_TRUE(file.find("i") && file.selectReference("#xpointer(//node())") && file.applyEnveloped());
  EXPECT_TRUE(heldText(file, file.output()) == rest);
  EXPECT_TRUE(file.beginFilter() && file.addFilter("intersect", "//node() | //@* | //text()") &&
              file.addFilter("subtract", "//Signature"));
  EXPECT_TRUE(file.selectWholeDocument() && file.applyFilter());
  EXPECT_TRUE(heldText(file, file.output()) == rest);

  std::string namespaces;
  for (int i = 0; i < 1001; ++i) namespaces += " xmlns:n" + std::to_string(i) + "='u:1'";
  std::string attributes;
  for (int i = 0; i < 1001; ++i) attributes += " n" + std::to_string(i) + "=''";
  for (const std::string& root : {"<r" + namespaces + ">", "<r" + attributes + ">"}) {
    ASSERT_TRUE(parse(file, root + "</r>"));
    EXPECT_FALSE(file.selectWholeDocument() || file.selectReference("#xpointer(/)") || file.beginFilter() ||
                 file.canonicalSubtree(0, false));
  }
  ASSERT_TRUE(parse(file, "<r>" + repeated("<a/>", 600000) + "</r>"));
  EXPECT_TRUE(file.canonicalSubtree(0, false) && file.selectWholeDocument());
  EXPECT_FALSE(file.applyXPath("true()") || file.beginFilter() || file.selectReference("#xpointer(/)"));
  XMLFile deep;
  for (int i = 0; i < 100000; ++i) deep.addElement("a");
  EXPECT_FALSE(deep.selectWholeDocument() || deep.canonicalSubtree(0, false) || deep.applyStylesheet());
}

}  // namespace
}  // namespace keystrand::test
