// What a client of real servers gets: nginx for ordinary answers.
#include <gmock/gmock.h>

#include <regex>

#include "net/Bytes.h"
#include "net/FreshNetState.h"
#include "net/HTTPS.h"
#include "support/NginxServer.h"
#include "support/Texts.h"

namespace keystrand {
namespace {

using test::NginxServer;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr std::time_t kModified = 784111777;  // the date of RFC 9110 section 5.6.7
constexpr const char* kModifiedValue = " Sun, 06 Nov 1994 08:49:37 GMT\r\n";

class HTTPSTest : public FreshNetState {
 protected:
  void SetUp() override {
    if (!NginxServer::installed()) GTEST_SKIP() << NginxServer::kNotInstalled;
    server_.emplace(R"(
      location = /no-time { add_header Last-Modified ""; return 200 "timeless"; }
      location = /moved { return 302 /ca.crl; }
      location = /loop { return 302 /loop; }
      location = /to-ftp { return 302 ftp://127.0.0.1/x; }
      location = /to-file { return 302 file:///etc/hostname; })");
    server_->put("/ca.crl", "0\x03\x02\x01\x05", kModified);
  }

  std::optional<NginxServer> server_;
  Buffer buffer_;
  std::string time_ = "untouched";
};

TEST_F(HTTPSTest, ObjectAndTimeByGetTimeAloneByHead) {
  EXPECT_TRUE(httpsGetObjectAndTime(server_->url("/ca.crl"), buffer_, time_));
  EXPECT_EQ(textOf(buffer_), "0\x03\x02\x01\x05");
  EXPECT_EQ(time_, kModifiedValue);
  EXPECT_EQ(httpsGetTime(server_->url("/ca.crl"), buffer_), kModifiedValue);
  EXPECT_EQ(buffer_.size(), 0U);
  EXPECT_THAT(server_->requests(),
              ElementsAre(NginxServer::Request{"GET", "/ca.crl", 200}, NginxServer::Request{"HEAD", "/ca.crl", 200}));
  EXPECT_TRUE(httpsGetObjectAndTime(server_->url("/no-time"), buffer_, time_));
  EXPECT_EQ(time_, "thu, 01 jan 1970 00:00:01 gmt");
  EXPECT_EQ(httpsGetTime(server_->url("/no-time"), buffer_), "thu, 01 jan 1970 00:00:01 gmt");
}

TEST_F(HTTPSTest, OnlyStatus200Counts) {
  EXPECT_FALSE(httpsGetObjectAndTime(server_->url("/absent"), buffer_, time_));
  EXPECT_FALSE(httpsGetObject(server_->url("/absent"), buffer_));
  EXPECT_FALSE(httpsGetXML(server_->url("/absent"), buffer_));
  EXPECT_EQ(httpsGetTime(server_->url("/absent"), buffer_), std::nullopt);
  EXPECT_EQ(time_, "untouched");
}

TEST_F(HTTPSTest, ObjectsFollowRedirectsTimesDoNot) {
  EXPECT_TRUE(httpsGetObjectAndTime(server_->url("/moved"), buffer_, time_));
  EXPECT_EQ(time_, kModifiedValue);
  EXPECT_EQ(httpsGetTime(server_->url("/moved"), buffer_), std::nullopt);
  EXPECT_EQ(server_->count("HEAD", "/ca.crl"), 0);
  EXPECT_FALSE(httpsGetObject(server_->url("/loop"), buffer_));
  EXPECT_EQ(server_->count("GET", "/loop"), 51) << "they end after 50";
}

TEST_F(HTTPSTest, NothingButHTTPIsEverAsked) {
  EXPECT_FALSE(httpsGetObject("file:///etc/hostname", buffer_));
  EXPECT_EQ(buffer_.size(), 0U);
  EXPECT_FALSE(httpsGetObject(server_->url("/to-file"), buffer_) || httpsGetObject(server_->url("/to-ftp"), buffer_));
  EXPECT_FALSE(httpsGetObject("gopher://127.0.0.1/http://", buffer_)) << "passes the parser";
  EXPECT_EQ(httpsPost("file:///tmp/x", {}), kTransferFailed);
}

TEST_F(HTTPSTest, ARefusedURLLeavesTheBufferAlone) {
  buffer_.putByte(7);
  EXPECT_FALSE(httpsGetObjectAndTime("ftp://127.0.0.1/x", buffer_, time_));
  EXPECT_EQ(httpsGetTime("127.0.0.1/x", buffer_), std::nullopt);
  EXPECT_EQ(httpsPost("", {}, {}, &buffer_), kURLRefused);
  EXPECT_EQ(httpsPut("mailto:x", {}, {}), kURLRefused);
  EXPECT_EQ(httpsUpload("HTTP://x/", "f", {}, "p", std::nullopt), kURLRefused);
  EXPECT_EQ(buffer_.size(), 1U);
}

TEST_F(HTTPSTest, DecodedURLsAreCodedAgainForTheTransfer) {
  server_->put("/My CA \x7F.crl", "0");
  EXPECT_TRUE(httpsGetObject(server_->url("/My CA \x7F.crl?a b"), buffer_));
  EXPECT_EQ(server_->count("GET", "/My%20CA%20%7F.crl?a%20b"), 1);
}

TEST_F(HTTPSTest, ACertificateNobodyTrustsIsNoObstacle) {
  EXPECT_TRUE(httpsGetObjectAndTime(server_->httpsURL("/ca.crl"), buffer_, time_));
  EXPECT_EQ(time_, kModifiedValue);
  setCurlCaFile("/no/such/file.pem");
  EXPECT_TRUE(httpsGetObject(server_->httpsURL("/ca.crl"), buffer_));
}

// A certificate in the forms in which distribution points serve theirs.
TEST_F(HTTPSTest, TextFormsBecomeDER) {
  const std::string armour = test::readText(test::treeData() / "../../data/roots/ISRG_Root_X1.pem");
  const std::string base64 = std::regex_replace(armour, std::regex("-----[^\n]*\n"), "");
  server_->put("/pem", armour);
  server_->put("/base64", base64);
  ASSERT_TRUE(httpsGetObjectAndTime(server_->url("/pem"), buffer_, time_));
  const std::string der = textOf(buffer_);
  EXPECT_EQ(der.substr(0, 2), "0\x82");
  EXPECT_EQ(der.size(), 1391U);
  EXPECT_TRUE(httpsGetObjectAndTime(server_->url("/base64"), buffer_, time_));
  EXPECT_EQ(textOf(buffer_), der);
  EXPECT_TRUE(httpsGetObject(server_->url("/base64"), buffer_));
  EXPECT_EQ(textOf(buffer_), der);
  EXPECT_TRUE(httpsGetObject(server_->url("/pem"), buffer_));
  EXPECT_EQ(textOf(buffer_), armour) << "only Base64 is decoded here";
  server_->put("/unpadded", base64.substr(0, base64.find('=')) + "\r\n");
  EXPECT_TRUE(httpsGetObjectAndTime(server_->url("/unpadded"), buffer_, time_));
  EXPECT_EQ(textOf(buffer_), der) << "refused by the strict decoder, read by the lenient one";
  server_->put("/der", der);
  EXPECT_TRUE(httpsGetObjectAndTime(server_->url("/der"), buffer_, time_));
  EXPECT_EQ(textOf(buffer_), der);
}

TEST_F(HTTPSTest, PutStoresTheBytes) {
  const std::vector<unsigned char> data(3'000'000, 0x5A);
  EXPECT_EQ(httpsPut(server_->url("/dav/new.crl"), "application/pkix-crl", data), 201);
  EXPECT_EQ(server_->content("/dav/new.crl"), std::string(3'000'000, 0x5A));
  EXPECT_EQ(httpsPut(server_->url("/new.crl"), {}, data), 405);
}

TEST_F(HTTPSTest, LogShowsBothDirectionsToTheOwnerOnly) {
  const test::TempFolder folder;
  const std::string path = folder / "curl.log";
  setCurlLog(path);
  EXPECT_TRUE(httpsGetObject(server_->httpsURL("/ca.crl"), buffer_));
  const std::string text = test::readText(path);
  EXPECT_TRUE(
      std::regex_search(text, std::regex(R"(\[\d{4}:\d\d:\d\d \d\d:\d\d:\d\d\]\[keystrand\] HEADER_OUT: GET /)")));
  EXPECT_THAT(text, HasSubstr("[keystrand] HEADER_IN: HTTP/1.1 200 OK\r\n"));
  EXPECT_THAT(text, HasSubstr("[keystrand] DATA_IN: 5 bytes\n"));
  EXPECT_THAT(text, HasSubstr("[keystrand] SSL_DATA_OUT: size="));
  EXPECT_THAT(text, HasSubstr("User-Agent: Mozilla/5.0 (compatible)\r\n"));
  EXPECT_EQ(std::filesystem::status(path).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  setCurlLog("/no/such/folder/log");
  EXPECT_TRUE(httpsGetObject(server_->url("/ca.crl"), buffer_));
}

}  // namespace
}  // namespace keystrand
