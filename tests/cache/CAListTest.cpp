// Changes of the CA list: what each road adds, replaces, removes, logs and leaves behind when it fails.
#include <sys/stat.h>

#include <functional>
#include <utility>

#include "cache/TestCA.h"

namespace keystrand::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kCannotAdd = message(5195);
const std::string kNotCanonical = message(5222);

class CAList : public CAFixture {
 protected:
  int rowOf(const std::string& subject) {
    return context->rowOf(*decoded(makeCA({.subject = subject}))->subjectView());
  }
  // Serial numbers and sources of a subject's row, in their order.
  std::vector<std::pair<std::string, int>> entries(const std::string& subject) {
    std::vector<std::pair<std::string, int>> found;
    for (const auto& entry : context->entriesOf(rowOf(subject)))
      found.emplace_back(entry->serial().text(10), entry->source());
    return found;
  }
  std::vector<std::string> serials(const std::string& subject) {
    std::vector<std::string> found;
    for (const auto& [serial, source] : entries(subject)) found.push_back(serial);
    return found;
  }
  std::string pathOf(const std::string& name, const std::vector<ByteString>& certificates) {
    writePEM(folder / name, certificates);
    return folder / name;
  }
};

const ByteString kGarbage = {0x30, 0x03, 0x02, 0x01, 0x05};

TEST_F(CAList, OneRowHoldsAllCertificatesOfASubjectWhateverItsCase) {
  EXPECT_TRUE(add({.subject = "Alpha", .serial = 1}));
  EXPECT_TRUE(add({.subject = "Beta", .serial = 1}));
  EXPECT_TRUE(add({.subject = "ALPHA", .serial = 2}));
  EXPECT_EQ(context->rowCount(), 2);
  EXPECT_EQ(rowOf("aLPHa"), 0);
  EXPECT_EQ(rowOf("Beta"), 1);
  EXPECT_EQ(rowOf("Gamma"), -1);
  EXPECT_TRUE(add({.subject = "Alpha", .issuer = "Root", .serial = 1})) << "the same serial of another issuer";
  EXPECT_THAT(serials("alpha"), ElementsAre("1", "2", "1"));
  EXPECT_THAT(logged(), ElementsAre(subjectText("Alpha"), subjectText("Beta")));
}

// A later add wins and goes to the end of the row, unless it only fills gaps: sources whose low byte is 4.
TEST_F(CAList, AddingAgainReplacesUnlessTheSourceKeepsWhatIsThere) {
  struct Row {
    std::int32_t source;
    std::vector<std::pair<std::string, int>> entries;
  };
  for (const Row& row : {Row{3, {{"2", 9}, {"1", 3}}}, Row{4, {{"1", 9}, {"2", 9}}}, Row{260, {{"1", 9}, {"2", 9}}},
                         Row{-252, {{"1", 9}, {"2", 9}}}, Row{-1, {{"2", 9}, {"1", -1}}}}) {
    context->clean();
    for (const int serial : {1, 2}) context->addCertificate(*decoded(makeCA({.serial = serial})), 9);
    EXPECT_TRUE(context->addCertificate(*decoded(makeCA({.serial = 1})), row.source));
    EXPECT_EQ(entries("First CA"), row.entries) << row.source;
  }
  EXPECT_TRUE(context->addCertificate(*decoded(makeCA({.serial = 3})), 260));
  EXPECT_EQ(entries("First CA").back(), (std::pair<std::string, int>("3", 260))) << "stored as it was given";
}

TEST_F(CAList, AFullTableRefusesNewSubjectsSilentlyAndKeepsServingKnownOnes) {
  for (int i = 0; i < CATable::kRows; ++i) ASSERT_TRUE(add({.subject = "CA " + std::to_string(i)}));
  EXPECT_EQ(logged().size(), std::size_t{CATable::kRows});
  EXPECT_FALSE(add({.subject = "One too many"}));
  EXPECT_TRUE(add({.subject = "CA 2047", .serial = 2}));
  EXPECT_THAT(logged(), IsEmpty());
  EXPECT_EQ(context->rowCount(), CATable::kRows);
  EXPECT_THAT(serials("CA 2047"), ElementsAre("1", "2"));
  const std::string list = pathOf("more.pem", {makeCA({.subject = "One too many"})});
  EXPECT_FALSE(context->addCertificateListPEM(list.c_str()));
  EXPECT_THAT(logged(), ElementsAre(message(4723), kNotCanonical, kCannotAdd)) << "a list does log it";
  ASSERT_TRUE(context->removeEntry(*decoded(makeCA({.subject = "CA 0"}))));
  EXPECT_TRUE(add({.subject = "One too many"}));
  EXPECT_EQ(rowOf("One too many"), CATable::kRows - 1);
  EXPECT_EQ(rowOf("CA 1"), 0);
}

TEST_F(CAList, SingleCertificatesComeFromFilesBytesAndText) {
  struct Row {
    const char* name;
    std::function<bool(const ByteString&)> add;
  };
  writeFile(folder / "ca.der", makeCA());
  const Row rows[] = {
      {"DER file", [&](const ByteString&) { return context->addCertificateFile((folder / "ca.der").c_str()); }},
      {"PEM file", [&](const ByteString& der) { return context->addCertificateFile(pathOf("ca.pem", {der}).c_str()); }},
      {"bytes", [&](const ByteString& der) { return context->addCertificateDER(der); }},
      {"Base64", [&](const ByteString& der) { return context->addCertificatePEM(toBase64(der).c_str()); }},
      {"object", [&](const ByteString& der) { return context->addCertificate(*decoded(der), kSourceAdded); }},
  };
  for (const Row& row : rows) {
    context->clean();
    EXPECT_TRUE(row.add(makeCA())) << row.name;
    EXPECT_THAT(logged(), ElementsAre(subjectText("First CA"))) << row.name;
    EXPECT_EQ(context->sourceAt(0, 0), kSourceAdded) << row.name;
    EXPECT_EQ(context->report().errCode, kNoError) << row.name;
  }
}

// The failures come after a good certificate, so that what an earlier operation left in the buffer cannot pass for it.
TEST_F(CAList, WhatIsNoCertificateIsRefusedWithOneMessage) {
  writeFile(folder / "empty", {});
  writeFile(folder / "garbage", kGarbage);
  const ByteString der = makeCA({.subject = "Another"});
  const ByteString cut(der.begin(), der.end() - 1);
  struct Row {
    const char* name;
    std::function<bool()> run;
  };
  const Row rows[] = {
      {"missing file", [&] { return context->addCertificateFile((folder / "none").c_str()); }},
      {"no path", [&] { return context->addCertificateFile(nullptr); }},
      {"folder", [&] { return context->addCertificateFile(folder.path().c_str()); }},
      {"empty file", [&] { return context->addCertificateFile((folder / "empty").c_str()); }},
      {"garbage file", [&] { return context->addCertificateFile((folder / "garbage").c_str()); }},
      {"garbage", [&] { return context->addCertificateDER(kGarbage); }},
      {"no bytes", [&] { return context->addCertificateDER({}); }},
      {"cut by one byte", [&] { return context->addCertificateDER(cut); }},
      {"no text", [&] { return context->addCertificatePEM(nullptr); }},
      {"empty text", [&] { return context->addCertificatePEM(""); }},
      {"armour, which is text to the decoder", [&] { return context->addCertificatePEM(armoured(der).c_str()); }},
      {"remove garbage", [&] { return context->removeEntryDER(kGarbage); }},
      {"remove no bytes", [&] { return context->removeEntryDER({}); }},
      {"remove undecodable text", [&] { return context->removeEntryPEM("="); }},
  };
  ASSERT_TRUE(add({}));
  logged();
  for (const Row& row : rows) {
    EXPECT_FALSE(row.run()) << row.name;
    EXPECT_THAT(logged(), ElementsAre(kCannotAdd)) << row.name;
    EXPECT_EQ(context->rowCount(), 1) << row.name;
    EXPECT_EQ(context->report().errCode, kNoError) << row.name;
  }
}

// Taken into the list it would go into the file too, and a reader of the file would give up at it.
TEST_F(CAList, AnObjectThatIsNoWholeCertificateIsRefused) {
  const auto whole = decoded(makeCA());
  Certificate incomplete;
  EXPECT_FALSE(context->addCertificate(incomplete, kSourceAdded)) << "no names";
  EXPECT_FALSE(context->removeEntry(incomplete));
  incomplete.setSubject(whole->subjectView());
  incomplete.setIssuer(whole->issuerView());
  EXPECT_FALSE(context->addCertificate(incomplete, kSourceAdded)) << "names alone";
  whole->setSubjectPublicKeyInfo(nullptr);
  EXPECT_FALSE(context->addCertificate(*whole, kSourceAdded)) << "all but the key";
  EXPECT_EQ(context->rowCount(), 0);
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(CAList, InitialisingReplacesTheListButNotWhatIsKnownOfTrustedLists) {
  ASSERT_TRUE(add({.subject = "Old"}));
  library().loadedTSLs.add({"IT", 7, "http://lists.example/IT"});
  logged();
  EXPECT_TRUE(context->initCertificateListPEM(pathOf("list.pem", {makeCA({.key = rsaKey()})}).c_str()));
  EXPECT_THAT(logged(), ElementsAre(message(4678), subjectText("First CA"), message(4681), rowsMessage(1)));
  EXPECT_EQ(rowOf("Old"), -1);
  EXPECT_EQ(context->sourceAt(0, 0), kSourceInitPEM);
  EXPECT_TRUE(library().loadedTSLs.contains("IT"));
  EXPECT_TRUE(context->initCertificateListPEM(pathOf("empty.pem", {}).c_str()));
  EXPECT_EQ(context->rowCount(), 0) << "no certificate in the file, so none in the list";
}

TEST_F(CAList, ABadCertificateEndsAListAndWhatStoodBeforeItStays) {
  const std::string list = pathOf("list.pem", {makeCA({.key = rsaKey()}), kGarbage, makeCA({.subject = "Third"})});
  struct Row {
    const char* name;
    std::function<bool()> run;
    std::vector<std::string> log;
    int rows;
  };
  const std::string first = subjectText("First CA");
  const std::vector<std::string> anew = {message(4678), first, kCannotAdd, message(5192)};
  const Row rows[] = {
      {"add", [&] { return context->addCertificateListPEM(list.c_str()); }, {message(4723), first, kCannotAdd}, 2},
      {"init", [&] { return context->initCertificateListPEM(list.c_str()); }, anew, 1},
      {"import", [&] { return context->importCertificateListPEM(list.c_str()); }, anew, 1},
  };
  for (const Row& row : rows) {
    context->clean();
    ASSERT_TRUE(add({.subject = "Old"}));
    logged();
    EXPECT_FALSE(row.run()) << row.name;
    EXPECT_EQ(logged(), row.log) << row.name;
    EXPECT_EQ(context->rowCount(), row.rows) << row.name;
    EXPECT_EQ(context->report().errCode, kNoError) << row.name;
    EXPECT_FALSE(std::filesystem::exists(library().caListPath)) << row.name;
  }
}

TEST_F(CAList, AListThatCannotBeOpenedLeavesTheListAlone) {
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  std::ofstream(folder / "huge").close();
  std::filesystem::resize_file(folder / "huge", std::uintmax_t{1} << 32);
  ASSERT_TRUE(add({}));
  logged();
  for (const std::string& path : {std::string(folder / "none"), folder.path().string(), std::string(folder / "pipe"),
                                  std::string(folder / "huge")}) {
    EXPECT_FALSE(context->addCertificateListPEM(path.c_str())) << path;
    EXPECT_THAT(logged(), ElementsAre(kCannotAdd)) << path;
    EXPECT_FALSE(context->initCertificateListPEM(path.c_str())) << path;
    EXPECT_THAT(logged(), ElementsAre(message(5192))) << path;
    EXPECT_EQ(context->rowCount(), 1) << path;
  }
  EXPECT_FALSE(context->addCertificateListPEM(nullptr));
}

TEST_F(CAList, ImportingEmptiesListAndCRLsFirstAndSavesOnSuccess) {
  const auto fill = [&] {
    add({.subject = "Old"});
    const std::lock_guard lock(library().crlMutex);
    static_cast<void>(library().crlTable.addHeld("http://crl.example/a"));
  };
  fill();
  logged();
  EXPECT_TRUE(context->importCertificateListPEM(pathOf("list.pem", {makeCA({.key = rsaKey()})}).c_str()));
  EXPECT_THAT(logged(), ElementsAre(message(4678), subjectText("First CA"), message(4681), rowsMessage(1),
                                    message(4688), message(4689)));
  EXPECT_EQ(library().crlTable.count(), 0);
  EXPECT_TRUE(std::filesystem::exists(library().caListPath));
  fill();
  logged();
  EXPECT_FALSE(context->importCertificateListPEM((folder / "none").c_str()));
  EXPECT_THAT(logged(), ElementsAre(message(5192)));
  EXPECT_EQ(context->rowCount(), 0);
  EXPECT_EQ(library().crlTable.count(), 0);
  EXPECT_FALSE(context->importCertificateListPEM(pathOf("empty.pem", {}).c_str())) << "an empty list is not saved";
}

TEST_F(CAList, RemovalClosesTheGapInRowsAndEntries) {
  for (const char* subject : {"A", "B", "C"}) {
    for (const int serial : {1, 2}) ASSERT_TRUE(add({.subject = subject, .serial = serial}));
  }
  logged();
  const ByteString first = makeCA({.subject = "B", .serial = 1});
  const auto second = decoded(makeCA({.subject = "B", .serial = 2}));
  EXPECT_TRUE(context->removeEntryDER(first));
  EXPECT_THAT(serials("B"), ElementsAre("2"));
  EXPECT_FALSE(context->removeEntryPEM(toBase64(first).c_str())) << "gone already";
  EXPECT_TRUE(context->removeEntry(*second->subjectView(), *second->issuerView(), second->serialNumber()));
  EXPECT_EQ(rowOf("B"), -1);
  EXPECT_EQ(rowOf("C"), 1);
  EXPECT_THAT(serials("C"), ElementsAre("1", "2"));
  EXPECT_FALSE(context->removeEntry(*second)) << "no such row";
  EXPECT_THAT(logged(), IsEmpty());
}

// The walk jumps over the entry behind one that it removed. Clients repeat the call until nothing changes.
TEST_F(CAList, RemovalBySourceSparesTheNeighbourOfEachRemovedEntry) {
  struct Row {
    std::vector<std::int32_t> sources;  // of serial numbers 1, 2, ...
    std::vector<std::string> left;
  };
  for (const Row& row :
       {Row{{5}, {}}, Row{{5, 5}, {"2"}}, Row{{5, 5, 5}, {"2"}}, Row{{5, 5, 5, 5}, {"2", "4"}}, Row{{5, 6, 5}, {"2"}},
        Row{{6, 5}, {"1"}}, Row{{6, 5, 5, 6}, {"1", "3", "4"}}, Row{{261}, {"1"}}}) {
    context->clean();
    for (std::size_t i = 0; i < row.sources.size(); ++i) {
      context->addCertificate(*decoded(makeCA({.serial = static_cast<int>(i + 1)})), row.sources[i]);
    }
    context->addCertificate(*decoded(makeCA({.subject = "Behind"})), 6);
    EXPECT_TRUE(context->removeSource(5));
    EXPECT_EQ(serials("First CA"), row.left) << ::testing::PrintToString(row.sources);
    EXPECT_EQ(rowOf("Behind"), row.left.empty() ? 0 : 1);
  }
}

TEST_F(CAList, RemovalByCountryGoesByTheFirstEntryOfARow) {
  insert({.subject = "Italian first"}, kSourceTSL, stateOf());
  insert({.subject = "Italian first", .serial = 2}, kSourceTSL);
  insert({.subject = "Foreign first"}, kSourceTSL);
  insert({.subject = "Foreign first", .serial = 2}, kSourceTSL, stateOf());
  insert({.subject = "French"}, kSourceTSL, stateOf({.country = "FR"}));
  library().loadedTSLs.add({"IT", 7, "http://lists.example/IT"});
  for (const char* country : {"ITA", "I", "it", ""}) EXPECT_TRUE(context->removeCountry(country));
  EXPECT_EQ(context->rowCount(), 3);
  EXPECT_TRUE(context->removeCountry("IT"));
  EXPECT_EQ(rowOf("Italian first"), -1);
  EXPECT_EQ(rowOf("Foreign first"), 0);
  EXPECT_EQ(rowOf("French"), 1);
  EXPECT_FALSE(library().loadedTSLs.contains("IT"));
}

}  // namespace
}  // namespace keystrand::test
