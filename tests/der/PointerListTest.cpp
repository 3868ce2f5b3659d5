#include <gmock/gmock.h>

#include "keystrand/support/PointerList.h"

namespace keystrand::test {
namespace {

using ::testing::ElementsAre;

std::vector<int*> itemsOf(const PointerList& list) {
  std::vector<int*> items;
  for (int i = 0; i < list.count(); ++i) items.push_back(static_cast<int*>(list.get(i)));
  return items;
}

TEST(PointerList, KeepsOrderThroughEveryChange) {
  int a = 0;
  int b = 0;
  int c = 0;
  for (const int growBy : {1, 0, -5, 1024}) {
    PointerList list(growBy);
    list.append(&b);
    list.append(&c);
    list.prepend(&a);
    EXPECT_THAT(itemsOf(list), ElementsAre(&a, &b, &c));
    EXPECT_TRUE(list.clear(1));
    EXPECT_THAT(itemsOf(list), ElementsAre(&a, nullptr, &c)) << "a cleared slot stays";
    list.compact();
    EXPECT_THAT(itemsOf(list), ElementsAre(&a, &c));
    EXPECT_TRUE(list.removeAt(0));
    EXPECT_THAT(itemsOf(list), ElementsAre(&c)) << "the gap is closed";
    EXPECT_TRUE(list.set(0, &b));
    EXPECT_TRUE(list.removeLast());
    EXPECT_FALSE(list.removeLast());
    EXPECT_EQ(list.count(), 0);
  }
}

TEST(PointerList, OutOfRangeIsRefused) {
  int a = 0;
  PointerList list;
  list.append(&a);
  for (const int index : {-1, 1, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
    EXPECT_EQ(list.get(index), nullptr);
    EXPECT_FALSE(list.set(index, &a));
    EXPECT_FALSE(list.clear(index));
    EXPECT_FALSE(list.removeAt(index));
  }
  EXPECT_THAT(itemsOf(list), ElementsAre(&a));
  EXPECT_THAT(itemsOf(list.cloneShell()), ElementsAre(nullptr));
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
    OwnedList<Counted> list;
    for (int i = 0; i < 4; ++i) list.append(std::make_unique<Counted>(i));
    EXPECT_TRUE(list.remove(1));
    EXPECT_FALSE(list.remove(3));
    EXPECT_TRUE(list.replace(0, std::make_unique<Counted>(9)));
    EXPECT_FALSE(list.replace(3, std::make_unique<Counted>(8))) << "and the new one goes";
    EXPECT_EQ(Counted::alive, 3);

    OwnedList<Counted> copy;
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

}  // namespace
}  // namespace keystrand::test
