// The CRL cache file: its bytes, what comes back of them, and what damage leaves of the table.
#include <sys/stat.h>

#include <array>

#include "cache/TestCA.h"
#include "support/Der.h"
#include "support/LibraryFixture.h"

namespace keystrand::test {
namespace {

using ::testing::ElementsAre;

const ByteString kNull = {5, 0};

ByteString text(unsigned char tag, std::string_view value) {
  return element(tag, ByteString(value.begin(), value.end()));
}

const Authority& ca() {
  static const Authority authority = makeAuthority();
  return authority;
}

const ByteString& anyCRL() {
  static const ByteString crl = makeCRL(ca());
  return crl;
}

// The elements of a row, any of which a case may change.
struct StoredRow {
  ByteString uri = text(4, "http://h/a.crl");
  ByteString issuer = text(4, "C=IT,O=Keystrand,CN=Test CA");
  ByteString caIndex = {2, 1, 0};
  ByteString certIndex = {2, 1, 0};
  ByteString crl = anyCRL();
  ByteString thisUpdate = text(0x17, "250101000000Z");
  ByteString nextUpdate = text(0x17, "380101000000Z");
  ByteString expiredCertsOnCRL = text(0x17, "700101000000Z");
  ByteString timestamp = text(0x17, "250102030405Z");
};

ByteString encoded(const StoredRow& row) {
  return element(0x30, row.uri + row.issuer + row.caIndex + row.certIndex + row.crl + row.thisUpdate + row.nextUpdate +
                           row.expiredCertsOnCRL + row.timestamp);
}
ByteString fileOf(const std::vector<ByteString>& rows) {
  return withChildren(0x31, rows);
}
ByteString rowAt(const std::string& uri) {
  return encoded({.uri = text(4, uri)});
}

class CRLCacheFile : public LibraryFixture {
 protected:
  std::unique_ptr<CACache> context = contextLogging(Logger::kTrace);
  CRLTable& table = library().crlTable;
  const std::string path = folder / "crlCache";

  bool loadBytes(const ByteString& bytes) {
    writeFile(path, bytes);
    return context->loadCRLCache(path);
  }
  ByteString saved() {
    EXPECT_TRUE(context->saveCRLCache(path));
    return readFile(path);
  }
  void addPlaceholder(const std::string& uri) { EXPECT_TRUE(table.addHeld(uri)); }
  // The keys of the rows in use; "-" for a null one.
  std::vector<std::string> keys() {
    std::vector<std::string> all;
    for (int i = 0; i < table.count(); ++i) all.push_back(table.row(i).uri.value_or("-"));
    return all;
  }
};

TEST_F(CRLCacheFile, HasTheseBytesAndComesBack) {
  const StoredRow full{.caIndex = {2, 2, 0x07, 0xD0},
                       .certIndex = {2, 4, 0x80, 0, 0, 0},
                       .crl = makeCRL(ca(), {.entries = {{.serial = "0A"}},
                                             .extensions = {{"2.5.29.60", "DER:180F32303234303130313030303030305A"}}}),
                       .expiredCertsOnCRL = text(0x18, "20240101000000Z")};
  const StoredRow endless{.uri = text(4, "ldap://h/cn=b"),
                          .crl = makeCRL(ca(), {.nextUpdate = std::nullopt}),
                          .nextUpdate = text(0x17, "700101000000Z")};
  const ByteString image = fileOf({encoded(full), encoded(endless)});
  ASSERT_TRUE(loadBytes(image));
  EXPECT_THAT(logged(), ElementsAre(message(4644), message(4655)));
  const CRLSnapshot first = table.row(0).snapshot();
  EXPECT_EQ(first->caIndex, 2000);
  EXPECT_EQ(first->certIndex, std::numeric_limits<std::int32_t>::min()) << "taken as stored";
  EXPECT_STREQ(first->nextUpdate->textView(), "380101000000Z");
  EXPECT_STREQ(first->timestamp.textView(), "250102030405Z");
  EXPECT_STREQ(first->expiredCertsOnCRL.textView(), "20240101000000Z");
  EXPECT_EQ(first->crl->revokedCertificates()->find("0A"), 0);
  EXPECT_NE(first->crl->digestView(), nullptr) << "a copy of it can still be verified";
  EXPECT_FALSE(table.row(1).snapshot()->nextUpdate) << "the CRL has none";

  chmod(path.c_str(), 0644);
  EXPECT_EQ(saved(), image);
  EXPECT_THAT(logged(), ElementsAre(message(4686), message(4687)));
  EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
  EXPECT_EQ(library().crlCacheModified, 0);
}

TEST_F(CRLCacheFile, LeavesPlaceholdersOut) {
  addPlaceholder("http://h/none.crl");
  EXPECT_EQ(saved(), (ByteString{0x31, 0}));
  ASSERT_TRUE(loadBytes(fileOf({rowAt("a"), rowAt("b")})));
  addPlaceholder("http://h/none.crl");
  table.replace(2, table.row(1).uri, table.row(1).snapshot());
  table.replace(1, "http://h/none.crl", nothingHeld());
  ASSERT_THAT(keys(), ElementsAre("a", "http://h/none.crl", "b"));
  ASSERT_TRUE(loadBytes(saved()));
  EXPECT_THAT(keys(), ElementsAre("a", "b"));
  EXPECT_TRUE(loadBytes({0x31, 0}));
  EXPECT_EQ(table.count(), 0);
}

TEST_F(CRLCacheFile, KeepsMissingTextsMissing) {
  const ByteString image = fileOf({encoded({.uri = kNull, .issuer = kNull}), encoded({.uri = {4, 0}, .issuer = {4, 0}}),
                                   encoded({.uri = text(4, std::string_view("a\0b", 3))})});
  ASSERT_TRUE(loadBytes(image));
  EXPECT_THAT(keys(), ElementsAre("-", "", "a"));
  EXPECT_FALSE(table.row(0).snapshot()->issuer);
  EXPECT_EQ(table.row(1).snapshot()->issuer, "");
  EXPECT_EQ(table.find(""), 1) << "a row without a key answers nobody";
  EXPECT_EQ(saved(),
            fileOf({encoded({.uri = kNull, .issuer = kNull}), encoded({.uri = {4, 0}, .issuer = {4, 0}}), rowAt("a")}));
}

TEST_F(CRLCacheFile, LoadsNoMoreRowsThanFit) {
  std::vector<ByteString> rows;
  for (int i = 0; i <= CRLTable::kRows; ++i) rows.push_back(rowAt(std::to_string(i)));
  ASSERT_TRUE(loadBytes(fileOf(rows)));
  ASSERT_EQ(table.count(), 2048);
  EXPECT_EQ(table.row(2047).uri, "2047");
  EXPECT_TRUE(table.row(2047).snapshot()->crl);
}

// Wherever a file ends: its whole rows replace those of their places, and the table stays as long as it was.
TEST_F(CRLCacheFile, CutShortLeavesTheTableAsLongAsItWas) {
  const std::vector<ByteString> rows = {rowAt("a"), rowAt("b"), rowAt("c")};
  const ByteString image = fileOf(rows);
  const std::size_t header = image.size() - rows[0].size() * 3;
  const std::array<std::vector<std::string>, 3> after = {{{"x", "y"}, {"a", "y"}, {"a", "b"}}};
  for (std::size_t n = 0; n < image.size(); ++n) {
    ASSERT_TRUE(loadBytes(fileOf({rowAt("x"), rowAt("y")})));
    EXPECT_TRUE(loadBytes({image.begin(), image.begin() + static_cast<std::ptrdiff_t>(n)})) << n;
    EXPECT_EQ(keys(), after.at(n < header ? 0 : (n - header) / rows[0].size())) << n;
  }
  addPlaceholder("http://h/new.crl");
  EXPECT_FALSE(table.row(2).snapshot()->crl) << "nothing of a row read in vain";
}

TEST_F(CRLCacheFile, DamageEndsTheReading) {
  ByteString notASequence = rowAt("b");
  notASequence[0] = 0x31;
  const ByteString behind = rowAt("c");
  struct Row {
    const char* name;
    ByteString second;
  };
  for (const Row& row :
       {Row{"no SEQUENCE", notASequence}, Row{"text of another type", encoded({.uri = text(12, "b")})},
        Row{"an index of five octets", encoded({.caIndex = {2, 5, 1, 0, 0, 0, 0}})},
        Row{"an index without octets", encoded({.certIndex = {2, 0}})}, Row{"no CRL", encoded({.crl = {0x30, 0}})},
        Row{"NULL for a time", encoded({.timestamp = kNull})},
        Row{"a CRL that claims more than there is", encoded({.crl = {0x30, 0x84, 0x7F, 0, 0, 0}})}}) {
    ASSERT_TRUE(loadBytes(fileOf({rowAt("x"), rowAt("y"), rowAt("z")})));
    EXPECT_TRUE(loadBytes(fileOf({rowAt("a"), row.second, behind}))) << row.name;
    EXPECT_THAT(keys(), ElementsAre("a", "y", "z")) << row.name;
  }
  ByteString notASet = fileOf({rowAt("a")});
  notASet[0] = 0x30;
  EXPECT_TRUE(loadBytes(notASet));
  EXPECT_THAT(keys(), ElementsAre("a", "y", "z"));
}

TEST_F(CRLCacheFile, FilesThatCannotBeUsed) {
  addPlaceholder("kept");
  EXPECT_FALSE(context->loadCRLCache(folder / "none"));
  EXPECT_FALSE(context->loadCRLCache(folder.path()));
  EXPECT_FALSE(context->saveCRLCache(folder / "none" / "crlCache"));
  EXPECT_THAT(logged(),
              ElementsAre(message(4644), message(5149), message(4644), message(5149), message(4686), message(5155)));
  EXPECT_EQ(context->report().errCode, kNoError);
  EXPECT_THAT(keys(), ElementsAre("kept"));
}

}  // namespace
}  // namespace keystrand::test
