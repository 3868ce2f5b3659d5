// Records of trusted lists: chains of any length, and the codes of countries.
#include <gmock/gmock.h>

#include "cache/TSLInfo.h"
#include "keystrand/cache/TSLMetadata.h"

namespace keystrand::test {
namespace {

TEST(TSLRecords, ACountryIsExactlyTwoCharacters) {
  struct Row {
    const char *set, *asked;
    bool has;
  };
  for (const Row& row : {Row{"IT", "IT", true}, Row{"IT", "it", false}, Row{"IT", "ITA", false}, Row{"IT", "I", false},
                         Row{"IT", "", false}, Row{"IT", nullptr, false}, Row{"ITALY", "IT", true},
                         Row{"I", "I", false}, Row{"", "", false}, Row{nullptr, "", false}}) {
    TSLMetadata record;
    record.setCountryCode(row.set);
    EXPECT_EQ(record.hasCountry(row.asked), row.has) << (row.asked != nullptr ? row.asked : "null");
    EXPECT_EQ(TSLInfo(row.set != nullptr ? row.set : "", 1, "").hasCountry(row.asked), row.has);
  }
}

// Each record owns the next: neither copying nor deleting may go down the chain by recursion.
TEST(TSLRecords, ChainsOfAnyLengthAreCopiedAndDeleted) {
  auto chain = std::make_unique<TSLMetadata>();
  for (int i = 0; i < 1'000'000; ++i) {
    auto newer = std::make_unique<TSLMetadata>();
    newer->setNext(chain.release());
    chain = std::move(newer);
  }
  std::unique_ptr<TSLMetadata> copy(chain->getNext());
  chain.reset();
  int count = 0;
  for (const TSLMetadata* record = copy.get(); record != nullptr; record = record->nextView()) ++count;
  EXPECT_EQ(count, 1'000'000);
  copy->setNext(nullptr);
  EXPECT_EQ(copy->getNext(), nullptr);
}

}  // namespace
}  // namespace keystrand::test
