// CRLs from directories: a real one with every form of distribution point, and scripted ones for what no real one says.
#include <gmock/gmock.h>

#include "net/CurlSettings.h"
#include "net/FreshNetState.h"
#include "support/Builders.h"
#include "support/Client.h"
#include "support/Der.h"
#include "support/ProxyServers.h"
#include "support/ScriptedServer.h"
#include "support/SlapdServer.h"
#include "support/Texts.h"

namespace keystrand::test {
namespace {

using testing::ElementsAre;
using Then = ScriptedServer::Then;

const Authority& ca() {
  static const Authority authority = makeAuthority();
  return authority;
}

// A CRL that lists this serial number, and as many others as asked for.
ByteString crlListing(const std::string& serial, const std::string& year = "2025", int others = 0) {
  CRLSpec wanted{.thisUpdate = year + "0101000000Z", .entries = {{.serial = serial}}};
  for (int i = 0; i < others; ++i) wanted.entries.push_back({.serial = std::to_string(100'000 + i)});
  return makeCRL(ca(), wanted);
}

// A library that knows the CA.
class LDAPRetrieval : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(client_.addCA(ca().certificate));
    cache_setTimeout(20);
    running_.messages();
  }

  RunningLibrary running_;
  Client client_;
};

TEST_F(LDAPRetrieval, EveryFormOfDistributionPointAtARealDirectory) {
  if (!SlapdServer::installed()) GTEST_SKIP() << SlapdServer::kNotInstalled;
  const SlapdServer server({{.rdn = "cn=A", .crl = crlListing("0A"), .plainCRL = crlListing("0B")},
                            {.rdn = "cn=C,cn=A", .crl = crlListing("0C")},
                            {.rdn = "cn=D,cn=C,cn=A", .crl = crlListing("0D")},
                            {.rdn = "cn=plain", .plainCRL = crlListing("0E")},
                            {.rdn = "cn=none"}});
  struct Row {
    const char* query;
    const char* listed;  // null: no CRL
  };
  for (const Row& row : {
           Row{"cn=A,c=IT", "0A"},
           Row{"cn=A,c=IT?certificateRevocationList", "0A"},
           Row{"cn=A,c=IT?certificateRevocationList;binary", "0A"},
           Row{"cn=A,c=IT?plainRevocationList", "0B"},
           Row{"cn=A,c=IT?certificateRevocationList?one", "0C"},
           Row{"cn=A,c=IT?certificateRevocationList?sub?(cn=D)", "0D"},
           Row{"c=IT?certificateRevocationList;binary?sub?cn=C", "0C"},
           Row{"c=IT?certificateRevocationList?one?(cn=A)", "0A"},
           Row{"cn=A,c=IT?certificateRevocationList?base?cn=C", nullptr},
           Row{"cn=plain,c=IT?plainRevocationList", "0E"},
           Row{"cn=none,c=IT", nullptr},
           Row{"cn=nobody,c=IT", nullptr},
       }) {
    const std::string url = server.url(row.query);
    if (row.listed == nullptr) {
      EXPECT_EQ(client_.search({url}, "0A"), -5137) << row.query;
      continue;
    }
    EXPECT_EQ(client_.search({url}, row.listed), 1) << row.query;
    EXPECT_EQ(client_.search({url}, "FF"), 0) << row.query;
  }
}

TEST_F(LDAPRetrieval, ModifyTimestampDecidesAboutTheNextFetch) {
  if (!SlapdServer::installed()) GTEST_SKIP() << SlapdServer::kNotInstalled;
  const SlapdServer server({{.rdn = "cn=A", .crl = crlListing("0A")}});
  const std::string url = server.url("cn=A,c=IT?certificateRevocationList?sub?(cn=A)");
  EXPECT_EQ(client_.search({url}, "0A"), 1);
  const auto ofLDAP = [&] {
    std::vector<std::string> messages = running_.messages();
    std::erase_if(messages, [](const std::string& message) { return !message.ends_with("via LDAP"); });
    return messages;
  };
  EXPECT_THAT(ofLDAP(), ElementsAre("Start CRL download via LDAP", "End of CRL download via LDAP"));
  EXPECT_EQ(client_.search({url}, "0A"), 1);
  const std::string asked = "Start CRL timestamp request via LDAP";
  const std::string told = "End of CRL timestamp request via LDAP";
  EXPECT_THAT(ofLDAP(), ElementsAre(asked, told));
  server.replaceCRL("cn=A", crlListing("0B", "2026"));
  EXPECT_EQ(client_.search({url}, "0B"), 1);
  EXPECT_THAT(ofLDAP(), ElementsAre(asked, told, "Start CRL download via LDAP", "End of CRL download via LDAP"));
  // The time was kept with the CRL, also in the file.
  ASSERT_EQ(cache_saveCRLCache(client_.context()), 1);
  ASSERT_EQ(cache_loadCRLCache(client_.context()), 1);
  EXPECT_EQ(client_.search({url}, "0B"), 1);
  EXPECT_THAT(ofLDAP(), ElementsAre(asked, told));
}

TEST_F(LDAPRetrieval, ThroughASOCKSServerUnlessTheNetworkIsDirect) {
  if (!SlapdServer::installed()) GTEST_SKIP() << SlapdServer::kNotInstalled;
  if (!MicroSocksServer::installed()) GTEST_SKIP() << MicroSocksServer::kNotInstalled;
  const SlapdServer server({{.rdn = "cn=A", .crl = crlListing("0A")}});
  const MicroSocksServer proxy("user", "secret");
  int asked = 0;
  const auto answer = [&](const std::string& host) {  // each from a row of its own
    return client_.search({"ldap://" + host + ":" + std::to_string(server.port()) + "/cn=A,c=IT?" +
                           "certificateRevocationList?base?" + std::to_string(++asked)},
                          "0A");
  };
  for (const char* host : {"127.0.0.1", "localhost"}) {
    everythingThrough(proxy.port(), Credentials{"user", "secret"});
    EXPECT_EQ(answer(host), 1) << host;
    everythingThrough(proxy.port());
    EXPECT_EQ(answer(host), -5137) << "the server wants credentials";
    everythingThrough(freePort());
    EXPECT_EQ(answer(host), -5137) << "no server there";
    char direct[] = "127.0.0.0 / 255.0.0.0";
    char* entries[] = {direct, nullptr};
    cache_setNoSOCKS(entries);
    EXPECT_EQ(answer(host), 1) << host;
  }
}

// --- scripted directories

ByteString octets(const std::string& value) {
  return element(4, asBytes(value));
}

ByteString message(const ByteString& operation) {
  return element(0x30, fromHex("020101") + operation);
}

const ByteString kBind = fromHex("300c020101600702010304008000");
const ByteString kBound = fromHex("300c02010161070a010004000400");
const ByteString kDone = fromHex("300c02010165070a010004000400");
const ByteString kUnbind = fromHex("30050201014200");

ByteString search(const std::string& dn, const std::vector<std::string>& attributes, const std::string& scope = "00",
                  const ByteString& filter = fromHex("870b6f626a656374636c617373")) {
  ByteString list;
  for (const std::string& attribute : attributes) list = std::move(list) + octets(attribute);
  return message(
      element(0x63, octets(dn) + fromHex("0a01" + scope + "0a0100020100020100010100") + filter + element(0x30, list)));
}

using Attributes = std::vector<std::pair<std::string, std::vector<ByteString>>>;

ByteString entry(const Attributes& attributes) {
  ByteString list;
  for (const auto& [type, values] : attributes) {
    ByteString set;
    for (const ByteString& value : values) set = std::move(set) + element(4, value);
    list = std::move(list) + element(0x30, octets(type) + element(0x31, set));
  }
  return message(element(0x64, octets("cn=A") + element(0x30, list)));
}

using Turn = ScriptedServer::Step;
using Connection = std::vector<Turn>;

// A directory that knows for each connection, in order, what it has to hear and what it says.
ScriptedServer directoryOf(const std::vector<Connection>& connections, Then then = Then::close) {
  std::vector<ScriptedServer::Dialogue> all;
  for (const Connection& connection : connections) all.push_back({connection, then});
  return ScriptedServer(std::move(all));
}

std::string at(const ScriptedServer& server, const std::string& dnAndQuery) {
  return "ldap://127.0.0.1:" + std::to_string(server.port()) + "/" + dnAndQuery;
}

constexpr const char* kDefault = "certificaterevocationlist";
constexpr const char* kTime = "modifyTimestamp";
const ByteString kNewYear = asBytes("20260101000000Z");

// The connection that fetches a CRL from the entry cn=A, whatever else the server says in answer to the search.
Connection fetch(const ByteString& answer) {
  return {{kBind, kBound}, {search("cn=A", {kDefault, kTime}), answer}, {kUnbind, {}}};
}

TEST_F(LDAPRetrieval, RequestsAreBindSearchAndUnbindWithMessageIDOne) {
  const ByteString answer = entry({{"certificateRevocationList;binary", {crlListing("0A")}}, {kTime, {kNewYear}}});
  const ByteString equality = element(0xA3, octets("cn") + octets("A"));
  for (const int timeout : {20, 0, -1}) {
    cache_setTimeout(timeout);
    ScriptedServer plain = directoryOf({fetch(answer + kDone)});
    EXPECT_EQ(client_.search({at(plain, "cn=A")}, "0A"), 1) << timeout;
    EXPECT_TRUE(plain.heardAll()) << timeout;
  }
  ScriptedServer query =
      directoryOf({{{kBind, kBound},
                    {search("cn=A,c=IT", {"certificateRevocationList;binary", kTime}, "02", equality), answer + kDone},
                    {kUnbind, {}}}});
  EXPECT_EQ(client_.search({at(query, "cn=A,c=IT?certificateRevocationList;binary?sub?(cn=A)")}, "0A"), 1);
  EXPECT_TRUE(query.heardAll());
}

TEST_F(LDAPRetrieval, SecondSearchAsksForTheBinaryOption) {
  const ByteString onlyTime = entry({{kTime, {kNewYear}}});
  const ByteString binary = entry({{"CRL;binary", {crlListing("0A")}}});
  ScriptedServer late = directoryOf({{{kBind, kBound},
                                      {search("cn=A", {"crl", kTime}), onlyTime + kDone},
                                      {search("cn=A", {"crl;binary"}), binary + kDone},
                                      {kUnbind, {}}}});
  EXPECT_EQ(client_.search({at(late, "cn=A?crl")}, "0A"), 1);
  EXPECT_TRUE(late.heardAll());
  ScriptedServer never = directoryOf({{{kBind, kBound},
                                       {search("cn=A", {"crl", kTime}), kDone},
                                       {search("cn=A", {"crl;binary"}), kDone},
                                       {kUnbind, {}}}});
  EXPECT_EQ(client_.search({at(never, "cn=A?crl")}, "0A"), -5137) << "there is no third";
  EXPECT_TRUE(never.heardAll());
  ScriptedServer asked =
      directoryOf({{{kBind, kBound}, {search("cn=A", {"crl;binary", kTime}), kDone}, {kUnbind, {}}}});
  EXPECT_EQ(client_.search({at(asked, "cn=A?crl;binary")}, "0A"), -5137) << "nor a second for that option";
  EXPECT_TRUE(asked.heardAll());
}

TEST_F(LDAPRetrieval, TimeRequestAsksTheBaseObjectForItsTime) {
  const Connection fetched = fetch(entry({{kDefault, {crlListing("0A")}}, {kTime, {kNewYear}}}) + kDone);
  const auto timed = [](const ByteString& answer) {
    return Connection{{kBind, kBound}, {search("cn=A", {kTime}), answer}, {kUnbind, {}}};
  };
  struct Row {
    const char* name;
    ByteString answer;
    bool fetched;
  };
  for (const Row& row :
       {Row{"the same time", entry({{kTime, {kNewYear}}}) + kDone, false},
        Row{"a later one", entry({{kTime, {asBytes("20260101000001Z")}}}) + kDone, true},
        Row{"the last value counts", entry({{kTime, {asBytes("20270101000000Z"), kNewYear}}}) + kDone, false},
        Row{"with a fraction", entry({{kTime, {asBytes("20260101000000.0Z")}}}) + kDone, false},
        Row{"no time", entry({{kTime, {asBytes("tomorrow")}}}) + kDone, false}, Row{"none", kDone, false},
        Row{"no value", entry({{kTime, {}}}) + kDone, false},
        Row{"another spelling", entry({{"modifytimestamp", {asBytes("20270101000000Z")}}}) + kDone, false},
        Row{"a reference", message(element(0x73, octets("ldap://other/"))) + kDone, false}}) {
    std::vector<Connection> connections = {fetched, timed(row.answer)};
    if (row.fetched) connections.push_back(fetched);
    ScriptedServer directory = directoryOf(connections);
    EXPECT_EQ(client_.search({at(directory, "cn=A?certificaterevocationlist?base")}, "0A"), 1) << row.name;
    EXPECT_EQ(client_.search({at(directory, "cn=A?certificaterevocationlist?base")}, "0A"), 1) << row.name;
    EXPECT_TRUE(directory.heardAll()) << row.name;
  }
}

TEST_F(LDAPRetrieval, AnswersThatNoRealServerGives) {
  const ByteString crl = crlListing("0A");
  const ByteString found = entry({{kDefault, {crl}}, {kTime, {kNewYear}}});
  const ByteString reference = message(element(0x73, octets("ldap://other/cn=A")));
  const auto references = [&](int n) {
    ByteString all;
    for (int i = 0; i < n; ++i) all.insert(all.end(), reference.begin(), reference.end());
    return all;
  };
  const auto entryWith = [](const Attributes& attributes) { return entry(attributes) + kDone; };
  enum Behind { kUnbindIsHeard, kEnds, kIsSilent };
  struct Row {
    const char* name;
    ByteString answer;
    long expected;
    Behind behind = kUnbindIsHeard;
  };
  for (const Row& row : {
           Row{"a reference before the entry", reference + found + kDone, 1},
           Row{"a bind response in between", kBound + found + kDone, 1},
           Row{"a search request in between", search("", {}) + found + kDone, 1},
           Row{"no result behind the entry", found, 1, kEnds},
           Row{"no result behind the entry, but silence", found, 1, kIsSilent},
           Row{"as many messages as are read", references(998) + found + kDone, 1},
           Row{"references without end", references(2500), -5137},
           Row{"no time", entryWith({{kDefault, {crl}}}), 1},
           Row{"spelling and options of the type", entryWith({{"CertificateRevocationLIST;binary;x", {crl}}}), 1},
           Row{"another option", entryWith({{"certificaterevocationlist;lang-it", {crl}}}), -5137},
           Row{"a type without a text", entryWith({{"", {crl}}}), -5137},
           Row{"the last value decides", entryWith({{kDefault, {asBytes("x"), crl}}}), 1},
           Row{"and takes the CRL away", entryWith({{kDefault, {crl, asBytes("x")}}}), -5137},
           Row{"what is behind CRL and time does not count",
               entryWith({{kDefault, {crl}}, {kTime, {kNewYear}}, {kDefault, {asBytes("x")}}}), 1},
           Row{"a later entry does", found + entryWith({{kDefault, {asBytes("x")}}}), -5137},
           Row{"a damaged signature", entryWith({{kDefault, {withBitFlipped(crl)}}}), -5137},
           Row{"no values", entryWith({{kDefault, {}}}), -5137},
           Row{"a referral for a result",
               message(element(0x65, fromHex("0a010a 0400 0400") + element(0xA3, octets("ldap://other/")))), -5137},
       }) {
    cache_setTimeout(row.behind == kIsSilent ? 1 : 20);
    Connection connection = fetch(row.answer);
    if (row.behind != kUnbindIsHeard) connection.pop_back();
    const ScriptedServer directory = directoryOf({connection}, row.behind == kIsSilent ? Then::silence : Then::close);
    EXPECT_EQ(client_.search({at(directory, "cn=A")}, "0A"), row.expected) << row.name;
  }
}

TEST_F(LDAPRetrieval, BindsThatFail) {
  struct Row {
    const char* name;
    Turn bind;
    Then then = Then::close;
  };
  for (const Row& row :
       {Row{"refused", {kBind, fromHex("300c02010161070a013104000400")}},
        Row{"answered by something else", {kBind, kDone}}, Row{"closed", {kBind, {}}},
        Row{"silence at once", {0, ""}, Then::silence}, Row{"silence after the bind", {kBind, {}}, Then::silence},
        Row{"a reset", {kBind, {}}, Then::reset}}) {
    cache_setTimeout(1);
    const ScriptedServer directory = directoryOf({{row.bind}}, row.then);
    EXPECT_EQ(client_.search({at(directory, "cn=A")}, "0A"), -5137) << row.name;
  }
  EXPECT_EQ(client_.search({"ldap://127.0.0.1:1/cn=A"}, "0A"), -5137);
  EXPECT_EQ(client_.search({"ldap://127.0.0.1:65537/cn=A"}, "0A"), -5137) << "no port";
  EXPECT_EQ(client_.search({"ldap://" + std::string(200, 'h') + "/cn=A"}, "0A"), -5137);
}

}  // namespace
}  // namespace keystrand::test
