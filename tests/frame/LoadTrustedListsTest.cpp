// The real lists of one year on a local web server, the whole way by the example load_trusted_lists: what it counts is
// what XPath counts, and a second process finds in the saved list what the first one left.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>

#include "keystrand/xml/XMLFile.h"
#include "support/Base64.h"
#include "support/NginxServer.h"
#include "support/TSLBuilders.h"
#include "support/TSLOracle.h"

namespace keystrand::test {
namespace {

using testing::HasSubstr;

class LoadTrustedLists : public testing::Test {
 protected:
  void SetUp() override {
    if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
    const auto lists = testData("tl/2023");
    if (!lists) GTEST_SKIP() << kNoTestData;
    server_.emplace();
    for (const char* country : {"AT", "CY", "IS", "IT", "LU", "SE"}) {
      const auto path = *lists / (std::string(country) + ".xml");
      server_->put(place(country), readFile(path));
      published_.emplace(country, expectationOf(path, false).value());
    }
    publishEuropeanList(readFile(*lists / "eu-lotl.xml"));
  }

  // Its pointers are led to the server; the rest stays as it was published.
  void publishEuropeanList(const ByteString& bytes) {
    std::string text(bytes.begin(), bytes.end());
    XMLFile list;
    ASSERT_TRUE(list.parse(text.data(), static_cast<int>(text.size()), true));
    for (bool more = list.find("OtherTSLPointer"); more; more = list.nextElement()) {
      const std::string country = list.valueOf("SchemeTerritory").value_or("");
      if (list.valueOf("MimeType") == "application/pdf") continue;
      const std::string location = replaced(list.valueOf("TSLLocation").value_or(""), "&", "&amp;");
      text = replaced(text, ">" + location + "<", ">" + server_->url(place(country)) + "<");
      if (country != "EU" && country != "EE") offered_[country] = list.valueOf("X509Certificate").value_or("");
    }
    server_->put("/eu.xml", text);
  }
  static std::string place(const std::string& country) { return "/" + country + ".xml"; }

  // What the example says.
  [[nodiscard]] std::string run(const std::string& options, int expectedStatus = 0) const {
    const std::string command = LOAD_TRUSTED_LISTS " --data " + folder_.path().string() + " " + options + " 2>&1";
    FILE* output = popen(command.c_str(), "r");
    std::string text;
    for (int c = std::fgetc(output); c != EOF; c = std::fgetc(output)) text += static_cast<char>(c);
    EXPECT_EQ(pclose(output), expectedStatus << 8) << text;
    return text;
  }
  [[nodiscard]] std::string eu() const { return "--eu " + server_->url("/eu.xml") + " "; }
  // The line that begins with a country, of the table or of a restart; its words.
  static std::vector<std::string> wordsOf(const std::string& text, const std::string& country) {
    std::vector<std::string> words;
    std::istringstream line(text.substr(std::min(text.rfind("\n  " + country + " "), text.size())));
    std::string first;
    std::getline(line >> std::ws, first);
    std::istringstream rest(first);
    for (std::string word; rest >> word;) words.push_back(word);
    return words;
  }
  std::string writeCertificate(const std::string& base64) const {
    const auto der = decodeBase64({reinterpret_cast<const unsigned char*>(base64.data()), base64.size()});
    std::ofstream(folder_ / "certificate", std::ios::binary)
        .write(reinterpret_cast<const char*>(der->data()), static_cast<std::streamsize>(der->size()));
    return " --certificate " + (folder_ / "certificate").string();
  }

  TempFolder folder_;
  std::optional<NginxServer> server_;
  std::map<std::string, TSLExpectation> published_;
  std::map<std::string, std::string> offered_;  // countries, with a certificate that may sign their list
};

TEST_F(LoadTrustedLists, CountsWhatXPathCounts) {
  const std::string text = "\n" + run(eu());
  for (const auto& [country, signer] : offered_) {
    if (!published_.contains(country)) {
      EXPECT_THAT(text, HasSubstr("\n  " + country + "  no list")) << "the others go on";
      continue;
    }
    const TSLExpectation& expected = published_.at(country);
    const TSLCounts& counts = expected.counts;
    std::vector<std::string> words = {country};
    for (const int number :
         {expected.number, counts.taken + counts.otherType + counts.refusedStatus + counts.otherUse,
          counts.taken - expected.withoutCertificate, counts.otherType, counts.refusedStatus, counts.otherUse,
          expected.withoutCertificate, static_cast<int>(expected.certificates.size())})
      words.push_back(std::to_string(number));
    EXPECT_EQ(wordsOf(text, country), words);
  }
}

TEST_F(LoadTrustedLists, ASecondProcessGoesOnWithTheSavedList) {
  EXPECT_THAT(run("--load", 1), HasSubstr("NO saved list"));
  static_cast<void>(run(eu()));
  const auto expectRestart = [&](const std::string& answer) {
    const std::string text = "\n" + run("--load " + eu());
    for (const auto& [country, expected] : published_) {
      std::ostringstream line;
      line << "\n  " << country << "  issue " << expected.number << ", " << expected.certificates.size()
           << " CAs, from " << server_->url(place(country)) << ": " << answer << "\n";
      EXPECT_THAT(text, HasSubstr(line.str()));
    }
  };
  const auto publish = [&](const char* number) {
    for (const auto& [country, expected] : published_)
      server_->put(place(country), makeTSL({.number = number, .territory = country}));
  };
  expectRestart("up to date");
  publish("1");
  expectRestart("up to date");
  publish("9999");
  expectRestart("A NEWER ISSUE IS PUBLISHED");
}

TEST_F(LoadTrustedLists, TellsWhatAListSaysOfAnIssuer) {
  const std::string text = run(eu() + writeCertificate(offered_.at("AT")));
  EXPECT_THAT(text, HasSubstr("list of     AT"));
  const std::string base = "http://uri.etsi.org/TrstSvc/";
  int told = 0;
  for (const auto& [identity, ca] : published_.at("AT").certificates) {
    const std::string state = replaced(ca.status, base + "TrustedList/Svcstatus/", "") + " since " +
                              ca.startingTime.value_or("") + ": " + replaced(ca.type, base + "Svctype/", "") + ", \"" +
                              ca.name.value_or("") + "\"\n";
    if (text.find("list says   " + state) != std::string::npos) ++told;
  }
  EXPECT_GE(told, 1) << text;
  EXPECT_THAT(run("--load" + writeCertificate(offered_.at("AT"))), HasSubstr(text.substr(text.find("issued by"))))
      << "a restart tells the same";
}

}  // namespace
}  // namespace keystrand::test
