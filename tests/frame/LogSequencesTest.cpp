// What each operation logs, at which level and in both languages, and the code that it leaves in the report.
#include <gmock/gmock.h>

#include <functional>

#include "log/Catalogue.h"
#include "support/Builders.h"
#include "support/Client.h"
#include "support/NginxServer.h"

namespace keystrand::test {
namespace {

struct Line {
  int level;
  unsigned long code;
  std::string argument = {};  // takes the place of the row's conversion, or stands behind a row without one
};
using Lines = std::vector<Line>;

std::string textOf(const Line& line, unsigned char language) {
  std::string text = messageText(line.code, language);
  const std::size_t conversion = text.find('%');
  return conversion == std::string::npos ? text + line.argument : text.replace(conversion, 2, line.argument);
}

Lines operator+(Lines first, const Lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

using Step = std::function<void(const Client&)>;

struct Row {
  const char* name;
  Step before;  // not part of the sequence
  Step run;
  Lines lines;
  unsigned long errCode = kNoCode;
};

constexpr const char* kIssued = "Jan 01 00:00:00 2025 GMT";
constexpr const char* kRevoked = "Jan 02 03:04:05 2025 GMT";
constexpr const char* kSubject = "C=IT,O=Keystrand,CN=Test CA";

class LogSequences : public testing::Test {
 protected:
  // Each row on empty tables and without data files, once for every level and language.
  void check(const std::vector<Row>& rows) {
    for (int level = 3; level <= 7; ++level) {
      for (const Row& row : rows) checkOne(row, level, 0);
      for (const Row& row : rows) checkOne(row, level, 1);
    }
  }
  [[nodiscard]] std::string file(const char* name) const { return (running_.folder() / name).string(); }
  std::string pem(const char* name, const ByteString& der) const {
    writeFile(file(name), toPEM(der, "CERTIFICATE"));
    return file(name);
  }
  Step addCA() const {
    return [this](const Client& client) { client.addCA(ca_.certificate); };
  }

  RunningLibrary running_;
  const Authority ca_ = makeAuthority();
  ByteString garbage_ = {0x30, 0x03, 0x02, 0x01, 0x05};

 private:
  void checkOne(const Row& row, int level, unsigned char language) {
    cache_setLang(language);
    cache_enableLog(static_cast<unsigned char>(level));
    const Client client;
    cache_clean(client.context());
    for (const char* data : {"caCertsList-3.5", "crlCache"}) std::filesystem::remove_all(file(data));
    if (row.before) row.before(client);
    running_.messages();
    cache_resetReport(client.context());
    row.run(client);
    std::vector<std::string> expected;
    for (const Line& line : row.lines) {
      if (line.level <= level) expected.push_back(textOf(line, language));
    }
    EXPECT_EQ(running_.messages(), expected) << row.name << ", level " << level;
    EXPECT_EQ(cache_getErrCode(client.context()), row.errCode) << row.name;
  }
};

TEST_F(LogSequences, OfTheCAList) {
  const std::string good = pem("good.pem", ca_.certificate);
  const std::string bad = pem("bad.pem", garbage_);
  const std::string missing = file("missing.pem");
  const Lines taken = {{4, 5222}, {5, 4675, kSubject}};  // the key is an EC key
  const Lines counted = {{6, 4677, "1"}};
  using Call = unsigned char (*)(void*, char*);
  const auto with = [](Call call, const std::string& path) -> Step {
    return [=](const Client& c) { call(c.context(), std::string(path).data()); };
  };
  const auto inBytes = [](unsigned char (*call)(void*, unsigned char*, unsigned int), ByteString der) -> Step {
    return [=](const Client& c) { call(c.context(), ByteString(der).data(), static_cast<unsigned int>(der.size())); };
  };
  const Step askSource = [&](auto& c) { cache_getCACertSource(c.context(), garbage_.data(), 5U); };
  const Step askTrust = [&](auto& c) { cache_trustedCA(c.context(), garbage_.data(), 5); };
  const Lines anew = Lines{{7, 4678}} + taken + Lines{{7, 4681}} + counted;
  check({
      {"add", {}, with(cache_addCACertListPEM, good), Lines{{7, 4723}} + taken + Lines{{7, 4695}} + counted},
      {"add bad", {}, with(cache_addCACertListPEM, bad), {{7, 4723}, {3, 5195}}},
      {"add missing", {}, with(cache_addCACertListPEM, missing), {{3, 5195}}},
      {"init", {}, with(cache_initCACertListPEM, good), anew},
      {"init bad", {}, with(cache_initCACertListPEM, bad), {{7, 4678}, {3, 5195}, {3, 5192}}},
      {"init missing", {}, with(cache_initCACertListPEM, missing), {{3, 5192}}},
      {"import", {}, with(cache_importCACertsListPEM, good), anew + Lines{{7, 4688}, {7, 4689}}},
      {"one", {}, addCA(), {{5, 4675, kSubject}}},
      {"one more of a known subject", addCA(), addCA(), {}},
      {"one bad", {}, inBytes(cache_addCACertDER, garbage_), {{3, 5195}}},
      {"remove unknown", {}, inBytes(cache_removeCACertDER, ca_.certificate), {}},
      {"remove bad", {}, inBytes(cache_removeCACertDER, garbage_), {{3, 5195}}},
      {"source of bad", {}, askSource, {{3, 5195}}},
      {"trust in bad", {}, askTrust, {}},
  });
}

TEST_F(LogSequences, OfTheSearch) {
  if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
  const NginxServer server;
  const Authority mute = makeAuthority(
      {.subject = {{"CN", "Mute"}}, .extensions = {{"keyUsage", "keyCertSign"}, {"subjectKeyIdentifier", "hash"}}});
  const std::vector<CRLEntrySpec> entries = {
      {.serial = "0A"},
      {.serial = "0B",
       .extensions = {{"CRLReason", "ASN1:ENUM:6"}, {"invalidityDate", "ASN1:GENTIME:20240102030405Z"}}}};
  const auto put = [&](const char* path, const ByteString& crl) {
    server.put(path, crl);
    return server.url(path);
  };
  const std::string good = put("/good.crl", makeCRL(ca_, {.entries = entries}));
  const std::string old = put("/old.crl", makeCRL(ca_, {.nextUpdate = "20250201000000Z", .entries = entries}));
  const std::string unfit = put("/unfit.crl", makeCRL(mute));
  const std::string damaged = put("/damaged.crl", withBitFlipped(makeCRL(ca_)));
  const std::string none = server.url("/none.crl");
  const auto search = [](const std::string& url, const char* serial) -> Step {
    return [=](const Client& c) { c.search({url}, serial); };
  };
  const auto known = [&](const std::string& url) -> Step {
    return [&, url](const Client& c) { c.addCA(ca_.certificate), c.search({url}, "01"); };
  };
  const auto asked = [](const std::string& url) { return Lines{{7, 4713}, {7, 4715}, {5, 4712, url}, {7, 4698}}; };
  const Lines accepted = {{7, 4699}, {7, 4704}, {7, 4705}, {6, 4637}, {6, 4626, kIssued}};
  check({
      {"first", addCA(), search(good, "01"), asked(good) + accepted + Lines{{7, 4708}, {7, 4710}}},
      {"next",
       known(good),
       search(good, "0A"),
       {{7, 4713}, {7, 4725}, {7, 4726}, {7, 4714}, {6, 4626, kIssued}, {7, 4708}, {6, 5140, kRevoked}, {7, 4709}}},
      {"held, on an expired CRL", addCA(), search(old, "0B"),
       asked(old) + accepted +
           Lines{{6, 5156, ": Feb 01 00:00:00 2025 GMT"}, {7, 4708}, {6, 5162}, {6, 5148}, {7, 4709}}},
      {"not there", addCA(), search(none, "0A"), asked(none) + Lines{{3, 5137}}, 5137},
      {"unknown issuer", {}, search(good, "0A"), asked(good) + Lines{{7, 4699}, {7, 4704}, {3, 5137}}, 5137},
      {"a key for certificates only", [&](auto& c) { c.addCA(mute.certificate); }, search(unfit, "0A"),
       asked(unfit) + Lines{{7, 4699}, {7, 4704}, {6, 4676, "CN=Mute"}, {3, 5136}, {3, 5137}}, 5137},
      {"a damaged signature", addCA(), search(damaged, "0A"),
       asked(damaged) + Lines{{7, 4699}, {7, 4704}, {6, 4676, kSubject}, {3, 5138}, {3, 5137}}, 5137},
      {"no names", {}, [](auto& c) { c.search({}, "0A"); }, {{3, 5199}}, 5199},
      {"no local CRL",
       {},
       [&](auto& c) {
         cache_setUseLocalCRLs(c.context(), 1);
         c.search({good}, "0A");
       },
       {},
       5137},
      {"CRL not there", addCA(),
       [&](auto& c) { EXPECT_EQ(cache_getCRL(c.context(), Client::at({none}).get(), 0, nullptr), nullptr); },
       asked(none) + Lines{{3, 5137}}, 5137},
  });
}

}  // namespace
}  // namespace keystrand::test
