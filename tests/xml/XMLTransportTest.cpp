// A document over a connection, with peers that lie about its length.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "keystrand/xml/XMLFile.h"
#include "net/Transport.h"
#include "support/LibraryFixture.h"
#include "support/ScriptedServer.h"

namespace keystrand::test {
namespace {

using testing::ElementsAre;

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
  ScriptedServer server(ScriptedServer::Dialogue{{{4 + text.size(), ""}}});
  {
    Transport transport;
    EXPECT_FALSE(file.send(transport)) << "without a connection";
    ASSERT_EQ(transport.connect("127.0.0.1", server.port()), 0);
    EXPECT_TRUE(file.send(transport));
    std::vector<unsigned char> end(1);
    static_cast<void>(transport.readExact(end));  // the peer closes once it has all
  }
  const std::string prefix{0, 0, 0, static_cast<char>(text.size())};
  EXPECT_THAT(server.requests(), ElementsAre(prefix + text));
}

}  // namespace
}  // namespace keystrand::test
