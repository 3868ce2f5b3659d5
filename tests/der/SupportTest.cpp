// What everything stands on: semaphores, lists of pointers, texts and times.
#include <gmock/gmock.h>

#include <future>
#include <thread>
#include <vector>

#include "keystrand/support/PointerList.h"
#include "keystrand/support/Semaphore.h"
#include "support/Text.h"

namespace keystrand::test {
namespace {

using ::testing::ElementsAre;

// A thread that takes one permit.
std::future<void> taker(Semaphore& semaphore) {
  return std::async(std::launch::async, [&semaphore] { semaphore.wait(); });
}

bool waits(std::future<void>& thread) {
  return thread.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
}

TEST(Semaphore, IsBornFreeButForThePermitsHeld) {
  Semaphore plain;
  plain.wait();  // would not return
  Semaphore held(1, 1);
  auto other = taker(held);
  EXPECT_TRUE(waits(other));
  held.post();
  other.get();
}

TEST(Semaphore, PostBeyondTheMaximumGivesNothing) {
  Semaphore semaphore(0, 1);
  for (int i = 0; i < 5; ++i) semaphore.post();
  semaphore.wait();
  auto second = taker(semaphore);
  EXPECT_TRUE(waits(second)) << "stray posts must not let two in";
  semaphore.post();
  second.get();
}

TEST(Semaphore, ExcludesThreadsFromEachOther) {
  Semaphore semaphore;
  int count = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 5000; ++i) {
        const SemaphoreLock lock(&semaphore);
        ++count;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, 20000);
}

std::vector<int*> itemsOf(const PointerList& list) {
  std::vector<int*> items;
  for (int i = 0; i < list.count(); ++i) items.push_back(static_cast<int*>(list.get(i)));
  return items;
}

TEST(PointerList, KeepsOrderThroughEveryChange) {
  int a = 0, b = 0, c = 0;
  for (const int growBy : {1, 0, -5, 1024}) {
    PointerList list(growBy);
    list.append(&b);
    list.append(&c);
    list.prepend(&a);
    EXPECT_THAT(itemsOf(list), ElementsAre(&a, &b, &c));
    EXPECT_THAT(itemsOf(list.cloneShell()), ElementsAre(nullptr, nullptr, nullptr));
    EXPECT_TRUE(list.clear(1));
    EXPECT_THAT(itemsOf(list), ElementsAre(&a, nullptr, &c)) << "a cleared slot stays";
    list.compact();
    EXPECT_THAT(itemsOf(list), ElementsAre(&a, &c));
    for (const int index : {-1, 2, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
      EXPECT_EQ(list.get(index), nullptr);
      EXPECT_FALSE(list.set(index, &a) || list.clear(index) || list.removeAt(index)) << index;
    }
    EXPECT_TRUE(list.removeAt(0));
    EXPECT_THAT(itemsOf(list), ElementsAre(&c)) << "the gap is closed";
    EXPECT_TRUE(list.set(0, &b));
    EXPECT_TRUE(list.removeLast());
    EXPECT_FALSE(list.removeLast());
    EXPECT_EQ(list.count(), 0);
  }
}

// Counts its living objects.
struct Counted {
  static inline int alive = 0;
  int value;
  explicit Counted(int v) : value(v) { ++alive; }
  Counted(const Counted&) = delete;
  ~Counted() { --alive; }
  [[nodiscard]] Counted* clone() const { return new Counted(value); }
};

TEST(OwnedList, DeletesWhatItOwnsOnce) {
  {
    OwnedList<Counted> list, copy;
    for (int i = 0; i < 4; ++i) list.append(std::make_unique<Counted>(i));
    EXPECT_TRUE(list.remove(1));
    EXPECT_FALSE(list.remove(3));
    EXPECT_TRUE(list.replace(0, std::make_unique<Counted>(9)));
    EXPECT_FALSE(list.replace(3, std::make_unique<Counted>(8))) << "and the new one goes";
    EXPECT_EQ(Counted::alive, 3);
    copy.append(std::make_unique<Counted>(7));
    copy.copyFrom(list);
    EXPECT_EQ(copy.view(0)->value, 9);
    OwnedList<Counted> moved(std::move(copy));
    list = std::move(moved);
    EXPECT_EQ(list.count(), 3);
    EXPECT_EQ(Counted::alive, 3);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(Text, ComparesWithoutCaseInASCIIOnly) {
  EXPECT_TRUE(equalsNoCase("Content-TYPE", "content-type"));
  EXPECT_FALSE(equalsNoCase("abc", "abcd"));
  EXPECT_FALSE(equalsNoCase("@[`{", "`{@["));  // 0x20 apart, and no letters
  EXPECT_FALSE(equalsNoCase("\xC3\x88", "\xC3\xA8")) << "letters of other alphabets stay apart";
  EXPECT_TRUE(startsWithNoCase("LDAP://host", "ldap:"));
  EXPECT_FALSE(startsWithNoCase("ld", "ldap:"));
}

TEST(Text, Times) {
  std::tm read{};
  const std::string now = nowLocalText();
  ASSERT_NE(strptime(now.c_str(), "%d/%m/%Y %H:%M:%S", &read), nullptr) << now;
  read.tm_isdst = -1;
  EXPECT_NEAR(static_cast<double>(std::mktime(&read)), static_cast<double>(std::time(nullptr)), 5);
  std::tm time{};
  ASSERT_NE(strptime("2004-02-09 07:05:03", "%F %T", &time), nullptr);
  EXPECT_EQ(formatTimeDots(time), "09.02.2004 07:05:03");
  EXPECT_EQ(dotted14("09022004070503"), "09.02.2004 07:05:03");
  EXPECT_EQ(dotted8("09022004"), "09.02.2004");
  EXPECT_EQ(dotted14("0902200407050") + dotted8("0902200"), "");
}

}  // namespace
}  // namespace keystrand::test
