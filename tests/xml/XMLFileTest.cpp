// The document class: cursor, bookmarks, reading, editing, dumps. What it writes is judged by libxml2's own parser.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <fstream>
#include <functional>

#include "keystrand/der/Name.h"
#include "support/TempFolder.h"
#include "xml/Documents.h"

namespace keystrand::test {
namespace {

using testing::HasSubstr;

// The root without declaration and line ends between elements.
std::string written(const XMLFile& file) {
  const std::string all = taken(file.dumpRaw());
  const std::size_t body = all.find("?>\n") + 3;
  return all.substr(body, all.find_last_not_of('\n') + 1 - body);
}

constexpr std::string_view kFamily =
    "<r><a n='1'><b n='2'/><c n='3'><b n='4'/></c></a><b n='5'/><!-- b --><d n='6'><b n='7'/></d></r>";

TEST(XMLFile, TheCursorGoesWhereTheSearchSays) {
  using Search = std::function<bool(XMLFile&)>;
  struct Row {
    const char* name;
    const char* from;  // the n of the element where the search starts
    Search search;
    const char* to;  // empty: not found, the cursor stays
  };
  const Row rows[] = {
      {"find begins with the element itself", "2", [](XMLFile& f) { return f.find("b"); }, "2"},
      {"find sees following siblings", "2", [](XMLFile& f) { return f.find("c"); }, "3"},
      {"find does not climb", "4", [](XMLFile& f) { return f.find("d"); }, ""},
      {"find by attribute", "1", [](XMLFile& f) { return f.find("b", "n", "7"); }, "7"},
      {"find by attribute wants the value", "1", [](XMLFile& f) { return f.find("b", "n", ""); }, ""},
      {"findBelow is depth-first", "3", [](XMLFile& f) { return f.findBelow("b"); }, "4"},
      {"findBelow stays below", "2", [](XMLFile& f) { return f.findBelow("b"); }, ""},
      {"findAfter goes through descendants of siblings", "2", [](XMLFile& f) { return f.findAfter("b"); }, "4"},
      {"findAfter passes the element itself", "5", [](XMLFile& f) { return f.findAfter("b"); }, "7"},
      {"findAfter never climbs", "4", [](XMLFile& f) { return f.findAfter("b"); }, ""},
      {"child is direct", "1", [](XMLFile& f) { return f.child("c"); }, "3"},
      {"child is not a descendant", "6", [](XMLFile& f) { return f.child("c"); }, ""},
      {"sibling follows", "1", [](XMLFile& f) { return f.sibling("d"); }, "6"},
      {"sibling does not enter", "1", [](XMLFile& f) { return f.sibling("c"); }, ""},
      {"nextElement passes comments", "5", [](XMLFile& f) { return f.nextElement(); }, "6"},
      {"nextElement at the end", "6", [](XMLFile& f) { return f.nextElement(); }, ""},
      {"firstChildElement", "1", [](XMLFile& f) { return f.firstChildElement(); }, "2"},
      {"up", "4", [](XMLFile& f) { return f.up(); }, "3"},
      {"a null name is no name", "1", [](XMLFile& f) { return f.find(nullptr); }, ""},
  };
  for (const Row& row : rows) {
    XMLFile file;
    ASSERT_TRUE(parse(file, kFamily));
    for (const char* name : {"a", "b", "c", "d"}) {
      file.toRoot();
      if (file.find(name, "n", row.from)) break;
    }
    ASSERT_EQ(taken(file.attribute("n")), row.from) << row.name;
    EXPECT_EQ(row.search(file), row.to[0] != '\0') << row.name;
    EXPECT_EQ(taken(file.attribute("n")), row.to[0] != '\0' ? row.to : row.from) << row.name;
  }
}

TEST(XMLFile, TheRootHasNothingAbove) {
  XMLFile file;
  ASSERT_TRUE(parse(file, "<?xml version='1.0'?><!-- c --><r xmlns='urn:x'/><!-- d -->"));
  EXPECT_TRUE(file.isCurrent("r"));
  EXPECT_TRUE(file.namespaceIs("urn:x"));
  EXPECT_FALSE(file.namespaceIs("urn:y"));
  EXPECT_FALSE(file.up());
  EXPECT_FALSE(file.insertAfter("second"));
  EXPECT_TRUE(file.isCurrent("r"));
  EXPECT_TRUE(file.removeElement("r"));
  EXPECT_FALSE(file.toRoot());
  EXPECT_TRUE(file.addElement("s"));
  EXPECT_TRUE(file.toRoot() && file.isCurrent("s"));
}

// Every operation on a document without content.
TEST(XMLFile, AnEmptyDocumentAnswersEverything) {
  XMLFile file;
  XMLFile other;
  EXPECT_FALSE(file.toRoot() || file.find("a") || file.find("a", "b", "c") || file.findBelow("a") ||
               file.findAfter("a") || file.child("a") || file.sibling("a") || file.firstChildElement() ||
               file.nextElement() || file.up() || file.isCurrent("a") || file.namespaceIs("a") || file.popBookmark() ||
               file.gotoBookmark("a") || file.unwindTo("a") || file.isBookmarked("a") || file.addText("a") ||
               file.addNumber(1) || file.replaceText("a") || file.addAttribute("a", "b") ||
               file.setAttribute("a", "b") || file.setNamespace("a", "b") || file.removeLastChild() ||
               file.removeChild("a") || file.removeElement("a") || file.copyCurrent() || file.pasteCopy() ||
               file.appendDocument(other) || file.appendSubtree(other));
  EXPECT_EQ(taken(file.text()) + taken(file.textOf("a")) + taken(file.attribute("a")), "(null)(null)(null)");
  EXPECT_EQ(file.dumpNode(true), nullptr);
  EXPECT_FALSE(file.value() || file.valueOf("a"));
  EXPECT_STREQ(file.dump(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
}

TEST(XMLFile, EditsAroundTheCursor) {
  struct Row {
    const char* name;
    std::function<bool(XMLFile&)> edit;  // on <a> of <p:r xmlns:p="u"><a>t<b/></a></p:r>
    const char* expected;                // of the root's content
    const char* cursor;
  };
  const Row rows[] = {
      {"a child", [](XMLFile& f) { return f.addElement("x"); }, "<a>t<b/><x/></a>", "x"},
      {"first", [](XMLFile& f) { return f.insertFirst("x"); }, "<a>t<x/><b/></a>", "x"},
      {"before", [](XMLFile& f) { return f.insertBefore("x"); }, "<x/><a>t<b/></a>", "x"},
      {"after", [](XMLFile& f) { return f.insertAfter("x"); }, "<a>t<b/></a><x/>", "x"},
      {"a child in the namespace of its parent", [](XMLFile& f) { return f.up() && f.addElement("x"); },
       "<a>t<b/></a><p:x/>", "x"},
      {"a leaf leaves the cursor", [](XMLFile& f) { return f.addLeaf("x", "1"); }, "<a>t<b/><x>1</x></a>", "a"},
      {"foreign text", [](XMLFile& f) { return f.addTextChild("x", "<&"); }, "<a>t<b/><x>&lt;&amp;</x></a>", "a"},
      {"texts", [](XMLFile& f) { return f.addText("<") && f.addNumber(-1) && f.addHex(0xABCDEF01); },
       "<a>t<b/>&lt;-1ABCDEF01</a>", "a"},
      {"the first child replaced", [](XMLFile& f) { return f.replaceText("u"); }, "<a>u<b/></a>", "a"},
      {"attributes", [](XMLFile& f) { return f.addAttribute("x", "\"<&\n") && f.addHexAttribute("y", 16); },
       "<a x=\"&quot;&lt;&amp;&#10;\" y=\"00000010\">t<b/></a>", "a"},
      {"set again", [](XMLFile& f) { return f.setAttribute("x", "1") && f.setAttribute("x", "\xE9"); },
       "<a x=\"\xC3\xA9\">t<b/></a>", "a"},
      {"a namespace", [](XMLFile& f) { return f.setNamespace("q", "v") && !f.setNamespace("q", "w"); },
       "<q:a xmlns:q=\"v\">t<b/></q:a>", "a"},
      {"a comment", [](XMLFile& f) { return f.addComment("c"); }, "<a>t<b/><!--c--></a>", "a"},
      {"the last child removed", [](XMLFile& f) { return f.addText("u") && f.removeLastChild(); }, "<a>tu</a>", "a"},
      {"a child removed", [](XMLFile& f) { return f.removeChild("b") && !f.removeChild("b"); }, "<a>t</a>", "a"},
      {"an element removed", [](XMLFile& f) { return f.removeElement("a"); }, "", "r"},
      {"a copy", [](XMLFile& f) { return f.copyCurrent() && f.up() && f.pasteCopy() && !f.pasteCopy(); },
       "<a>t<b/></a><p:a>t<b/></p:a>", "a"},
      {"into itself", [](XMLFile& f) { return f.appendSubtree(f); }, "<a>t<b/><a>t<b/></a></a>", "a"},
  };
  for (const Row& row : rows) {
    XMLFile file;
    ASSERT_TRUE(parse(file, "<p:r xmlns:p=\"u\"><a>t<b/></a></p:r>") && file.child("a"));
    EXPECT_TRUE(row.edit(file)) << row.name;
    const std::string expected =
        row.expected[0] != '\0' ? "<p:r xmlns:p=\"u\">" + std::string(row.expected) + "</p:r>" : "<p:r xmlns:p=\"u\"/>";
    EXPECT_EQ(written(file), expected) << row.name;
    EXPECT_TRUE(file.isCurrent(row.cursor)) << row.name;
  }
}

TEST(XMLFile, EachCreatorMakesTheRootOfAnEmptyDocument) {
  using Creator = std::function<bool(XMLFile&)>;
  for (const auto& [create, expected] : {
           std::pair<Creator, std::string>{[](auto& f) { return f.addElement("r"); }, "<r/>"},
           {[](auto& f) { return f.insertFirst("r"); }, "<r/>"},
           {[](auto& f) { return f.insertBefore("r"); }, "<r/>"},
           {[](auto& f) { return f.insertAfter("r"); }, "<r/>"},
           {[](auto& f) { return f.addLeaf("r", "&amp;"); }, "<r>&amp;</r>"},
           {[](auto& f) { return f.addLeaf("r"); }, "<r/>"},
           {[](auto& f) { return f.addTextChild("r", "<&amp;"); }, "<r>&lt;&amp;amp;</r>"},
           {[](auto& f) { return f.addLeafNumber("r", -5000000000); }, "<r>-5000000000</r>"},
           {[](auto& f) { return f.addLeafHex("r", 0xAB); }, "<r>000000AB</r>"},
           {[](auto& f) { return f.addComment("x") && f.addElement("r"); }, "<!--x-->\n<r/>"},
       }) {
    XMLFile file;
    EXPECT_TRUE(create(file) && file.isCurrent("r")) << expected;
    EXPECT_EQ(written(file), expected);
  }
}

TEST(XMLFile, DocumentsJoinAndCopiesOutliveTheirSource) {
  XMLFile target;
  target.addElement("all");
  {
    XMLFile source;
    ASSERT_TRUE(parse(source, "<!-- a --><q:r xmlns:q='u' q:z='1'><x/><y/></q:r><!-- b -->"));
    EXPECT_TRUE(target.appendDocument(source));
    EXPECT_TRUE(source.find("x") && target.appendSubtree(source));
  }
  EXPECT_EQ(written(target), "<all><q:r xmlns:q=\"u\" q:z=\"1\"><x/><y/></q:r><!-- b --><x/><y/></all>");
  EXPECT_TRUE(target.find("r") && target.copyCurrent());
  ASSERT_TRUE(parse(target, "<other/>"));
  EXPECT_TRUE(target.pasteCopy());
  EXPECT_TRUE(target.child("x"));
}

TEST(XMLFile, BookmarksComeBackByNameAndGoWithTheirElement) {
  XMLFile file;
  ASSERT_TRUE(parse(file, kFamily));
  const auto mark = [&](const char* name, const char* n) {
    file.toRoot();
    ASSERT_TRUE(file.find(name, "n", n));
    file.pushBookmark();
  };
  const auto at = [&] { return taken(file.attribute("n")); };
  mark("a", "1");
  mark("b", "2");
  mark("c", "3");
  mark("b", "4");
  EXPECT_FALSE(file.unwindTo("d"));
  EXPECT_EQ(at(), "4") << "neither cursor nor stack changed";
  EXPECT_TRUE(file.isBookmarked("b"));
  file.toRoot();
  EXPECT_FALSE(file.isBookmarked("r"));
  EXPECT_TRUE(file.gotoBookmark("c"));
  EXPECT_EQ(at(), "3");
  EXPECT_TRUE(file.popBookmark());
  EXPECT_EQ(at(), "4") << "only the entry itself went";
  EXPECT_TRUE(file.unwindTo("a"));
  EXPECT_EQ(at(), "1");
  EXPECT_FALSE(file.popBookmark()) << "the entries above went too";

  mark("a", "1");
  mark("b", "4");
  file.toRoot();
  EXPECT_TRUE(file.removeElement("a"));
  EXPECT_TRUE(file.isCurrent("r"));
  EXPECT_FALSE(file.popBookmark());
}

TEST(XMLFile, TextsAreThoseOfTheElementItself) {
  XMLFile file;
  ASSERT_TRUE(parse(file,
                    "<!DOCTYPE r [<!ENTITY e 'x&#38;#38;y'><!ENTITY f '&e;&e;'><!ATTLIST r d CDATA 'given'>]>"
                    "<r a='1&e;' z=''>t<b>&f;</b><![CDATA[<u>]]><c/>&gt;</r>"));
  EXPECT_EQ(taken(file.text()), "t<u>>");
  EXPECT_EQ(taken(file.textOf("b")), "x&yx&y");
  EXPECT_EQ(taken(file.textOf("c")), "(null)") << "an element without text has none";
  EXPECT_EQ(file.valueOf("c"), "");
  EXPECT_EQ(file.valueOf("d"), std::nullopt);
  EXPECT_EQ(taken(file.attribute("a")), "1x&y");
  EXPECT_EQ(taken(file.attribute("z")), "");
  EXPECT_EQ(taken(file.attribute("d")), "given");
  EXPECT_EQ(taken(file.attribute("b")), "(null)");
  EXPECT_EQ(taken(file.attributeOf("c", "a")), "(null)");
}

TEST(XMLFile, LoadsFilesAndBuffers) {
  const TempFolder folder;
  const std::string path = (folder / "d\xC3\xA9.xml").string();
  std::ofstream(path) << "<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE9</r>";
  XMLFile file;
  ASSERT_TRUE(file.load(path.c_str()));
  EXPECT_EQ(taken(file.text()), "\xC3\xA9");
  file.pushBookmark();
  const std::string former = file.dump();

  Buffer buffer;
  const std::string text = "<s/>\0behind the end";
  buffer.assign(reinterpret_cast<const unsigned char*>("<s/>\0<"), 6);
  ASSERT_TRUE(file.load(buffer));
  EXPECT_FALSE(file.popBookmark());
  EXPECT_NE(file.dump(), former);

  EXPECT_FALSE(file.load((folder / "absent").c_str()));
  EXPECT_FALSE(file.toRoot()) << "nothing is left of the former document";
  EXPECT_FALSE(file.load(folder.path().c_str()));
  const char* noPath = nullptr;
  EXPECT_FALSE(file.load(noPath));
  EXPECT_FALSE(file.load(Buffer()));
}

TEST(XMLFile, DumpsInFourManners) {
  XMLFile file;
  ASSERT_TRUE(
      parse(file, "<p:r xmlns:p='u' p:n='a&#10;&#9;&#13;\"&lt;&amp;é'><x>1 &lt; 2 \"</x><y/><!-- c --><?pi?></p:r>"));
  const char* dump = file.dump();
  EXPECT_THAT(dump, HasSubstr("\n  <x>1 &lt; 2 \"</x>\n  <y/>\n"));
  file.find("x");
  file.addElement("later");
  EXPECT_EQ(file.dump(), dump) << "made once, kept across edits";
  EXPECT_EQ(file.dump(true), dump);
  EXPECT_EQ(
      taken(file.dumpOwn()),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<r p:n=\"a&#10;&#9;&#13;&quot;&lt;&amp;é\">\n<x>\n1 &lt; 2 \"\n<later/>\n</x>\n<y/>\n<!-- c -->\n\n</p:r>\n")
      << "the prefix stands on the closing tag alone; what is neither element, text nor comment leaves an empty line";
  EXPECT_STREQ(file.dumpNode(true), "<later/>");
  file.up();
  file.up();
  file.child("y");
  file.addElement("z");
  file.up();
  EXPECT_STREQ(file.dumpNode(false), "<y>\n  <z/>\n</y>");
  EXPECT_STREQ(file.dumpNode(true), "<y>\n<z/>\n</y>");
}

TEST(XMLFile, DateTimesOfXMLSchema) {
  for (const char* text : {"2024-02-29T10:00:00Z", " 2024-02-29T10:00:00.5+01:00 ", "2024-01-01T24:00:00"})
    EXPECT_TRUE(XMLFile::isDateTime(text)) << text;
  for (const char* text : {"2023-02-29T10:00:00Z", "2024-02-29", "2024-02-29 10:00:00", "", "x"})
    EXPECT_FALSE(XMLFile::isDateTime(text)) << text;
  EXPECT_FALSE(XMLFile::isDateTime(nullptr));
}

TEST(XMLFile, ANameBecomesElements) {
  const char* identifiers[] = {"2.5.4.6", "2.5.4.3"};
  const char* labels[] = {"C", "CN"};
  const char* tags[] = {"country", "commonName"};
  Name name("C=IT,CN=<A & B>", 12, labels, identifiers, 2);
  XMLFile file;
  file.addElement("issuer");
  EXPECT_TRUE(name.writeXML(identifiers, tags, 1, file));
  EXPECT_EQ(written(file), "<issuer><country>IT</country><oid oidValue=\"2.5.4.3\">&lt;A &amp; B&gt;</oid></issuer>");
  EXPECT_TRUE(file.isCurrent("issuer"));
}

}  // namespace
}  // namespace keystrand::test
