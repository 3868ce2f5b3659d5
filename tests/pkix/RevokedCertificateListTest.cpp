#include <algorithm>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "der/BorrowedBuffer.h"
#include "keystrand/pkix/RevokedCertificateList.h"
#include "pkix/RevokedBlockReader.h"
#include "support/Builders.h"
#include "support/Coding.h"
#include "support/Der.h"

namespace keystrand::test {
namespace {

std::vector<std::string> serialsOf(const RevokedCertificateList& list) {
  std::vector<std::string> serials;
  for (int i = 0; i < list.count(); ++i) {
    RevokedCertificate entry;
    EXPECT_TRUE(list.decode(i, entry));
    serials.push_back(entry.serialView().text(16));
  }
  return serials;
}

struct RoadResult {
  bool good = false;
  int count = 0;
  std::uint32_t cursor = 0;
  ByteString bytes;
  bool operator==(const RoadResult&) const = default;
};

RoadResult takeRoad(const ByteString& der, Road road) {
  BorrowedBuffer in(der);
  const RevokedBlockResult result = readRevokedBlock(in, road);
  if (!result.block) return {false, -1, in.readPosition(), {}};
  const auto bytes = result.block->bytes(0, result.block->count());
  return {result.good, result.block->count(), in.readPosition(), {bytes.begin(), bytes.end()}};
}

// Serial 5, 2020-01-01, and what follows the date.
const std::string kSerial = "0201 05";
const std::string kDate = "170D 3230 3031 3031 3030 3030 3030 5A";
const std::string kReason = "300C 300A 0603 551D15 0403 0A0101";
const std::string kInvalidity = "3023 0603 551D18 0101FF 0419 1817 3230323030313031303030303030 2E 3132333435363738";
const std::string kPlain = "3012" + kSerial + kDate;
const std::string kOther = "3012 0201 06" + kDate;

// How a list is read that is not written plainly. Callers rely on each: CAs have signed such lists.
TEST(RevokedCertificateListQuirks, AreReadAsTold) {
  using Serials = std::vector<std::string>;
  using Row = std::tuple<const char*, ByteString, bool, Serials>;
  const auto list = [](const std::string& hex) { return element(0x30, fromHex(hex)); };
  const Row rows[] = {
      {"no entries", list(""), true, {}},
      {"two plain entries", list(kPlain + kOther), true, {"05", "06"}},
      {"a reason", list("3020" + kSerial + kDate + kReason + kOther), true, {"05", "06"}},
      {"zero bytes between entries are skipped", list(kPlain + "000000" + kOther), true, {"05", "06"}},
      {"zero bytes behind the last entry want another", list(kPlain + "0000"), false, {"05"}},
      {"an entry may end beyond the list", fromHex("3027" + kPlain + kOther), true, {"05", "06"}},
      {"an entry may not end beyond the data",
       fromHex("3013 3012" + kSerial + kDate.substr(0, kDate.size() - 2)),
       false,
       {}},
      {"what follows the extensions of an entry is the next entry",
       list("3034" + kSerial + kDate + kReason + kOther),
       true,
       {"05", "06"}},
      {"what follows a date is read as extensions", list("3026" + kSerial + kDate + kOther), false, {}},
      {"the list of indefinite length", fromHex("3080" + kPlain + kOther + "0000"), true, {"05", "06"}},
      {"its end is missing", fromHex("3080" + kPlain + kOther), false, {"05", "06"}},
      {"its end is half", fromHex("3080" + kPlain + "0001"), false, {"05"}},
      {"an entry of indefinite length", list("3080" + kSerial + kDate + "0000" + kOther), true, {"05", "06"}},
      {"and with extensions", list("3080" + kSerial + kDate + kReason + "0000" + kOther), true, {"05", "06"}},
      {"its end is wrong", list("3080" + kSerial + kDate + kReason + "0100" + kOther), false, {}},
      {"an extension without octets", list("301D" + kSerial + kDate + "3009 3007 0603 551D15 0400"), true, {"05"}},
      {"no extensions in their list", list("3014" + kSerial + kDate + "3000"), true, {"05"}},
      {"long lengths", list("308112" + kSerial + kDate + "30830000120201 06" + kDate), true, {"05", "06"}},
      {"redundant leading 00", list(kOther + "3013 0202 0005" + kDate), false, {"06"}},
      {"redundant leading FF", list("3013 0202 FF85" + kDate), false, {}},
      {"a serial number of no octets is zero and takes one", list("3012 0200 07" + kDate), true, {"0"}},
      {"negative serial numbers", list("3012 0201 FF" + kDate + "3013 0202 FF7F" + kDate), true, {"-01", "-81"}},
      {"a date that is NULL", list("3005" + kSerial + "0500"), false, {}},
      {"a date without seconds", list("3010" + kSerial + "170B 3230303130313030303 05A"), true, {"05"}},
      {"a date in any tag", list("3012" + kSerial + "0C0D 3230 3031 3031 3030 3030 3030 5A"), true, {"05"}},
      {"a tag that is no entry", list(kPlain + "0500"), false, {"05"}},
      {"a list longer than the data", fromHex("3084FFFFFFFF" + kPlain), false, {}},
      {"no SEQUENCE", fromHex("3100"), false, {}},
  };
  for (const auto& [name, encoding, good, serials] : rows) {
    RevokedCertificateList read;
    EXPECT_EQ(decode(read, encoding), good) << name;
    EXPECT_EQ(serialsOf(read), serials) << name;
    EXPECT_EQ(takeRoad(encoding, Road::kShort), takeRoad(encoding, Road::kGeneral)) << name;
    RevokedCertificateList reread;
    EXPECT_TRUE(decode(reread, encode(read))) << name;
    EXPECT_EQ(serialsOf(reread), serials) << name;
  }
}

// A date of more than 26 characters is kept in part, but the time is that of the whole.
TEST(RevokedCertificateListQuirks, ALongDateKeepsItsTime) {
  const std::string date = "181F 3230323030313031303030303030 2E 3132333435363738393031 2B30313030";
  for (const std::string& entry : {"3024" + kSerial + date, "3080" + kSerial + date + "0000"}) {
    RevokedCertificateList list;
    ASSERT_TRUE(decode(list, element(0x30, fromHex(entry + kOther))));
    const std::unique_ptr<RevokedCertificateList> copy(list.clone());
    RevokedCertificate read;
    ASSERT_TRUE(copy->decode(0, read));
    EXPECT_EQ(read.revocationDateView()->seconds(), 1'577'833'200);
    EXPECT_EQ(list.peek(0)->revocationDateView()->seconds(), 1'577'833'200);
  }
}

// What is kept as an object, because its bytes would be read back as something else, takes many times their room. The
// parts of a CRL that become objects are bounded in the same way.
TEST(RevokedCertificateListQuirks, ManyEntriesThatMustBeObjectsAreRefused) {
  const ByteString kept =
      fromHex("3024" + kSerial + "181F 3230323030313031303030303030 2E 3132333435363738393031 2B30313030");
  for (const auto& [entries, good] : {std::pair{4096, true}, std::pair{4097, false}}) {
    ByteString content;
    for (int i = 0; i < entries; ++i) content.insert(content.end(), kept.begin(), kept.end());
    RevokedCertificateList list;
    EXPECT_EQ(decode(list, element(0x30, content)), good);
    EXPECT_EQ(list.count(), 4096);
  }
}

// A long list has its index when it has been read, a short one when it is asked.
TEST(RevokedCertificateListSize, LongListsAnswerAsShortOnesDo) {
  for (const int entries : {99'999, 100'000}) {
    ByteString content;
    for (int i = 0; i < entries; ++i) {
      const int serial = 0x400000 + i;
      const ByteString entry =
          element(0x30, element(0x02, {static_cast<unsigned char>(serial >> 16),
                                       static_cast<unsigned char>(serial >> 8), static_cast<unsigned char>(serial)}) +
                            fromHex(kDate));
      content.insert(content.end(), entry.begin(), entry.end());
    }
    RevokedCertificateList list;
    ASSERT_TRUE(decode(list, element(0x30, content)));
    EXPECT_EQ(list.find("400000"), 0);
    EXPECT_EQ(list.find("41869E"), 99'998);
    EXPECT_EQ(list.find("41869F"), entries == 100'000 ? 99'999 : -1);
    EXPECT_EQ(list.find("4186A0"), -1);
  }
}

// Every byte of a list changed in several ways: both roads say the same.
TEST(RevokedCertificateListRoads, AgreeOnDamagedLists) {
  const auto entry = [](const std::string& hex) { return element(0x30, fromHex(hex)); };
  const ByteString sound =
      withChildren(0x30, {
                             entry(kSerial + kDate + kReason),
                             entry("020A 00FEDCBA987654321001 180F 3230323030313031303030303030 5A"),
                             fromHex("3080" + kSerial + kDate + "0000"),
                             entry("0201 7F" + kDate + "3031 300A 0603 551D15 0403 0A0101" + kInvalidity),
                             fromHex("000000" + kOther),
                         });
  const std::size_t n = sound.size();
  std::size_t accepted = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const auto was = static_cast<unsigned>(sound[i]);
    for (const unsigned now : {0x00U, 0x01U, 0x30U, 0x7FU, 0x80U, 0x81U, 0x82U, 0xFFU, was + 1, was - 1, was ^ 0x80U}) {
      ByteString damaged = sound;
      damaged[i] = static_cast<unsigned char>(now);
      const RoadResult general = takeRoad(damaged, Road::kGeneral);
      ASSERT_EQ(takeRoad(damaged, Road::kShort), general) << "octet " << i << " is " << now;
      if (general.good) ++accepted;
    }
    const ByteString cut(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(i));
    ASSERT_EQ(takeRoad(cut, Road::kShort), takeRoad(cut, Road::kGeneral)) << "cut at " << i;
  }
  EXPECT_GT(accepted, n);  // many changes are harmless: a digit of a date, an octet of a serial number
}

class SearchedList : public testing::Test {
 protected:
  // The list of a CRL that OpenSSL makes with these serial numbers.
  static std::unique_ptr<RevokedCertificateList> make(const std::vector<std::string>& serials) {
    auto list = std::make_unique<RevokedCertificateList>();
    for (const std::string& text : serials) {
      RevokedCertificate entry;
      BigInteger serial;
      EXPECT_TRUE(BigInteger::parse(text.c_str(), 16, serial));
      entry.setSerial(serial);
      entry.setRevocationDate(&kNow);
      list->add(entry);
    }
    return list;
  }
  // The same after one writing and reading, with no entry an object.
  static std::unique_ptr<RevokedCertificateList> makeRead(const std::vector<std::string>& serials) {
    auto list = std::make_unique<RevokedCertificateList>();
    EXPECT_TRUE(decode(*list, encode(*make(serials))));
    return list;
  }
  static inline const X500Time kNow;
};

TEST_F(SearchedList, TakesTheTextThatOpenSSLPrintsAndNoOther) {
  std::vector<std::string> serials = {std::string(40, 'E'), std::string(2000, 'A'), "-" + std::string(2000, 'A')};
  for (const char* text :
       {"0", "01", "0A", "7F", "80", "FF", "01FF", "-01", "-7F", "-80", "-81", "-FF", "-0100", "-8000", "-8001"})
    serials.emplace_back(text);
  for (const auto& list : {make(serials), makeRead(serials)}) {
    for (std::size_t i = 0; i < serials.size(); ++i)
      EXPECT_EQ(list->find(serials[i]), static_cast<int>(i)) << serials[i];
    for (const char* text : {"", "-", "00", "-0", "-00", "A", "0a", "1FF", "0001FF", "+01", " 01", "01 ", "0x01", "02",
                             "--01", "GG", "0G", "-82", "7F7F"}) {
      EXPECT_EQ(list->find(text), -1) << text;
    }
    EXPECT_EQ(list->find(std::string_view("01\0", 3)), -1);
  }
}

TEST_F(SearchedList, GivesTheFirstOfEqualEntries) {
  std::vector<std::string> serials;
  for (int i = 0; i < 3000; ++i) serials.push_back(i % 3 == 0 ? "0BAD" : "77" + std::to_string(1000 + i % 700));
  const auto list = makeRead(serials);
  for (const std::string& serial : serials) {
    EXPECT_EQ(list->find(serial), std::ranges::find(serials, serial) - serials.begin()) << serial;
  }
}

TEST_F(SearchedList, SeesChangesOfALentEntry) {
  const auto list = makeRead({"0A", "0B", "0A", "0C"});
  EXPECT_EQ(list->peek(4), nullptr);
  EXPECT_EQ(list->peek(-1), nullptr);
  RevokedCertificate* const first = list->peek(0);
  EXPECT_EQ(list->peek(0), first);
  EXPECT_EQ(list->find("0A"), 0);
  first->setSerial(BigInteger(0x0C));
  EXPECT_EQ(list->find("0A"), 2);
  EXPECT_EQ(list->find("0C"), 0);
  list->peek(2)->setSerial(BigInteger(0x0D));
  EXPECT_EQ(list->find("0A"), -1);
  EXPECT_EQ(list->find("0D"), 2);
  list->add(*first);
  const std::unique_ptr<RevokedCertificateList> copy(list->clone());
  list->peek(1)->setSerial(BigInteger(0x0E));
  for (const auto* changed : {list.get(), static_cast<RevokedCertificateList*>(copy.get())}) {
    RevokedCertificateList reread;
    ASSERT_TRUE(decode(reread, encode(*changed)));
    EXPECT_EQ(serialsOf(reread), serialsOf(*changed));
  }
  EXPECT_EQ(serialsOf(*list), (std::vector<std::string>{"0C", "0E", "0D", "0C", "0C"}));
  EXPECT_EQ(serialsOf(*copy), (std::vector<std::string>{"0C", "0B", "0D", "0C", "0C"}));
}

// The index is made by whichever search comes first; clones share it.
TEST_F(SearchedList, ServesThreadsAtOnce) {
  std::vector<std::string> serials;
  for (int i = 0; i < 2000; ++i) serials.push_back("66" + std::to_string(1000 + i));
  const auto list = makeRead(serials);
  const std::unique_ptr<RevokedCertificateList> copy(list->clone());
  std::vector<std::thread> threads;
  for (const RevokedCertificateList* shared : {list.get(), copy.get(), list.get(), copy.get()}) {
    threads.emplace_back([&serials, shared] {
      for (std::size_t i = 0; i < serials.size(); ++i) EXPECT_EQ(shared->find(serials[i]), static_cast<int>(i));
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace keystrand::test
