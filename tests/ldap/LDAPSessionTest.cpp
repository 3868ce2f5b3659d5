// Messages over a connection, from servers that say what slapd never does.
#include <gmock/gmock.h>

#include "ldap/BindRequest.h"
#include "ldap/LDAPSession.h"
#include "ldap/Messages.h"
#include "ldap/SearchResult.h"
#include "support/Der.h"
#include "support/LogReader.h"
#include "support/ScriptedServer.h"
#include "support/TempFolder.h"
#include "support/Texts.h"

namespace keystrand::test {
namespace {

using Then = ScriptedServer::Then;
using testing::ElementsAre;

constexpr const char* kLoopback = "127.0.0.1";

ScriptedServer saying(const ByteString& bytes, Then then = Then::close) {
  return ScriptedServer(ScriptedServer::Dialogue{{{0, asText(bytes)}}, then});
}

// A SearchResultEntry whose message takes so many octets.
ByteString entryOfSize(std::size_t size) {
  ByteString message;
  for (std::size_t name = size - 30; message.size() < size; ++name) {
    message = element(0x30, fromHex("020101") + element(0x64, element(4, ByteString(name, 'x')) + fromHex("3000")));
  }
  EXPECT_EQ(message.size(), size);
  return message;
}

std::unique_ptr<LDAPMessage> receiveFrom(const ScriptedServer& server, std::int64_t timeout = 20) {
  Buffer buffer(4096);
  LDAPSession session(buffer, kLoopback, server.port());
  session.setTimeout(timeout);
  EXPECT_TRUE(session.connect());
  return session.receive();
}

TEST(LDAPSession, ReceivesMessagesOfEverySize) {
  const ByteString ten = fromHex("3008 020101 7303 0401 61");
  ASSERT_EQ(ten.size(), 10U);
  const ScriptedServer shortest = saying(ten, Then::silence);
  const auto reference = receiveFrom(shortest);
  ASSERT_TRUE(reference);
  EXPECT_EQ(encoded(*reference), ten) << "nothing is read behind its ten octets";

  // Around the capacity of the buffer, and a value as large as CRLs are.
  std::vector<std::size_t> sizes = {100'000, 5'000'000};
  for (std::size_t size = 4096; size <= 4107; ++size) sizes.push_back(size);
  for (const std::size_t size : sizes) {
    const ByteString bytes = entryOfSize(size);
    const ScriptedServer server = saying(bytes, Then::silence);
    const auto message = receiveFrom(server);
    ASSERT_TRUE(message) << size;
    EXPECT_EQ(encoded(*message), bytes) << size;
  }
}

TEST(LDAPSession, GivesNothingForWhatIsNoMessage) {
  struct Row {
    const char* name;
    ByteString bytes;
    Then then = Then::close;
  };
  for (const Row& row : {
           Row{"closes at once", {}},
           Row{"less than ten octets", fromHex("30050201034200")},
           Row{"less than ten octets, then silence", fromHex("30050201034200"), Then::silence},
           Row{"another tag", fromHex("310c02010161070a010004000400")},
           Row{"more than is received", fromHex("3084100000010201016407")},
           Row{"longer than what comes", fromHex("300d02010161070a010004000400")},
           Row{"longer than what comes, then silence", fromHex("300d02010161070a010004000400"), Then::silence},
           Row{"longer than what comes, which drips", fromHex("3082ffff02010161070a010004000400"), Then::drip},
           Row{"an operation that is unknown", fromHex("300c02010179070a010004000400")},
           Row{"silence", {}, Then::silence},
       }) {
    const ScriptedServer server = saying(row.bytes, row.then);
    EXPECT_FALSE(receiveFrom(server, 1)) << row.name;
  }
}

TEST(LDAPSession, SizeIsReadFromTheFirstOctets) {
  struct Row {
    const char* hex;
    std::optional<std::uint32_t> size;
  };
  for (const Row& row :
       {Row{"30080201017303040161", 10}, Row{"3007020101 7303 040161", {}}, Row{"3081 08 02010173030401", 11},
        Row{"3084 00000006 02010142", 12}, Row{"3084 0FFFFFFA 02010142", 1U << 28}, Row{"3084 0FFFFFFB 02010142", {}},
        Row{"3084 FFFFFFFF 02010142", {}}, Row{"3085 0000000C02 020101", {}}, Row{"0030080201017303040161", {}},
        Row{"3080", {}}, Row{"", {}}})
    EXPECT_EQ(LDAPSession::messageSize(fromHex(row.hex)), row.size) << row.hex;
}

TEST(LDAPSession, SendsWholeMessagesAndGrowsItsBuffer) {
  SearchResultEntry large;
  large.setObjectName(std::string(100'000, 'x'));
  LDAPMessage message;
  message.setMessageID(1);
  message.setProtocolOp(large);
  const ByteString expected = encoded(message);
  ScriptedServer server(ScriptedServer::Dialogue{{{asText(expected + expected), ""}}});
  {
    LDAPSession session(kLoopback, server.port(), 16);
    ASSERT_TRUE(session.connect());
    EXPECT_TRUE(session.send(message));
    Buffer other(16);
    session.setBuffer(other);
    EXPECT_TRUE(session.send(message));
    EXPECT_EQ(other.size(), expected.size()) << "borrowed";
  }
  EXPECT_TRUE(server.heardAll());
}

TEST(LDAPSession, ConnectsToHostsThatFitAndDisconnectsWithoutHarm) {
  const ScriptedServer server = saying({}, Then::silence);
  LDAPMessage message;
  message.setProtocolOp(UnbindRequest());
  LDAPSession session(std::make_unique<Buffer>(16), "", server.port());
  session.disconnect();
  EXPECT_FALSE(session.connect()) << "no host";
  EXPECT_FALSE(session.connect(std::string(128, 'h')));
  EXPECT_FALSE(session.send(message));
  EXPECT_FALSE(session.receive());
  EXPECT_TRUE(session.connect(kLoopback));
  EXPECT_TRUE(session.send(message));
  session.disconnect();
  EXPECT_FALSE(session.send(message));
  session.disconnect();
}

TEST(LDAPSession, ReadsThatFailAreLogged) {
  const TempFolder folder;
  const std::string file = folder / "log";
  Logger::start("test", nullptr, file.c_str(), nullptr);
  const Logger logger(Logger::kTrace);
  for (const char* hex : {"", "300d02010161070a010004000400"}) {
    const ScriptedServer server = saying(fromHex(hex));
    LDAPSession session(kLoopback, server.port(), 64);
    session.setLogger(&logger);
    ASSERT_TRUE(session.connect());
    EXPECT_FALSE(session.receive());
  }
  EXPECT_THAT(LogReader(file).next(), ElementsAre("004 2.5.4.3 127.0.0.1", "004 2.5.4.6 127.0.0.1"));
}

}  // namespace
}  // namespace keystrand::test
