// The real lists of one year on a local web server, the whole way by the example load_trusted_lists: what it counts is
// what XPath counts, and a second process finds in the saved list what the first one left.
#include <gmock/gmock.h>

#include <regex>

#include "support/NginxServer.h"
#include "support/TSLBuilders.h"

namespace keystrand::test {
namespace {

using testing::HasSubstr;

struct Published {
  std::string country, number;
  std::string counts;  // of services: all, taken, and why others were not; of its CAs
};
// As XPath counts them (xmllint --xpath), and OpenSSL tells certificates apart.
const Published kPublished[] = {{"AT", "63", "80 55 1 9 15 0 61"}, {"CY", "45", "8 6 0 2 0 0 6"},
                                {"IS", "24", "5 3 2 0 0 0 4"},     {"IT", "194", "451 203 173 69 6 0 200"},
                                {"LU", "51", "19 6 5 8 0 0 5"},    {"SE", "48", "7 2 4 1 0 0 2"}};

class LoadTrustedLists : public testing::Test {
 protected:
  void SetUp() override {
    if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
    const auto lists = testData("tl/2023");
    if (!lists) GTEST_SKIP() << kNoTestData;
    server_.emplace();
    std::vector<TSLPointerSpec> pointers = {{.territory = "XX", .location = server_->url("/XX.xml"), .signers = {""}}};
    for (const Published& list : kPublished) {
      const std::string place = "/" + list.country + ".xml";
      server_->put(place, readFile(*lists / (list.country + ".xml")));
      pointers.push_back({.territory = list.country, .location = server_->url(place), .signers = {""}});
    }
    server_->put("/eu.xml", makeEuropeanList(pointers));
  }

  // What the example says, with single blanks.
  [[nodiscard]] std::string run(const std::string& options, int expectedStatus = 0) const {
    const auto [status, text] =
        runCommand(LOAD_TRUSTED_LISTS " --data " + folder_.path().string() + " " + options + " 2>&1");
    EXPECT_EQ(status, expectedStatus) << text;
    return "\n" + std::regex_replace(text, std::regex(" +"), " ");
  }
  [[nodiscard]] std::string eu() const { return "--eu " + server_->url("/eu.xml") + " "; }

  TempFolder folder_;
  std::optional<NginxServer> server_;
};

TEST_F(LoadTrustedLists, CountsWhatXPathCounts) {
  const std::string text = run(eu());
  for (const auto& [country, number, counts] : kPublished)
    EXPECT_THAT(text, HasSubstr("\n " + country + " " + number + " " + counts + "\n"));
  EXPECT_THAT(text, HasSubstr("\n XX no list")) << "the others go on";
}

TEST_F(LoadTrustedLists, ASecondProcessGoesOnWithTheSavedList) {
  EXPECT_THAT(run("--load", 1), HasSubstr("NO saved list"));
  static_cast<void>(run(eu()));
  for (const auto& [published, answer] :
       {std::pair{"", "up to date"}, {"1", "up to date"}, {"9999", "A NEWER ISSUE IS PUBLISHED"}}) {
    for (const Published& list : kPublished) {
      if (*published != '\0')
        server_->put("/" + list.country + ".xml", makeTSL({.number = published, .territory = list.country}));
    }
    const std::string text = run("--load " + eu());
    for (const auto& [country, number, counts] : kPublished) {
      const std::string cas = counts.substr(counts.rfind(' '));
      EXPECT_THAT(text, HasSubstr("\n " + country + " issue " + number + "," + cas + " CAs, from " +
                                  server_->url("/" + country + ".xml") + ": " + answer + "\n"));
    }
  }
}

// The certificate is one of those that may sign the Austrian list, as the European list tells.
TEST_F(LoadTrustedLists, TellsWhatAListSaysOfAnIssuer) {
  const std::string list = readText(*testData("tl/2023/eu-lotl.xml"));
  const std::size_t end = list.rfind("</", list.rfind("X509Certificate>", list.find("SchemeTerritory>AT<")));
  const std::size_t from = list.rfind('>', end) + 1;
  std::ofstream(folder_ / "certificate") << "-----BEGIN CERTIFICATE-----\n"
                                         << list.substr(from, end - from) << "\n-----END CERTIFICATE-----\n";
  const std::string certificate = " --certificate " + (folder_ / "certificate").string();
  const std::string text = run(eu() + certificate);
  const std::string told = text.substr(std::min(text.find("issued by"), text.size()));
  EXPECT_EQ(told,
            "issued by C=AT,O=Rundfunk und Telekom Regulierungs-GmbH,CN=RTR Services 4\n list of AT, qualified: no\n"
            " list says recognisedatnationallevel since 2017-01-18T23:00:00Z: CA/PKC, \"RTR Services 4\"\n");
  EXPECT_THAT(run("--load" + certificate), HasSubstr(told)) << "a restart tells the same";
}

}  // namespace
}  // namespace keystrand::test
