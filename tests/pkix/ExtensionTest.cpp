#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <tuple>

#include "keystrand/pkix/Extension.h"
#include "support/Builders.h"
#include "support/Coding.h"

namespace keystrand::test {
namespace {

TEST(Extension, ReadsAndRefuses) {
  struct Row {
    const char *name, *encoding;
    std::optional<const char*> value;  // nothing: refused
    bool critical = false;
    const char* written = nullptr;  // what goes back out, when it is not what came in
  };
  const auto no = std::nullopt;
  for (const Row& row : {
           Row{"without a BOOLEAN", "3009 0603551D0F 04020500", "0500"},
           Row{"critical", "300C 0603551D0F 0101FF 04020500", "0500", true},
           Row{"critical in another octet, which stays", "300C 0603551D0F 010101 04020500", "0500", true},
           Row{"BOOLEAN FALSE, which is dropped", "300C 0603551D0F 010100 04020500", "0500", false,
               "3009 0603551D0F 04020500"},
           Row{"no octets", "3007 0603551D0F 0400", ""},
           Row{"NULL in place of the octets", "3007 0603551D0F 0500", ""},
           Row{"segments of indefinite length, joined", "3010 0603551D0F 2480 0401AA 0402BBCC 0000", "AABBCC", false,
               "300A 0603551D0F 0403AABBCC"},
           // Of the definite form the first segment is taken, and the length of the whole with it.
           Row{"one segment of definite length", "300B 0603551D0F 2404 0402AABB", "AABB0000", false,
               "300B 0603551D0F 0404AABB0000"},
           Row{"long form of lengths", "3082000A 0603551D0F 0481020500", "0500", false, "3009 0603551D0F 04020500"},
           Row{"no SEQUENCE", "0603551D0F", no},
           Row{"no identifier", "3004 04020500", no},
           Row{"a BOOLEAN of two octets", "300D 0603551D0F 0102FFFF 04020500", no},
           Row{"a value of another type", "3009 0603551D0F 0C020500", no},
           Row{"nothing behind the identifier", "3005 0603551D0F", no},
           Row{"two segments of definite length", "300D 0603551D0F 2406 0401AA 0401BB", no},
           Row{"a value longer than the data", "3009 0603551D0F 0484FFFFFFFF 0500", no},
       }) {
    Extension extension;
    ASSERT_EQ(decode(extension, fromHex(row.encoding)), row.value.has_value()) << row.name;
    if (!row.value) continue;
    EXPECT_EQ(extension.isCritical(), row.critical) << row.name;
    EXPECT_TRUE(std::ranges::equal(extension.valueView(), fromHex(*row.value))) << row.name;
    EXPECT_EQ(encode(extension), fromHex(row.written != nullptr ? row.written : row.encoding)) << row.name;
  }
}

TEST(Extension, NamesTheWellKnown) {
  std::string long64 = "2.999";
  for (int arc = 2; arc < 64; ++arc) long64 += ".4294967295";
  for (const auto& [id, name] : std::vector<std::pair<std::string, std::string>>{
           {"1.3.6.1.5.5.7.1.1", "authorityInfoAccess"},
           {"1.3.6.1.5.5.7.48.1.5", "ocspNoCheck"},
           {"2.5.29.15", "keyUsage"},
           {"2.5.29.28", "issuingDistributionPoint"},
           {"2.16.840.1.113730.1.13", "netscapeComment"},
           {"2.5.29.15.7", "keyUsage"},  // one arc decides
           {"2.5.29.99", "2.5.29.99"},
           {"2.5.29", "2.5.29"},
           {"2.5.290.15", "2.5.290.15"},
           {"1.3.6.1.5.5.7.1", "1.3.6.1.5.5.7.1"},
           {long64, long64},
       }) {
    Extension extension;
    extension.setID(id.c_str());
    EXPECT_EQ(taken(extension.name()), name);
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

TEST(ExtensionList, ReadsAndRefuses) {
  using Row = std::tuple<const char*, const char*, bool, int>;
  for (const auto& [name, encoding, ok, count] :
       {Row{"empty", "3000", true, 0}, Row{"what was read stays", "3010 30070603551D0E0400 30050603551D0F", false, 1},
        Row{"longer than the data", "30FF 30070603551D0E0400", false, 0},
        Row{"a value in a segment", "300D 300B 0603551D0F 2404 0402AABB", true, 1},
        // a list of such values would be read into far more than it holds
        Row{"a segment of a value that claims what follows it",
            "3016 3009 0603551D0F 240D 0400 3009 0603551D0E 04020000", false, 0}}) {
    ExtensionList list;
    EXPECT_EQ(decode(list, fromHex(encoding)), ok) << name;
    EXPECT_EQ(list.count(), count) << name;
  }
}

}  // namespace
}  // namespace keystrand::test
