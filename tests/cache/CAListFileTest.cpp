// The CA list file: its bytes, what survives a restart, what damage leaves, and its lock between processes.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <future>

#include "cache/TestCA.h"
#include "support/Der.h"
#include "support/FileLockHolder.h"
#include "support/Texts.h"

namespace keystrand::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::vector<std::string> kLoadedNothing = {message(4643), message(4654), rowsMessage(0)};

ByteString octets(const std::string& text) {
  return element(4, asBytes(text));
}
ByteString sequence(const std::vector<ByteString>& content) {
  return withChildren(0x30, content);
}
ByteString set(const std::vector<ByteString>& content) {
  return withChildren(0x31, content);
}
ByteString integer(unsigned char value) {
  return {2, 1, value};
}
ByteString encodedName(const std::string& subject) {
  const ByteString country = set({sequence({{6, 3, 0x55, 4, 6}, {0x13, 2, 'I', 'T'}})});
  return sequence({country, set({sequence({{6, 3, 0x55, 4, 3}, element(12, asBytes(subject))})})});
}
ByteString infoRecord(const std::string& country) {
  return sequence({octets(country), integer(7), octets("http://l")});
}

class CAListFile : public CAFixture {
 protected:
  const std::string path = folder / "list";

  bool loadBytes(const ByteString& bytes) {
    writeFile(path, bytes);
    return context->loadCAList(path);
  }
  // Everything of the list that a client can see, one line an entry.
  std::vector<std::string> contents() {
    std::vector<std::string> lines;
    for (int row = 0; row < context->rowCount(); ++row) {
      for (const auto& entry : context->entriesOf(row)) {
        std::string line = context->subjectTextOf(row) + '|' + entry->serial().text(16) + '|' + entry->issuer().text() +
                           '|' + std::to_string(entry->source());
        for (const TSLMetadata* record = entry->metadata(); record != nullptr; record = record->nextView()) {
          line += '|' + record->serviceStatusView().value();
        }
        lines.push_back(line);
      }
    }
    return lines;
  }
};

TEST_F(CAListFile, HasTheseBytesAndComesBackAsItWas) {
  const ByteString plain = makeCA({.subject = "A"});
  const ByteString listed = makeCA({.subject = "B", .serial = 5});
  const auto entry = [](const ByteString& der, const char* subject, unsigned char serial, unsigned char source) {
    return std::vector<ByteString>{der, encodedName(subject), integer(serial), integer(source)};
  };
  const auto record = [](const char* status, const std::vector<ByteString>& next) {
    std::vector<ByteString> fields = {octets("type"), octets("name"), octets("IT"), octets(status), octets("time")};
    fields.insert(fields.end(), next.begin(), next.end());
    return sequence(fields);
  };
  auto withMetadata = entry(listed, "B", 5, 1);
  withMetadata.push_back(record("now", {record("before", {})}));
  const ByteString image = set({sequence({octets("C=IT,CN=A"), sequence({sequence(entry(plain, "A", 1, 3))})}),
                                sequence({octets("C=IT,CN=B"), sequence({sequence(withMetadata)})})});
  const ByteString infos = sequence({infoRecord("IT"), infoRecord("FR")});

  ASSERT_TRUE(context->addCertificateDER(plain));
  ASSERT_TRUE(context->insert(decoded(listed), 1, stateOf({}, stateOf({.status = "before"}))));
  EXPECT_TRUE(context->saveCAList(path));
  EXPECT_EQ(readFile(path), image);
  library().loadedTSLs.add({"IT", 7, "http://l"});
  library().loadedTSLs.add({"FRANCE", 7, "http://l"});
  insert({.subject = "a", .issuer = "Root", .serial = 300, .key = rsaKey()}, -70000);
  library().loadedTSLs.add({"XX", 70000, ""});
  const auto before = contents();
  logged();
  EXPECT_TRUE(context->saveCAList(path));
  EXPECT_THAT(logged(), ElementsAre(message(4688), message(4689)));
  context->clean();
  insert({.subject = "Not in the file"}, 3);
  library().loadedTSLs.clear();
  logged();
  EXPECT_TRUE(context->loadCAList(path));
  EXPECT_THAT(logged(), ElementsAre(message(4643), message(4654), rowsMessage(2)));
  EXPECT_EQ(contents(), before);
  EXPECT_EQ(library().loadedTSLs.find("XX")->sequenceNumber(), 70000);
  EXPECT_EQ(library().loadedTSLs.find("XX")->location(), "") << "empty, not missing";
  library().loadedTSLs.remove("XX");
  context->clean();
  EXPECT_TRUE(context->saveCAList(path)) << "records alone are written";
  EXPECT_EQ(readFile(path), infos);
}

TEST_F(CAListFile, HoldsHistoriesOfAnyLength) {
  constexpr int kRecords = 5000;
  std::unique_ptr<TSLMetadata> chain;
  for (int i = 0; i < kRecords; ++i) chain = stateOf({.status = std::to_string(i).c_str()}, std::move(chain));
  insert({}, kSourceTSL, std::move(chain));
  const auto before = contents();
  EXPECT_TRUE(context->saveCAList(path));
  context->clean();
  EXPECT_TRUE(context->loadCAList(path));
  EXPECT_EQ(contents(), before);
}

// A text that is missing is left out of the record, and the reader then takes the next one for it.
TEST_F(CAListFile, WithAMissingTextReadsAsEmpty) {
  for (const StatePlan& missing : {StatePlan{.type = nullptr}, StatePlan{.name = nullptr}, StatePlan{.status = nullptr},
                                   StatePlan{.time = nullptr}}) {
    context->clean();
    insert({}, kSourceTSL, stateOf(missing));
    ASSERT_TRUE(context->saveCAList(path));
    logged();
    EXPECT_TRUE(context->loadCAList(path));
    EXPECT_EQ(logged(), kLoadedNothing);
    EXPECT_EQ(context->rowCount(), 0);
  }
}

TEST_F(CAListFile, GivesWhatCanBeReadOfIt) {
  const ByteString infos = sequence({infoRecord("IT")});
  const ByteString emptyRow = sequence({octets("C=IT,CN=Empty"), sequence({})});
  const auto rows = [&](int count) { return set(std::vector<ByteString>(static_cast<std::size_t>(count), emptyRow)); };
  struct Row {
    const char* name;
    ByteString bytes;
    int rows, infos;
  };
  const std::string text = "just a text file";
  for (const Row& row :
       {Row{"empty file", {}, 0, 0}, Row{"text", asBytes(text), 0, 0}, Row{"no rows", set({}), 0, 0},
        Row{"rows and records", rows(2) + infos, 2, 1}, Row{"records alone", infos, 0, 0},
        Row{"the limit", rows(2048) + infos, 2048, 1}, Row{"beyond the limit", rows(2050) + infos, 2048, 1},
        Row{"row that is none", set({emptyRow, integer(1)}) + infos, 0, 0},
        Row{"set beyond the file", {0x31, 0x84, 0xFF, 0xFF, 0xFF, 0xFF}, 0, 0},
        Row{"row beyond the set", ByteString{0x31, 4} + emptyRow, 1, 0},
        Row{"half a record", rows(1) + sequence({infoRecord("IT"), octets("FR")}), 1, 1},
        Row{"record with NULL for its place", rows(1) + sequence({sequence({octets("IT"), integer(7), {5, 0}})}), 1, 1},
        Row{"row without a subject", set({sequence({{5, 0}, sequence({})}), emptyRow}), 2, 0}}) {
    library().loadedTSLs.add({"XX", 1, ""});
    EXPECT_TRUE(loadBytes(row.bytes)) << row.name;
    EXPECT_EQ(context->rowCount(), row.rows) << row.name;
    EXPECT_EQ(library().loadedTSLs.count(), row.infos) << row.name;
    EXPECT_EQ(context->rowOf(Name()), -1) << row.name << ": the empty name has no row";
    EXPECT_TRUE(context->entriesOf(0).empty()) << row.name;
    EXPECT_EQ(context->report().errCode, kNoError) << row.name;
  }
  EXPECT_TRUE(loadBytes(set({sequence({octets("one"), sequence({})}), sequence({octets("ONE"), sequence({})})})));
  int found = 0;
  static_cast<void>(context->entriesOfSubject("One", found));
  EXPECT_EQ(found, 0) << "the first of two rows with one subject";
  EXPECT_TRUE(context->removeCountry("IT"));
  EXPECT_TRUE(context->removeSource(3));
  EXPECT_EQ(context->rowCount(), 0) << "rows without entries go with any removal by source";
}

// The context that loads has just saved: what its buffer holds must not complete a file that was cut.
TEST_F(CAListFile, CutAnywhereGivesNoRowsAndNoCrash) {
  insert({.subject = "A"}, 3, stateOf());
  insert({.subject = "B"}, 3);
  ASSERT_TRUE(context->saveCAList(path));
  library().loadedTSLs.add({"IT", 7, "http://lists.example/IT"});
  const std::size_t rowsEnd = readFile(path).size();
  ASSERT_TRUE(context->saveCAList(path));
  const ByteString image = readFile(path);
  for (std::size_t n = 0; n < image.size(); ++n) {
    ASSERT_TRUE(loadBytes(ByteString(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(n)))) << n;
    EXPECT_EQ(context->rowCount(), n < rowsEnd ? 0 : 2) << n;
    EXPECT_EQ(library().loadedTSLs.count(), 0) << n;
    ASSERT_TRUE(loadBytes(image));
    ASSERT_TRUE(context->saveCAList(path));
  }
}

TEST_F(CAListFile, ThatCannotBeUsedLeavesListAndFileAlone) {
  writeFile(path, {1, 2, 3});
  EXPECT_FALSE(context->saveCAList(path)) << "an empty list";
  EXPECT_THAT(logged(), ElementsAre(message(4688)));
  EXPECT_EQ(readFile(path), (ByteString{1, 2, 3}));
  insert({}, 3);
  logged();
  for (const std::string& missing : {std::string(folder / "none"), folder.path().string(), std::string()}) {
    EXPECT_FALSE(context->loadCAList(missing)) << missing;
    EXPECT_THAT(logged(), ElementsAre(message(4643), message(5150))) << missing;
  }
  for (const std::string& bad : {std::string(folder / "none" / "list"), folder.path().string()}) {
    EXPECT_FALSE(context->saveCAList(bad)) << bad;
    EXPECT_THAT(logged(), ElementsAre(message(4688), message(5153))) << bad;
  }
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit full = {100, RLIM_INFINITY};
  rlimit former{};
  getrlimit(RLIMIT_FSIZE, &former);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
  EXPECT_FALSE(context->saveCAList(path)) << "no room for more than 100 bytes";
  setrlimit(RLIMIT_FSIZE, &former);
  EXPECT_EQ(context->rowCount(), 1);
  EXPECT_TRUE(context->saveCAList(path));
}

// Until a lock of this process waits for another one's, or the operation has ended without waiting.
template <class Result>
void untilWaiting(const std::future<Result>& operation) {
  const auto isWaiting = [] {
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
      if (line.find("->") != std::string::npos) return true;
    }
    return false;
  };
  while (operation.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready && !isWaiting()) {
  }
}

TEST_F(CAListFile, IsReadAndWrittenOnlyWhenNobodyElseHoldsIt) {
  insert({}, 3);
  ASSERT_TRUE(context->saveCAList(path));
  const ByteString image = readFile(path);
  context->clean();
  std::future<bool> operation;
  {
    const FileLockHolder holder(path, F_OFD_SETLK);
    operation = std::async(std::launch::async, [&] { return context->loadCAList(path); });
    untilWaiting(operation);
    holder.rewrite({});
    holder.rewrite(image);
  }
  EXPECT_TRUE(operation.get());
  EXPECT_EQ(context->rowCount(), 1) << "read when the other had written it back";
  {
    const FileLockHolder holder(path, F_OFD_SETLK);
    operation = std::async(std::launch::async, [&] { return context->saveCAList(path); });
    untilWaiting(operation);
    holder.rewrite(ByteString(image.size() + 100, 0xEE));
  }
  EXPECT_TRUE(operation.get());
  EXPECT_EQ(readFile(path), image) << "written over what the other left";
}

}  // namespace
}  // namespace keystrand::test
