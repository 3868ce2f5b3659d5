#include <gtest/gtest.h>

#include "keystrand/pkix/Extension.h"
#include "support/Builders.h"
#include "support/Coding.h"

namespace keystrand::test {
namespace {

ByteString valueOf(const Extension& extension) {
  const auto bytes = extension.valueView();
  return {bytes.begin(), bytes.end()};
}

TEST(Extension, ReadsAndWritesBack) {
  struct Row {
    const char *name, *encoding;
    bool critical;
    const char* value;
    const char* written;  // what goes back out, when it is not what came in
  };
  for (const Row& row : {
           Row{"without a BOOLEAN", "3009 0603551D0F 04020500", false, "0500", nullptr},
           Row{"critical", "300C 0603551D0F 0101FF 04020500", true, "0500", nullptr},
           Row{"critical in another octet, which stays", "300C 0603551D0F 010101 04020500", true, "0500", nullptr},
           Row{"BOOLEAN FALSE, which is dropped", "300C 0603551D0F 010100 04020500", false, "0500",
               "3009 0603551D0F 04020500"},
           Row{"no octets", "3007 0603551D0F 0400", false, "", nullptr},
           Row{"NULL in place of the octets", "3007 0603551D0F 0500", false, "", nullptr},
           Row{"segments of indefinite length, joined", "3010 0603551D0F 2480 0401AA 0402BBCC 0000", false, "AABBCC",
               "300A 0603551D0F 0403AABBCC"},
           // Of the definite form the first segment is taken, and the length of the whole with it.
           Row{"one segment of definite length", "300B 0603551D0F 2404 0402AABB", false, "AABB0000",
               "300B 0603551D0F 0404AABB0000"},
           Row{"long form of lengths", "3082000A 0603551D0F 0481020500", false, "0500", "3009 0603551D0F 04020500"},
       }) {
    Extension extension;
    ASSERT_TRUE(decode(extension, fromHex(row.encoding))) << row.name;
    EXPECT_EQ(extension.isCritical(), row.critical) << row.name;
    EXPECT_EQ(valueOf(extension), fromHex(row.value)) << row.name;
    EXPECT_EQ(encode(extension), fromHex(row.written != nullptr ? row.written : row.encoding)) << row.name;
  }
}

TEST(Extension, RefusesWhatIsNone) {
  struct Row {
    const char *name, *encoding;
  };
  for (const Row& row : {
           Row{"no SEQUENCE", "0603551D0F"},
           Row{"no identifier", "3004 04020500"},
           Row{"a BOOLEAN of two octets", "300D 0603551D0F 0102FFFF 04020500"},
           Row{"a value of another type", "3009 0603551D0F 0C020500"},
           Row{"nothing behind the identifier", "3005 0603551D0F"},
           Row{"two segments of definite length", "300D 0603551D0F 2406 0401AA 0401BB"},
           Row{"a value longer than the data", "3009 0603551D0F 0484FFFFFFFF 0500"},
       }) {
    Extension extension;
    EXPECT_FALSE(decode(extension, fromHex(row.encoding))) << row.name;
  }
}

TEST(Extension, NamesTheWellKnown) {
  std::string long64 = "2.999";
  for (int arc = 2; arc < 64; ++arc) long64 += ".4294967295";
  struct Row {
    std::string id, name;
  };
  for (const Row& row : {
           Row{"1.3.6.1.5.5.7.1.1", "authorityInfoAccess"},
           Row{"1.3.6.1.5.5.7.48.1.5", "ocspNoCheck"},
           Row{"2.5.29.15", "keyUsage"},
           Row{"2.5.29.28", "issuingDistributionPoint"},
           Row{"2.16.840.1.113730.1.13", "netscapeComment"},
           Row{"2.5.29.15.7", "keyUsage"},  // one arc decides
           Row{"2.5.29.99", "2.5.29.99"},
           Row{"2.5.29", "2.5.29"},
           Row{"2.5.290.15", "2.5.290.15"},
           Row{"1.3.6.1.5.5.7.1", "1.3.6.1.5.5.7.1"},
           Row{long64, long64},
       }) {
    Extension extension;
    extension.setID(row.id.c_str());
    EXPECT_EQ(taken(extension.name()), row.name);
  }
  EXPECT_EQ(taken(Extension().name()), "(null)");
}

TEST(ExtensionList, EditsAndFinds) {
  ExtensionList list;
  for (const char* id : {"2.5.29.15", "2.5.29.14", "2.5.29.14"}) {
    Extension extension;
    extension.setID(id);
    list.add(extension);
  }
  EXPECT_EQ(list.find(OID("2.5.29.14")), list.view(1));
  EXPECT_TRUE(list.equals(0, "2.5.29.15") && list.equals(1, *list.view(2)));
  EXPECT_TRUE(list.replace(1, *list.view(0)) && list.remove(0));
  EXPECT_EQ(taken(list.id(0)), "2.5.29.15");
  const std::unique_ptr<Extension> copy(list.get(1));
  for (const int outside : {-1, 2}) {
    EXPECT_FALSE(list.remove(outside) || list.replace(outside, *copy) || list.equals(outside, "2.5.29.14"));
    EXPECT_TRUE(list.view(outside) == nullptr && list.get(outside) == nullptr && list.id(outside) == nullptr);
  }
}

TEST(ExtensionList, KeepsWhatWasReadBeforeAFailure) {
  ExtensionList list;
  EXPECT_FALSE(decode(list, fromHex("3010 30070603551D0E0400 30050603551D0F")));
  EXPECT_EQ(list.count(), 1);
  EXPECT_FALSE(decode(list, fromHex("30FF 30070603551D0E0400"))) << "a list longer than the data";
  EXPECT_TRUE(decode(list, fromHex("3000")));
  EXPECT_EQ(list.count(), 0);
}

// The segment of a value that claims what follows it: a list of such values would be read into far more than it holds.
TEST(ExtensionList, GivesNoRoomForWhatIsElsewhere) {
  ExtensionList list;
  EXPECT_TRUE(decode(list, fromHex("300D 300B 0603551D0F 2404 0402AABB")));
  EXPECT_FALSE(decode(list, fromHex("3016 3009 0603551D0F 240D 0400 3009 0603551D0E 04020000")));
}

}  // namespace
}  // namespace keystrand::test
