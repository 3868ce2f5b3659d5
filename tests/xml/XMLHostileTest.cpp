// Documents of strangers: what they may name is never opened, what they multiply ends, and what is no document leaves
// an empty one.
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <fstream>
#include <string>

#include "net/Transport.h"
#include "support/LibraryFixture.h"
#include "support/ScriptedServer.h"
#include "support/TempFolder.h"
#include "support/Texts.h"
#include "xml/Documents.h"

namespace keystrand::test {
namespace {

bool load(XMLFile& file, const std::string& text) {
  Buffer buffer;
  buffer.assign(reinterpret_cast<const unsigned char*>(text.data()), static_cast<std::uint32_t>(text.size()));
  return file.load(buffer);
}

TEST(XMLHostile, TakesWhatIsWellFormedAndNothingElse) {
  struct Row {
    const char* name;
    std::string text;
    bool taken;
  };
  const Row rows[] = {
      {"a document", "<r/>", true},
      {"a prefix without declaration", "<r><p:a/></r>", true},
      {"such a prefix on an attribute", "<r p:a='1'/>", true},
      {"the same prefix and worse", "<p:a q='1' q='2'/>", false},
      {"a byte order mark", "\xEF\xBB\xBF<r/>", true},
      {"nothing", "", false},
      {"blank", "   \n", false},
      {"cut short", "<r><a>", false},
      {"something behind the root", "<r/>x", false},
      {"a NUL behind the root", std::string("<r/>\0", 5), false},
      {"HTML", "<!DOCTYPE html><html><head><meta charset=\"utf-8\"></head><body><p>Sorry<br>bye</body></html>", false},
      {"no UTF-8", "<r>\xC3(</r>", false},
      {"DER", std::string("\x30\x82\x01\x00\x02\x01\x01", 7), false},
      {"an unknown entity", "<r>&x;</r>", false},
      {"257 deep", repeated("<a>", 257) + repeated("</a>", 257), true},
      {"258 deep", repeated("<a>", 258) + repeated("</a>", 258), false},
      {"a million deep", repeated("<a>", 1000000), false},
      {"a name without end", "<" + std::string(200000, 'a') + "/>", false},
      {"an entity of itself", "<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><r>&a;</r>", false},
  };
  for (const Row& row : rows) {
    XMLFile file;
    ASSERT_TRUE(parse(file, "<former/>") && file.find("former"));
    file.pushBookmark();
    EXPECT_EQ(parse(file, row.text), row.taken) << row.name;
    EXPECT_EQ(file.toRoot(), row.taken) << row.name;
    EXPECT_FALSE(file.find("former") || file.popBookmark()) << row.name;
    EXPECT_EQ(file.lastErrorCode() != 0, !row.taken || row.text.find("p:") != std::string::npos) << row.name;
    if (row.text.find('\0') == std::string::npos) {
      EXPECT_EQ(load(file, row.text), row.taken) << row.name;
    }
  }
}

TEST(XMLHostile, EveryPrefixOfADocumentIsAnswered) {
  const std::string text =
      "<?xml version='1.0'?><!DOCTYPE r [<!ENTITY e 'x'>]><r a='&e;'><![CDATA[x]]>&e;<!-- c --></r>";
  for (std::size_t n = 0; n < text.size(); ++n) {
    XMLFile file;
    EXPECT_FALSE(parse(file, text.substr(0, n))) << n;
    EXPECT_FALSE(file.toRoot() || file.find("r") || file.firstChildElement()) << n;
    static_cast<void>(parse(file, text.substr(0, n), false));  // what has come so far may have no root
    static_cast<void>(file.find("r"));
    static_cast<void>(file.dump());
  }
  XMLFile file;
  EXPECT_FALSE(file.parse(nullptr, 4, true));
  EXPECT_FALSE(file.parse("<r/>", -1, true));
  EXPECT_EQ(file.lastErrorLine(), 0);
  EXPECT_FALSE(parse(file, "<r>\n<a></b></r>"));
  EXPECT_EQ(file.lastErrorLine(), 2);
  EXPECT_NE(file.lastErrorMessage(), nullptr);
}

// A client may have told libxml2, for its own documents, to do all of this.
TEST(XMLHostile, OpensNothingThatADocumentNames) {
  xmlInitParser();
  xmlSubstituteEntitiesDefault(1);
  xmlLoadExtDtdDefaultValue = 1;
  xmlDoValidityCheckingDefaultValue = 1;
  const TempFolder folder;
  std::ofstream(folder / "secret") << "SECRET";
  std::ofstream(folder / "dtd") << "<!ENTITY d 'SECRET'><!ATTLIST r leak CDATA 'SECRET'>";
  const std::string files = "file://" + folder.path().string();
  ScriptedServer server({{ScriptedServer::ok("SECRET")}});
  const std::string documents[] = {
      "<!DOCTYPE r [<!ENTITY e SYSTEM '" + files + "/secret'>]><r><a>&e;</a></r>",
      "<!DOCTYPE r SYSTEM '" + files + "/dtd'><r><a>&d;</a></r>",
      "<!DOCTYPE r [<!ENTITY % p SYSTEM '" + files + "/dtd'>%p;]><r><a>&d;</a></r>",
      "<!DOCTYPE r [<!ENTITY e SYSTEM '" + server.url("/secret") + "'>]><r><a>&e;</a></r>",
      "<!DOCTYPE r PUBLIC '-//x' '" + server.url("/dtd") + "'><r><a/></r>",
      "<r xmlns:xi='http://www.w3.org/2001/XInclude'><a><xi:include parse='text' href='" + files + "/secret'/></a></r>",
  };
  for (const std::string& document : documents) {
    XMLFile file;
    for (int way = 0; way < 2; ++way) {
      static_cast<void>(way == 0 ? parse(file, document) : load(file, document));
      EXPECT_EQ(taken(file.textOf("a")).find("SECRET"), std::string::npos) << document;
      EXPECT_EQ(taken(file.attribute("leak")), "(null)") << document;
      const char* dump = file.dump();
      EXPECT_TRUE(dump == nullptr || std::string(dump).find("SECRET") == std::string::npos) << document;
    }
  }
  EXPECT_TRUE(server.requests().empty());
}

TEST(XMLHostile, EntitiesDoNotMultiply) {
  std::string laughs = "<!DOCTYPE r [<!ENTITY l0 'ha'>";
  std::string silence = "<!DOCTYPE r [<!ENTITY l0 ''>";
  for (int i = 1; i < 12; ++i) {
    const std::string step =
        "<!ENTITY l" + std::to_string(i) + " '" + repeated("&l" + std::to_string(i - 1) + ";", 10) + "'>";
    laughs += step;
    silence += step;
  }
  const std::string flat =
      "<!DOCTYPE r [<!ENTITY a '" + std::string(100000, 'a') + "'>]><r>" + repeated("&a;", 3000) + "</r>";
  // No text of these is long, and nobody reads what stands within an entity: what counts is all of them together.
  const std::string entity = "<!DOCTYPE r [<!ENTITY a '" + std::string(100000, 'a') + "'><!ENTITY b '<c>&a;</c>'>]>";
  const std::string scattered = entity + "<r>" + repeated("<b>&a;</b>", 101) + "</r>";
  const std::string hidden = entity + "<r>" + repeated("&b;", 101) + "</r>";
  const std::string attributes = entity + "<r>" + repeated("<b a='&a;'/>", 101) + "</r>";
  for (const std::string& document :
       {laughs + "]><r>&l11;</r>", silence + "]><r>&l11;</r>", flat, scattered, hidden, attributes}) {
    XMLFile file;
    EXPECT_FALSE(parse(file, document));
    EXPECT_EQ(file.lastErrorCode(), XML_ERR_ENTITY_LOOP);
    EXPECT_FALSE(load(file, document) || file.toRoot());
  }
  XMLFile modest;
  EXPECT_TRUE(parse(modest, entity + "<r>" + repeated("<b>&a;</b>", 98) + "</r>"));
}

TEST(XMLHostile, NoCanonicalFormOfReferencesToEntitiesAndOfRelativeNamespaces) {
  for (const char* text : {"<!DOCTYPE r [<!ENTITY e 'x'>]><r>&e;</r>", "<r xmlns='relative'/>"}) {
    XMLFile file;
    ASSERT_TRUE(parse(file, text) && file.selectWholeDocument());
    EXPECT_EQ(heldText(file, file.output(0, false)), "(none)") << text;
  }
}

TEST(XMLHostile, SiblingsComeInAnyNumber) {
  constexpr int kMany = 200000;
  XMLFile file;
  ASSERT_TRUE(parse(file, "<r>" + repeated("<a/>", kMany) + "<b/></r>"));
  EXPECT_TRUE(file.find("b"));
  EXPECT_TRUE(file.toRoot() && file.findBelow("b"));
  EXPECT_FALSE(file.toRoot() && file.findBelow("c"));
  int count = 0;
  for (bool more = file.firstChildElement(); more; more = file.nextElement()) ++count;
  EXPECT_EQ(count, kMany + 1);
  EXPECT_NE(file.dump(), nullptr);
  EXPECT_NE(taken(file.dumpOwn()), "(null)");
}

// A client can nest deeper than the parser lets a stranger.
TEST(XMLHostile, DepthOfAClientsOwnMaking) {
  XMLFile file;
  for (int i = 0; i < 100000; ++i) file.addElement("a");
  file.addElement("b");
  EXPECT_TRUE(file.toRoot() && file.find("b"));
  EXPECT_NE(taken(file.dumpOwn()), "(null)");
}

// --- over a connection, with peers that lie about the length

class XMLTransport : public LibraryFixture {};

TEST_F(XMLTransport, ReceivesWhatIsAnnounced) {
  struct Row {
    const char* name;
    std::string bytes;
    bool received;
    std::vector<std::string> messages;
  };
  const std::string large = "<r>" + std::string(200000, 'x') + "</r>";
  const Row rows[] = {
      {"a document", std::string("\0\0\0\4<r/>", 8), true, {}},
      {"more than one piece", std::string("\0\3\x0D\x47", 4) + large, true, {}},
      {"no document", std::string("\0\0\0\4oops", 8), false, {}},
      {"nothing announced", std::string("\0\0\0\0", 4), false, {}},
      {"no length", std::string("\0\0\0", 3), false, {"No data received"}},
      {"less than announced", std::string("\0\0\1\0<r/>", 8), false, {"Error receiving data [256]"}},
      {"a length that overflows", "\xFF\xFF\xFF\xFF<r/>", false, {"Invalid data len"}},
      {"just too much", std::string("\x10\0\0\1<r/>", 8), false, {"Invalid data len"}},
      {"as much as is taken", std::string("\x10\0\0\0<r/>", 8), false, {"Error receiving data [268435456]"}},
  };
  const Logger logger(Logger::kTrace);
  for (const Row& row : rows) {
    const ScriptedServer server(ScriptedServer::Dialogue{{{0, row.bytes}}});
    Transport transport;
    ASSERT_EQ(transport.connect("127.0.0.1", server.port()), 0);
    XMLFile file;
    EXPECT_EQ(file.receive(transport, &logger), row.received) << row.name;
    EXPECT_EQ(file.toRoot(), row.received) << row.name;
    EXPECT_EQ(logged(), row.messages) << row.name;
    if (row.received) {
      EXPECT_EQ(file.dump(), row.bytes.substr(4)) << "kept as it came: " << row.name;
    }
  }
}

TEST_F(XMLTransport, SendsLengthAndText) {
  XMLFile file;
  ASSERT_TRUE(file.addElement("r"));
  const std::string text = file.dump();
  const std::string prefix{0, 0, 0, static_cast<char>(text.size())};
  ScriptedServer server(ScriptedServer::Dialogue{{{prefix + text, ""}}});
  {
    Transport transport;
    EXPECT_FALSE(file.send(transport)) << "without a connection";
    ASSERT_EQ(transport.connect("127.0.0.1", server.port()), 0);
    EXPECT_TRUE(file.send(transport));
  }
  EXPECT_TRUE(server.heardAll());
}

}  // namespace
}  // namespace keystrand::test
