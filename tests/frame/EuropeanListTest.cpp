// The way from the European list to the CAs of the countries, by the exported functions and from a local web server:
// small lists for each rule, and servers that lie.
#include <gmock/gmock.h>

#include <fstream>

#include "keystrand/xml/XMLFile.h"
#include "log/Catalogue.h"
#include "net/CurlSettings.h"
#include "support/Builders.h"
#include "support/Client.h"
#include "support/NginxServer.h"
#include "support/ScriptedServer.h"
#include "support/TSLBuilders.h"

namespace keystrand::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using List = std::unique_ptr<XMLFile, decltype(&cache_releaseXMLFile)>;
using Signers = std::unique_ptr<CertList, decltype(&cache_releaseCertList)>;

class EuropeanList : public testing::Test {
 protected:
  void SetUp() override {
    if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
    server_.emplace(
        "location = /text.xml { default_type text/plain; types { } }\n"
        "location = /loop.xml { return 302 /loop.xml; }\n"
        "location = /elsewhere.xml { return 302 /IT.xml; }");
  }

  [[nodiscard]] void* ctx() const { return client_.context(); }
  bool load(const std::string& text) {
    server_->put("/eu.xml", text);
    locate(server_->url("/eu.xml"));
    return cache_loadEUTSL(ctx()) == 1;
  }
  static void locate(std::string url) { cache_setEUTSLLocation(url.data()); }
  bool loadPointers(const std::vector<TSLPointerSpec>& pointers) { return load(makeEuropeanList(pointers)); }
  [[nodiscard]] TSLPointerSpec italy(const std::string& path = "/IT.xml") const {
    return {.location = server_->url(path), .signers = {signer_}};
  }

  [[nodiscard]] std::optional<std::vector<std::string>> countries() const {
    const List list(cache_getCountries(ctx()), &cache_releaseXMLFile);
    if (!list) return std::nullopt;
    EXPECT_TRUE(list->isCurrent("countryList"));
    std::vector<std::string> found;
    for (bool more = list->firstChildElement(); more; more = list->nextElement()) {
      EXPECT_TRUE(list->isCurrent("country"));
      found.push_back(list->value().value_or(""));
    }
    return found;
  }
  List get(std::string country, int* signers = nullptr) {
    CertList* certificates = nullptr;
    List list(cache_getCountryTSL(ctx(), country.data(), &certificates), &cache_releaseXMLFile);
    EXPECT_EQ(list != nullptr, certificates != nullptr);
    if (signers != nullptr && certificates != nullptr) *signers = certificates->count();
    cache_releaseCertList(certificates);
    return list;
  }
  bool isLoaded(std::string country) const { return cache_loadedTSL(ctx(), country.data()) == 1; }
  bool hasUpdates(std::string country) const { return cache_checkCountryCACertsUpdates(ctx(), country.data()) == 1; }

  // "IT 42 location" of every record.
  [[nodiscard]] std::vector<std::string> records() const {
    std::vector<std::string> found;
    for (_ti* info = cache_getLoadedTSLInfos(ctx()); info != nullptr;) {
      found.push_back(std::string(info->countryCode) + " " + std::to_string(info->sequenceNumber) + " " +
                      (info->location != nullptr ? info->location : "(null)"));
      release(std::exchange(info, info->next));
    }
    return found;
  }
  static void release(_ti* info) {
    std::free(info->countryCode);
    std::free(info->location);
    cache_release_tslInfo(info);
  }
  [[nodiscard]] std::string italianList(const std::string& number = "42") const {
    return makeTSL({.number = number, .providers = {{{.certificates = {signer_}}}}});
  }

  RunningLibrary running_;
  Client client_;
  std::optional<NginxServer> server_;
  const std::string signer_ = toBase64(makeAuthority({.key = privateKey("RSA-2048")}).certificate);
};

TEST_F(EuropeanList, IsFetchedOnce) {
  EXPECT_EQ(cache_loadedEUTSL(ctx()), 0);
  EXPECT_EQ(countries(), std::nullopt);
  EXPECT_EQ(get("IT"), nullptr);
  EXPECT_FALSE(hasUpdates("IT"));

  EXPECT_TRUE(loadPointers({italy()}));
  EXPECT_EQ(cache_loadEUTSL(Client().context()), 1);
  EXPECT_EQ(server_->count("GET", "/eu.xml"), 1);
  EXPECT_EQ(cache_loadedEUTSL(ctx()), 1);
  EXPECT_THAT(countries().value(), ElementsAre("IT"));

  locate(server_->url("/absent.xml"));
  EXPECT_EQ(cache_loadedEUTSL(ctx()), 0);
  EXPECT_EQ(countries(), std::nullopt);
  EXPECT_EQ(cache_loadEUTSL(ctx()), 0);
  EXPECT_EQ(cache_loadedEUTSL(ctx()), 0) << "what cannot be fetched leaves nothing";

  std::string path = (running_.folder() / "eu.xml").string();
  EXPECT_EQ(cache_loadEUTSL(ctx(), path.data()), 0);
  std::ofstream(path) << makeEuropeanList({italy()});
  EXPECT_EQ(cache_loadEUTSL(ctx(), path.data()), 1);
  EXPECT_THAT(countries().value(), ElementsAre("IT"));
  EXPECT_THAT(running_.messages(), IsEmpty()) << "nothing of all this is logged";
}

TEST_F(EuropeanList, OffersCountriesAndFindsPointers) {
  const std::optional<std::string> pdf = "application/pdf";
  const std::optional<std::string> xml = TSLPointerSpec().mimeType;
  const auto pointer = [&](const char* territory, const char* path, const std::optional<std::string>& type) {
    return TSLPointerSpec{
        .territory = territory, .mimeType = type, .location = server_->url(path), .signers = {signer_}};
  };
  TSLPointerSpec unsignedList = pointer("PT", "/PT.xml", xml);
  unsignedList.signers.clear();
  ASSERT_TRUE(loadPointers({{.territory = "EU"},
                            pointer("IT", "/IT.pdf", pdf),
                            italy(),
                            italy("/second.xml"),
                            pointer("EE", "/EE.xml", xml),
                            pointer("FR", "/FR.xml", std::nullopt),
                            pointer("DE", "/DE.pdf", pdf),
                            unsignedList,
                            pointer("&lt;&amp;&gt;", "/odd.xml", xml)}));
  EXPECT_THAT(countries().value(), ElementsAre("IT", "IT", "FR", "PT", "<&>"));

  for (const char* path : {"/IT.xml", "/EE.xml", "/FR.xml", "/PT.xml", "/DE.pdf"}) server_->put(path, italianList());
  struct Row {
    const char* country;
    bool found;
  };
  for (const Row& row : {Row{"IT", true}, Row{"EE", true}, Row{"ITx", true}, Row{"FR", false}, Row{"DE", false},
                         Row{"PT", false}, Row{"I", false}, Row{"", false}, Row{"it", false}, Row{"XX", false}}) {
    int signers = 0;
    EXPECT_EQ(get(row.country, &signers) != nullptr, row.found) << row.country;
    EXPECT_EQ(signers, row.found ? 1 : 0) << row.country;
  }
  EXPECT_EQ(server_->count("GET", "/second.xml"), 0) << "the first pointer of a country is the one";
  EXPECT_EQ(cache_getCountryTSL(ctx(), nullptr, nullptr), nullptr);
  char italyCode[] = "IT";
  const List withoutSigners(cache_getCountryTSL(ctx(), italyCode, nullptr), &cache_releaseXMLFile);
  EXPECT_NE(withoutSigners, nullptr);
}

TEST_F(EuropeanList, AFetchedListLeavesItsRecord) {
  ASSERT_TRUE(loadPointers({italy()}));
  server_->put("/IT.xml", italianList());
  EXPECT_TRUE(hasUpdates("IT")) << "anything is news";
  const List list = get("IT");
  ASSERT_NE(list, nullptr);
  EXPECT_FALSE(isLoaded("IT"));
  EXPECT_EQ(cache_addCACertListCountryTSL(ctx(), list.get()), 1);
  EXPECT_TRUE(isLoaded("IT"));
  EXPECT_THAT(records(), ElementsAre("IT 42 " + server_->url("/IT.xml")));
  EXPECT_EQ(cache_addCACertListCountryTSL(ctx(), list.get(), 1), 1) << "the same list again, all services";

  EXPECT_FALSE(hasUpdates("IT"));
  server_->put("/IT.xml", italianList("41"));
  EXPECT_FALSE(hasUpdates("IT"));
  server_->put("/IT.xml", italianList("43"));
  EXPECT_TRUE(hasUpdates("IT"));
  server_->put("/IT.xml", replaced(italianList("43"), "TSLSequenceNumber", "Number"));
  EXPECT_FALSE(hasUpdates("IT")) << "without a number nothing is compared";
  server_->remove("/IT.xml");
  server_->forget();
  EXPECT_FALSE(hasUpdates("IT"));
  EXPECT_EQ(server_->count("GET", "/IT.xml"), 2) << "a second attempt follows the first";

  char code[] = "IT";
  _ti* info = cache_getLoadedTSLInfo(ctx(), code);
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->sequenceNumber, 42);
  EXPECT_EQ(info->next, nullptr);
  release(info);
  cache_removeCountryCACerts(ctx(), code);
  EXPECT_FALSE(isLoaded("IT"));
  EXPECT_EQ(cache_getLoadedTSLInfo(ctx(), code), nullptr);
  EXPECT_THAT(records(), IsEmpty());
  EXPECT_EQ(cache_getCACertsNum(ctx()), 0);
}

// The location waits for the next list that the context reads, whatever that is.
TEST_F(EuropeanList, AListThatIsNotAddedLeavesItsLocationToTheNext) {
  ASSERT_TRUE(loadPointers({italy()}));
  server_->put("/IT.xml", italianList());
  ASSERT_NE(get("IT"), nullptr);
  std::string path = (running_.folder() / "AT.xml").string();
  std::ofstream(path) << makeTSL({.number = "7", .territory = "AT"});
  EXPECT_EQ(cache_addCACertListTSL(ctx(), path.data()), 1);
  EXPECT_THAT(records(), ElementsAre("AT 7 " + server_->url("/IT.xml")));
}

TEST_F(EuropeanList, TellsTheSignersOfAListInHand) {
  TSLPointerSpec unsignedList = italy();
  unsignedList.territory = "PT";
  unsignedList.signers.clear();
  TSLPointerSpec garbled = italy();
  garbled.territory = "FR";
  garbled.signers = {"!", signer_, "MIIB"};
  const auto listOf = [](const std::string& territory) {
    auto list = std::make_unique<XMLFile>();
    const std::string text = makeTSL({.territory = territory});
    EXPECT_TRUE(list->parse(text.data(), static_cast<int>(text.size()), true));
    return list;
  };
  EXPECT_EQ(cache_getCountryTSLSigningCerts(ctx(), listOf("IT").get()), nullptr) << "the European list is not loaded";
  ASSERT_TRUE(loadPointers({italy(), unsignedList, garbled}));
  const Signers italian(cache_getCountryTSLSigningCerts(ctx(), listOf("IT").get()), &cache_releaseCertList);
  ASSERT_NE(italian, nullptr);
  EXPECT_EQ(italian->count(), 1);
  const Signers french(cache_getCountryTSLSigningCerts(ctx(), listOf("FR").get()), &cache_releaseCertList);
  ASSERT_NE(french, nullptr);
  EXPECT_EQ(french->count(), 1) << "what is no certificate is left out";
  EXPECT_EQ(cache_getCountryTSLSigningCerts(ctx(), listOf("XX").get()), nullptr) << "the list stays the caller's";
  EXPECT_EQ(cache_getCountryTSLSigningCerts(ctx(), listOf("PT").release()), nullptr) << "the list is gone";
  EXPECT_EQ(cache_getCountryTSLSigningCerts(ctx(), nullptr), nullptr);
}

TEST_F(EuropeanList, ARealOneNamesTheSignersOfRealLists) {
  const auto lists = testData("tl/2023");
  if (!lists) GTEST_SKIP() << kNoTestData;
  std::string path = *lists / "eu-lotl.xml";
  ASSERT_EQ(cache_loadEUTSL(ctx(), path.data()), 1);
  EXPECT_EQ(countries()->size(), 30U);
  for (const auto& [country, count] : {std::pair{"AT", 3}, {"IT", 4}}) {
    XMLFile list;
    ASSERT_TRUE(list.load((*lists / (std::string(country) + ".xml")).c_str()));
    const Signers signers(cache_getCountryTSLSigningCerts(ctx(), &list), &cache_releaseCertList);
    EXPECT_EQ(signers->count(), count) << country;
  }
}

TEST_F(EuropeanList, ServersThatLie) {
  server_->put("/IT.xml", italianList());
  ASSERT_TRUE(loadPointers({italy()}));
  ASSERT_EQ(cache_addCACertListCountryTSL(ctx(), get("IT").get()), 1);
  static_cast<void>(running_.messages());

  const std::string list = italianList("99");
  server_->put("/html.xml", "<!DOCTYPE html><html><body><p>Sorry<br></body></html>");
  server_->put("/cut.xml", list.substr(0, list.size() / 2));
  server_->put("/text.xml", list);
  server_->put("/empty.xml", "");
  const ScriptedServer shorter(
      {{"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: 100000\r\n\r\n" + list}});
  const ScriptedServer nobody({{"", ScriptedServer::Then::reset}});
  struct Row {
    std::string location;
    bool comes;  // a document does, though it may hold nothing
  };
  const Row rows[] = {{server_->url("/html.xml"), true},  {server_->url("/cut.xml"), true},
                      {server_->url("/empty.xml"), true}, {server_->url("/text.xml"), false},
                      {server_->url("/loop.xml"), false}, {server_->url("/absent.xml"), false},
                      {shorter.url("/IT.xml"), false},    {nobody.url("/IT.xml"), false},
                      {"ftp://127.0.0.1/IT.xml", false},  {"", false},
                      {"file:///etc/hostname", false}};
  for (const Row& row : rows) {
    TSLPointerSpec pointer = italy();
    pointer.location = row.location;
    ASSERT_TRUE(loadPointers({pointer}));
    cache_resetReport(ctx());
    const List fetched = get("IT");
    EXPECT_EQ(fetched != nullptr, row.comes) << row.location;
    EXPECT_FALSE(hasUpdates("IT")) << row.location;
    if (fetched) {
      EXPECT_EQ(cache_addCACertListCountryTSL(ctx(), fetched.get()), 0) << row.location;
      EXPECT_EQ(cache_getErrCode(ctx()), 5195U);
      EXPECT_THAT(running_.messages(), ElementsAre(messageText(4723, 1), messageText(5195, 1)));
    }
    EXPECT_THAT(records(), ElementsAre("IT 42 " + server_->url("/IT.xml"))) << "nothing of the old is lost";
    EXPECT_EQ(cache_getCACertsNum(ctx()), 1);
  }
  TSLPointerSpec moved = italy("/elsewhere.xml");
  ASSERT_TRUE(loadPointers({moved}));
  EXPECT_NE(get("IT"), nullptr) << "an honest redirect is followed";

  const ScriptedServer silent({{"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\n", ScriptedServer::Then::silence}});
  TSLPointerSpec mute = italy();
  mute.location = silent.url("/IT.xml");
  ASSERT_TRUE(loadPointers({mute}));
  setCurlTimeout(1);
  EXPECT_EQ(get("IT"), nullptr) << "the time-out of the last download of a CRL holds here too";
  EXPECT_FALSE(hasUpdates("IT"));
  EXPECT_THAT(countries().value(), ElementsAre("IT"));
  EXPECT_EQ(cache_getCACertsNum(ctx()), 1);
  setCurlTimeout(60);

  EXPECT_FALSE(load("<html><p></html>")) << "no European list";
  EXPECT_EQ(cache_loadedEUTSL(ctx()), 1);
  EXPECT_EQ(cache_loadEUTSL(ctx()), 1);
  EXPECT_EQ(countries(), std::nullopt);
}

}  // namespace
}  // namespace keystrand::test
