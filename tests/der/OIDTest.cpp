#include <gmock/gmock.h>

#include <string>
#include <tuple>

#include "der/ConstantOID.h"
#include "der/Values.h"
#include "keystrand/der/OIDList.h"

namespace keystrand::test {
namespace {

std::string arcs(int count) {
  std::string text = "1";
  for (int i = 1; i < count; ++i) text += "." + std::to_string(4000000000U + static_cast<unsigned>(i));
  return text;
}

TEST(OIDText, IsReadAndWritten) {
  using Row = std::pair<const char*, const char*>;
  for (const auto& [text, written] :
       {Row{"2.5.4.3", "2.5.4.3"}, Row{"1.3.6.1.4.1.11129.2.4.2.1.1", "1.3.6.1.4.1.11129.2.4.2.1.1"},
        Row{"1.4294967295", "1.4294967295"}, Row{"1.4294967297", "1.1"},  // modulo 2^32
        Row{"1.2x3.4", "1.2.4"},                                          // anything but a digit ends its piece
        Row{"1..3", "1.0.3"},                                             // an empty piece counts 0
        Row{"-1.2", "0.2"}, Row{"", "0.0.0.0.0.0.0."},                    // the mark of an empty identifier
        Row{nullptr, "0.0.0.0.0.0.0."}})
    EXPECT_EQ(taken(OID(text).toText()), written) << written;
  testing::internal::CaptureStdout();
  OID("2.25.4294967295").print();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "2.25.-1") << "arcs are printed with a sign";
}

TEST(OIDOverflow, OfASixtyFifthArcEqualsNothing) {
  const OID over(arcs(65).c_str());
  EXPECT_TRUE(over.overflow());
  EXPECT_EQ(over.count(), 64);
  EXPECT_FALSE(over.equals(over));
  EXPECT_FALSE(over.equals(arcs(64).c_str()));
  EXPECT_TRUE(over.startsWith(arcs(64).c_str()));  // a prefix is looked for all the same

  OID oid("1.2");
  EXPECT_FALSE(oid.setArc(64, 1));
  EXPECT_FALSE(oid.equals("1.2"));
  OID counted("1.2");
  EXPECT_FALSE(counted.setCount(65));
  EXPECT_EQ(counted.count(), 64);
  EXPECT_TRUE(counted.overflow());
}

TEST(OIDComparison, CountsArcs) {
  using Row = std::tuple<const char*, const char*, bool, bool>;
  const char* eleven = "1.2.3.4.5.6.7.8.9.10.11";
  for (const auto& [leftText, rightText, equal, prefix] :  // the right one is a prefix of the left
       {Row{"1.2", "1.2.3", false, false}, Row{"1.2.3", "1.2", false, true}, Row{"1.2.3", "1.2.3", true, true},
        Row{"1.2.3", "1.2.4", false, false}, Row{"1.23", "1.2", false, false},  // arcs, not characters
        Row{"1.2.3", "", false, true}, Row{"", "", true, true}, Row{eleven, eleven, true, true},
        Row{eleven, "1.2.3.4.5.6.7.8.9.10.12", false, false}, Row{eleven, "1.2.3.4.5.6.7.8.9", false, true}}) {
    const OID left(leftText);
    const OID right(rightText);
    EXPECT_TRUE(left.equals(right) == equal && left.equals(rightText) == equal) << leftText << " " << rightText;
    EXPECT_TRUE(left.startsWith(right) == prefix && left.startsWith(rightText) == prefix)
        << leftText << " " << rightText;
  }
  EXPECT_TRUE(OID("2.5.29.15") == "2.5.29.15"_oid);
  EXPECT_FALSE(OID("2.5.29.15.1") == "2.5.29.15"_oid);
  EXPECT_TRUE(makeOID("1.3.6.1.4.1.311.60.2.1.3"_oid).equals("1.3.6.1.4.1.311.60.2.1.3"));
}

// Short and long identifiers keep their arcs in different places.
TEST(OIDStorage, SurvivesGrowthCopyAndMove) {
  OID oid("1.2");
  for (int i = 2; i < 64; ++i) {
    ASSERT_TRUE(oid.setArc(i, static_cast<std::uint32_t>(i * i)));
    ASSERT_TRUE(oid.setCount(i + 1));
  }
  OID copy(oid);
  OID moved(std::move(copy));
  copy = OID("1.2.3");
  EXPECT_TRUE(copy.equals("1.2.3"));
  EXPECT_TRUE(moved.equals(oid));
  moved = copy;
  EXPECT_TRUE(moved.equals("1.2.3"));
  EXPECT_EQ(moved.arc(63), 0U);
  EXPECT_EQ(oid.arc(63), 63U * 63U);
  EXPECT_EQ(oid.arc(64), 0U);
  EXPECT_EQ(oid.arc(-1), 0U);
  EXPECT_FALSE(oid.setArc(-1, 1));
}

TEST(OIDList, IsASequenceOfIdentifiers) {
  OIDList list("1.3.6.1.5.5.7.3.9");
  list.add("2.5.29.37.0");
  EXPECT_EQ(encode(list), hex("3010 06082B06010505070309 0604551D2500"));

  OIDList read;
  ASSERT_TRUE(decode(read, encode(list)));
  ASSERT_EQ(read.count(), 2);
  EXPECT_TRUE(read.equals(0, "1.3.6.1.5.5.7.3.9"));
  EXPECT_EQ(taken(read.toText(1)), "2.5.29.37.0");
  EXPECT_EQ(taken(read.toText(2)), "(null)");
  EXPECT_FALSE(read.equals(-1, "2.5.29.37.0"));

  for (const char* bad : {"3004 0604551D", "3104 0603551D25", "3006 0603551D25 05", "3084FFFFFFFF 0603551D25"})
    EXPECT_FALSE(decode(read, hex(bad))) << bad;
  EXPECT_LE(read.count(), 1);  // what stood before the failure
}

}  // namespace
}  // namespace keystrand::test
