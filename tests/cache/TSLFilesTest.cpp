// Real trusted lists: every service counted by the rule that decides on it, every certificate with what its list says,
// beside XPath and OpenSSL on the same file.

#include "cache/TSLReader.h"
#include "support/LibraryFixture.h"
#include "support/TSLOracle.h"

namespace keystrand::test {
namespace {

class TSLFiles : public LibraryFixture, public testing::WithParamInterface<const char*> {};

TSLCounts countsOf(const std::filesystem::path& path, bool allServices) {
  TSLCounts counts;
  XMLFile list;
  EXPECT_TRUE(list.load(path.c_str()));
  TSLReader reader(list);
  if (!reader.readScheme() || !reader.toFirstProvider()) return counts;
  do {
    if (!reader.toFirstService()) return counts;
    do {
      const TSLReader::Choice choice = reader.choose(allServices);
      counts.taken += choice == TSLReader::Choice::kTaken ? 1 : 0;
      counts.otherType += choice == TSLReader::Choice::kOtherType ? 1 : 0;
      counts.refusedStatus += choice == TSLReader::Choice::kRefusedStatus ? 1 : 0;
      counts.otherUse += choice == TSLReader::Choice::kOtherUse ? 1 : 0;
    } while (reader.nextService());
  } while (reader.nextProvider());
  return counts;
}

std::size_t entryCount() {
  std::size_t count = 0;
  for (const CARow& row : library().caTable.rows()) count += row.entries.size();
  return count;
}

void expectSame(const TSLMetadata& record, const TSLExpectedCA& expected, const std::string& territory) {
  EXPECT_TRUE(record.hasCountry(territory.substr(0, 2).c_str()));
  EXPECT_EQ(record.serviceTypeView(), expected.type);
  EXPECT_EQ(record.serviceStatusView(), expected.status);
  EXPECT_EQ(record.serviceNameView(), expected.name);
  EXPECT_EQ(record.statusStartingTimeView(), expected.startingTime);
  int history = 0;
  for (const TSLMetadata* former = record.nextView(); former != nullptr; former = former->nextView()) ++history;
  EXPECT_EQ(history, expected.history);
}

TEST_P(TSLFiles, IsReadAsXPathReadsIt) {
  const auto path = testData(std::string("tl/") + GetParam());
  if (!path) GTEST_SKIP() << kNoTestData;
  const auto cache = contextLogging(kNoLog);
  for (const bool allServices : {false, true}) {
    const auto expected = expectationOf(*path, allServices);
    ASSERT_TRUE(expected);
    const TSLCounts counts = countsOf(*path, allServices);
    EXPECT_EQ(counts, expected->counts);

    library().caTable.clear();
    XMLFile list;
    ASSERT_TRUE(list.load(path->c_str()));
    ASSERT_TRUE(cache->addTSL(list, allServices));
    EXPECT_EQ(entryCount(), expected->certificates.size());
    for (const auto& [identity, ca] : expected->certificates) {
      const std::unique_ptr<TSLMetadata> record(cache->metadataOf(ca.base64.c_str()));
      ASSERT_NE(record, nullptr) << ca.base64;
      expectSame(*record, ca, expected->territory);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Lists, TSLFiles,
                         testing::Values("2023/AT.xml", "2023/CY.xml", "2023/IS.xml", "2023/IT.xml", "2023/LU.xml",
                                         "2023/SE.xml", "2023/eu-lotl.xml", "2023/eu-lotl-pivot-282.xml",
                                         "third-country/PE-lotl-v1.xml", "third-country/ZZ-mra-test.xml",
                                         "xsw/TSL-noID.xml", "status-history/EE_T-CA-withdrawn.xml",
                                         "status-history/EE_T-CA-withdrawn-granted-before.xml",
                                         "negative/fr-65-docusign.xml"),
                         [](const auto& list) {
                           std::string name = list.param;
                           std::ranges::replace_if(
                               name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
                           return name;
                         });

}  // namespace
}  // namespace keystrand::test
