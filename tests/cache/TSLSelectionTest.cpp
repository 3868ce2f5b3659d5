// Which services of a list become CAs, by which rule the others stay out, and what a list without something does.
#include <fstream>
#include <functional>

#include "cache/TestCA.h"
#include "support/Coding.h"
#include "support/LibraryFixture.h"
#include "support/TSLBuilders.h"

namespace keystrand::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TSLSelection : public LibraryFixture {
 protected:
  TSLSelection() : cache_(contextLogging(7)) {}

  bool add(const std::string& text, bool allServices = false) {
    XMLFile list;
    EXPECT_TRUE(list.parse(text.data(), static_cast<int>(text.size()), true));
    return cache_->addTSL(list, allServices);
  }
  // The common names of the rows, in order.
  static std::vector<std::string> rows() {
    std::vector<std::string> names;
    for (const CARow& row : library().caTable.rows())
      names.push_back(row.subjectText->substr(row.subjectText->find("CN=") + 3));
    return names;
  }
  static const CACertEntryRef& only() {
    EXPECT_EQ(library().caTable.count(), 1);
    EXPECT_EQ(library().caTable.rows()[0].entries.size(), 1U);
    return library().caTable.rows()[0].entries[0];
  }

  std::unique_ptr<CACache> cache_;
};

std::string certificateOf(const std::string& name, int serial = 1) {
  return toBase64(makeCA({.subject = name, .serial = serial, .key = rsaKey()}));
}

TSLServiceSpec serviceOf(const std::string& name) {
  return {.certificates = {certificateOf(name)}};
}

TEST_F(TSLSelection, TakesByTypeStatusAndUse) {
  const std::string base = "http://uri.etsi.org/TrstSvc/";
  struct Row {
    const char* name;
    std::function<void(TSLServiceSpec&)> change;
    bool taken, takenOfAll;
  };
  const auto type = [&](const std::string& path) {
    return [uri = base + "Svctype/" + path](TSLServiceSpec& s) { s.state.type = uri; };
  };
  const auto status = [&](const std::string& path) {
    return [uri = base + "TrustedList/Svcstatus/" + path](TSLServiceSpec& s) { s.state.status = uri; };
  };
  const auto uses = [](std::vector<std::string> uris) {
    return [uris = std::move(uris)](TSLServiceSpec& s) { s.uses = uris; };
  };
  const Row table[] = {
      {"CA/QC", type("CA/QC"), true, true},
      {"TSA/QTST", type("TSA/QTST"), true, true},
      {"CA/PKC", type("CA/PKC"), true, true},
      {"TSA", type("TSA"), true, true},
      {"TSA/TSS-QC", type("TSA/TSS-QC"), true, true},
      {"TSA/TSS-AdESQCandQES", type("TSA/TSS-AdESQCandQES"), true, true},
      {"NationalRootCA-QC", type("NationalRootCA-QC"), true, true},
      {"ACA", type("ACA"), true, true},
      {"OCSP", type("Certstatus/OCSP/QC"), false, true},
      {"no type", [](TSLServiceSpec& s) { s.state.type = ""; }, false, true},
      {"a type in other letters", type("CA/qc"), false, true},
      {"a type with a blank behind", type("CA/QC "), false, true},
      {"ceased", status("accreditationceased"), false, false},
      {"revoked", status("accreditationrevoked"), false, false},
      {"withdrawn", status("withdrawn"), false, false},
      {"deprecated", status("deprecatedatnationallevel"), false, false},
      {"recognised", status("recognisedatnationallevel"), true, true},
      {"a status unknown to us", status("new"), true, true},
      {"no status", [](TSLServiceSpec& s) { s.state.status = ""; }, true, true},
      {"withdrawn of old", [](TSLServiceSpec& s) { s.history = {{.status = "withdrawn"}}; }, true, true},
      {"for seals", uses({kForSeals}), true, true},
      {"for signatures behind others", uses({kForWebSites, kForSignatures}), true, true},
      {"for signatures before others", uses({kForSignatures, kForWebSites}), true, true},
      {"for web sites", uses({kForWebSites}), false, false},
      {"for nothing that it tells", uses({""}), false, false},
  };
  for (const Row& row : table) {
    TSLServiceSpec service = serviceOf("First CA");
    row.change(service);
    const std::string text = makeTSL({.providers = {{service}}});
    EXPECT_TRUE(add(text)) << row.name;
    EXPECT_EQ(!rows().empty(), row.taken) << row.name;
    EXPECT_TRUE(add(text, true)) << row.name;
    EXPECT_EQ(!rows().empty(), row.takenOfAll) << row.name;
    library().caTable.clear();
  }
}

// The first URI below each piece of information counts, and an extension of another kind is none.
TEST_F(TSLSelection, ReadsExtensionsAsTheyStand) {
  const std::string text = makeTSL({.providers = {{{.uses = {kForWebSites}, .certificates = {certificateOf("A")}}}}});
  EXPECT_TRUE(add(replaced(text, "</URI>", "</URI><URI>" + kForSeals + "</URI>")));
  EXPECT_THAT(rows(), IsEmpty());
  EXPECT_TRUE(add(replaced(text, "AdditionalServiceInformation", "Qualifications")));
  EXPECT_THAT(rows(), ElementsAre("A"));
}

TEST_F(TSLSelection, PassesOverWhatIsNoCertificate) {
  TSLServiceSpec service = serviceOf("Last");
  const std::string good = certificateOf("First");
  service.certificates = {"",
                          "!",
                          "MIIB",
                          toBase64({0x30, 0x03, 0x02, 0x01, 0x01}),
                          good.substr(0, 40) + "\n " + good.substr(40),
                          service.certificates[0]};
  EXPECT_TRUE(add(makeTSL({.providers = {{service}}})));
  EXPECT_THAT(rows(), ElementsAre("First", "Last"));
}

TEST_F(TSLSelection, KeepsWhatTheListSays) {
  const TSLStateSpec older[] = {{.status = "withdrawn", .name = "Old & gone", .startingTime = "2016"},
                                {.type = "t", .status = "s", .name = "n", .startingTime = "2010"}};
  TSLServiceSpec service = serviceOf("First CA");
  service.history = {older[0], older[1]};
  service.history[0].name = "Old &amp; gone";
  EXPECT_TRUE(add(replaced(makeTSL({.providers = {{service}}}), "<StatusStartingTime>2010</StatusStartingTime>", "")));
  EXPECT_EQ(only()->source(), kSourceTSL);
  const TSLMetadata* record = only()->metadata();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(taken(record->getCountryCode()), "IT");
  EXPECT_EQ(record->serviceTypeView(), kQualifiedCA);
  EXPECT_EQ(record->serviceStatusView(), kGranted);
  EXPECT_EQ(record->serviceNameView(), "A service");
  EXPECT_EQ(record->statusStartingTimeView(), "2020-01-01T00:00:00Z");
  record = record->nextView();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->serviceNameView(), older[0].name);
  EXPECT_FALSE(record->hasCountry("IT"));
  record = record->nextView();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->serviceTypeView(), "t");
  EXPECT_EQ(record->statusStartingTimeView(), std::nullopt) << "an element that is missing";
  EXPECT_EQ(record->nextView(), nullptr);
}

TEST_F(TSLSelection, TheLaterServiceOfOneCertificateWins) {
  TSLServiceSpec first = serviceOf("First CA");
  TSLServiceSpec second = first;
  second.state.name = "Another service";
  EXPECT_TRUE(add(makeTSL({.providers = {{first}, {second}}})));
  EXPECT_EQ(only()->metadata()->serviceNameView(), "Another service");
}

TEST_F(TSLSelection, ReplacesTheRowsOfItsCountryOnly) {
  EXPECT_TRUE(add(makeTSL({.territory = "AT", .providers = {{serviceOf("Austrian")}}})));
  EXPECT_TRUE(add(makeTSL({.providers = {{serviceOf("Old"), serviceOf("Mixed")}}})));
  cache_->addCertificatePEM(certificateOf("Mixed", 2).c_str());
  cache_->addCertificatePEM(certificateOf("Own").c_str());
  EXPECT_TRUE(add(makeTSL({.providers = {{serviceOf("New")}}})));
  EXPECT_THAT(rows(), ElementsAre("Austrian", "Own", "New")) << "a row goes by its first entry";

  EXPECT_TRUE(add(makeTSL({.territory = "ITA", .providers = {{serviceOf("Longer")}}})));
  EXPECT_THAT(rows(), ElementsAre("Austrian", "Own", "New", "Longer")) << "three letters name no country to remove";
  EXPECT_EQ(taken(library().caTable.rows()[3].entries[0]->metadata()->getCountryCode()), "IT");
  EXPECT_TRUE(add(makeTSL({.territory = "A", .providers = {{serviceOf("Shorter")}}})));
  EXPECT_EQ(library().caTable.count(), 5);
}

TEST_F(TSLSelection, EndsAndFailures) {
  struct Row {
    const char* name;
    std::function<std::string(std::string)> change;
    bool result;
    std::vector<std::string> rows;
  };
  const auto without = [](const std::string& name) {
    return [name](const std::string& text) {
      return replaced(replaced(text, "<" + name + ">", "<gone>"), "</" + name + ">", "</gone>");
    };
  };
  // of the second provider alone
  const auto secondWithout = [&](const std::string& name) {
    return [=](const std::string& text) {
      const std::size_t second = text.rfind("<TrustServiceProvider>");
      return text.substr(0, second) + without(name)(text.substr(second));
    };
  };
  const std::vector<std::string> before = {"Before"};
  const std::vector<std::string> all = {"A", "B", "C"};
  const Row table[] = {
      {"whole", [](const std::string& text) { return text; }, true, all},
      {"no number", without("TSLSequenceNumber"), false, before},
      {"no territory", without("SchemeTerritory"), false, before},
      {"no providers", without("TrustServiceProviderList"), true, before},
      {"no provider", without("TrustServiceProvider"), true, before},
      {"a provider without services ends the reading", secondWithout("TSPServices"), true, {"A"}},
      {"a provider without a service too", secondWithout("TSPService"), true, {"A"}},
      {"no information", secondWithout("ServiceInformation"), false, {"A"}},
      {"no type", secondWithout("ServiceTypeIdentifier"), false, {"A"}},
      {"no status", secondWithout("ServiceStatus"), false, {"A"}},
      {"no identity", secondWithout("ServiceDigitalIdentity"), false, {"A"}},
      {"no form of the identity", secondWithout("DigitalId"), false, {"A"}},
      {"in another namespace",
       [](const std::string& text) { return replaced(text, "StatusList>\n<", "StatusList xmlns='urn:other'>\n<"); },
       true, all},
      {"a number with text behind", [](const std::string& text) { return replaced(text, ">42<", ">42nd<"); }, true,
       all},
  };
  const std::string text = makeTSL({.providers = {{serviceOf("A")}, {serviceOf("B"), serviceOf("C")}}});
  for (const Row& row : table) {
    library().caTable.clear();
    ASSERT_TRUE(add(makeTSL({.providers = {{serviceOf("Before")}}})));
    static_cast<void>(logged());
    cache_->report().reset();
    EXPECT_EQ(add(row.change(text)), row.result) << row.name;
    EXPECT_EQ(rows(), row.rows) << row.name;
    EXPECT_EQ(cache_->report().errCode, row.result ? kNoError : 5195) << row.name;
    const std::vector<std::string> messages = logged();
    ASSERT_GE(messages.size(), 2U);
    EXPECT_EQ(messages.front(), message(4723)) << row.name;
    EXPECT_EQ(messages.back(), row.result ? rowsMessage(static_cast<int>(row.rows.size())) : message(5195)) << row.name;
  }
}

TEST_F(TSLSelection, AFullTableEndsTheReading) {
  std::vector<CARow> full(CATable::kRows);
  library().caTable.assign(full);
  EXPECT_FALSE(add(makeTSL({.providers = {{serviceOf("One more")}}})));
  EXPECT_EQ(cache_->report().errCode, 5195);
}

TEST_F(TSLSelection, WarnsOfKeysThatAreNotCanonical) {
  TSLServiceSpec service;
  service.certificates = {toBase64(makeCA())};  // on a curve
  EXPECT_TRUE(add(makeTSL({.providers = {{service}}})));
  EXPECT_THAT(logged(), ElementsAre(message(4723), message(5222), testing::_, message(4695), rowsMessage(1)));
}

TEST_F(TSLSelection, FilesAddInitialiseAndImport) {
  const std::string path = folder / "list.xml";
  const std::string broken = folder / "broken.xml";
  std::ofstream(path) << makeTSL({.providers = {{serviceOf("Of the file")}}});
  std::ofstream(broken) << "<html>";
  cache_->addCertificatePEM(certificateOf("Own").c_str());
  static_cast<void>(logged());

  EXPECT_FALSE(cache_->addTSLFile(broken.c_str()));
  EXPECT_EQ(cache_->report().errCode, kNoError) << "the log alone tells";
  EXPECT_THAT(logged(), ElementsAre(message(5195)));
  EXPECT_FALSE(cache_->initTSLFile((folder / "absent").c_str()));
  EXPECT_EQ(cache_->report().errCode, 5192);
  EXPECT_THAT(logged(), ElementsAre(message(5192)));
  EXPECT_THAT(rows(), ElementsAre("Own"));

  EXPECT_TRUE(cache_->addTSLFile(path.c_str()));
  EXPECT_THAT(rows(), ElementsAre("Own", "Of the file"));
  EXPECT_EQ(library().loadedTSLs.count(), 0) << "a file leaves no record";
  static_cast<void>(logged());
  EXPECT_TRUE(cache_->initTSLFile(path.c_str()));
  EXPECT_THAT(rows(), ElementsAre("Of the file"));
  EXPECT_THAT(logged(), ElementsAre(message(4678), testing::_, message(4681), rowsMessage(1)));

  EXPECT_TRUE(cache_->importTSLFile(path.c_str()));
  library().caTable.clear();
  EXPECT_TRUE(cache_->loadCAList(library().caListPath));
  EXPECT_THAT(rows(), ElementsAre("Of the file"));
  EXPECT_FALSE(cache_->importTSLFile(broken.c_str()));
  EXPECT_THAT(rows(), IsEmpty()) << "an import that fails has emptied the list";
}

// Real lists, and how many certificates and former states XPath finds in their services (xmllint --xpath).
TEST_F(TSLSelection, RealListsGiveWhatXPathFinds) {
  struct Row {
    const char* list;
    std::pair<int, int> usual, ofAll;  // certificates and former states
  };
  for (const Row& row :
       {Row{"2023/AT.xml", {61, 24}, {62, 25}}, Row{"2023/CY.xml", {6, 0}, {6, 0}}, Row{"2023/IS.xml", {4, 2}, {5, 2}},
        Row{"2023/IT.xml", {200, 246}, {361, 363}}, Row{"2023/LU.xml", {5, 0}, {7, 0}},
        Row{"2023/eu-lotl.xml", {0, 0}, {0, 0}}, Row{"third-country/ZZ-mra-test.xml", {0, 0}, {1, 0}},
        Row{"xsw/TSL-noID.xml", {22, 18}, {23, 19}}, Row{"status-history/EE_T-CA-withdrawn.xml", {23, 5}, {26, 6}}}) {
    const auto path = testData(std::string("tl/") + row.list);
    if (!path) GTEST_SKIP() << kNoTestData;
    for (const bool allServices : {false, true}) {
      library().caTable.clear();
      XMLFile list;
      ASSERT_TRUE(list.load(path->c_str()) && cache_->addTSL(list, allServices)) << row.list;
      std::pair<int, int> found;
      for (const CARow& subject : library().caTable.rows()) {
        for (const CACertEntryRef& entry : subject.entries) {
          ++found.first;
          for (const TSLMetadata* state = entry->metadata()->nextView(); state != nullptr; state = state->nextView())
            ++found.second;
        }
      }
      EXPECT_EQ(found, allServices ? row.ofAll : row.usual) << row.list;
    }
  }
}

}  // namespace
}  // namespace keystrand::test
