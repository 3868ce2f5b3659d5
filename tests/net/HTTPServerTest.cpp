// The two functions of the server's side, against libcurl and clients that say anything.
#include <curl/curl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>

#include <future>

#include "net/Bytes.h"
#include "net/FreshNetState.h"
#include "net/HTTPServer.h"
#include "support/Memory.h"
#include "support/Socket.h"

namespace keystrand {
namespace {

class HTTPServerSide : public FreshNetState {
 protected:
  HTTPServerSide() { EXPECT_EQ(listener_.listen(port_), 0); }

  // Serves one request, "refused" for one that cannot be read; answers with "<answer/>".
  std::string serve(std::string_view expectedType = {}, std::int64_t timeout = 20) {
    EXPECT_EQ(listener_.accept(), 0);
    Transport client(std::move(listener_));
    client.setTimeout(timeout);
    Buffer body;
    if (!httpReadRequest(client, expectedType, body)) return "refused";
    const std::string request = textOf(body);
    constexpr std::string_view kAnswer = "<answer/>";
    body.assign(reinterpret_cast<const unsigned char*>(kAnswer.data()), kAnswer.size());
    EXPECT_TRUE(httpWriteResponse(client, "text/xml", body));
    return request;
  }

  // What libcurl takes for the body: all of the answer, as its first line is none of HTTP/1.
  std::string transfer(const std::string& method, const std::string& data, long version) const {
    const std::unique_ptr<CURL, Releaser<&curl_easy_cleanup>> curl(curl_easy_init());
    const std::unique_ptr<curl_slist, Releaser<&curl_slist_free_all>> headers(
        curl_slist_append(curl_slist_append(nullptr, "Expect: 100-continue"), "Content-Type: Text/Plain"));
    std::string answer;
    const auto set = [&](CURLoption option, auto value) { curl_easy_setopt(curl.get(), option, value); };
    set(CURLOPT_URL, ("http://127.0.0.1:" + std::to_string(port_) + "/some/target").c_str());
    set(CURLOPT_PROXY, "");
    set(CURLOPT_HTTP09_ALLOWED, 1L);
    set(CURLOPT_HTTP_VERSION, version);
    set(CURLOPT_CUSTOMREQUEST, method.c_str());
    set(CURLOPT_HTTPHEADER, headers.get());
    set(CURLOPT_POSTFIELDSIZE, static_cast<long>(data.size()));
    set(CURLOPT_POSTFIELDS, data.data());
    set(CURLOPT_WRITEDATA, &answer);
    set(
        CURLOPT_WRITEFUNCTION, +[](const char* bytes, std::size_t size, std::size_t n, void* to) {
          static_cast<std::string*>(to)->append(bytes, size * n);
          return size * n;
        });
    EXPECT_EQ(curl_easy_perform(curl.get()), CURLE_OK);
    return answer;
  }

  const std::uint16_t port_ = test::freePort();
  Transport listener_;
};

TEST_F(HTTPServerSide, ServesLibcurl) {
  struct Row {
    const char* method;
    std::string data;
    long version;
    const char* answer;
  };
  for (const Row& row : {Row{"POST", "a=b", CURL_HTTP_VERSION_1_0, " HTTP/1.0 200 OK\r\n"},
                         Row{"PUT", std::string(3'000'000, 'x'), CURL_HTTP_VERSION_1_1, " HTTP/1.1 200 OK\r\n"},
                         Row{"POST", std::string("\0\x01", 2), CURL_HTTP_VERSION_1_1, " HTTP/1.1 200 OK\r\n"}}) {
    auto client = std::async(std::launch::async, [&] { return transfer(row.method, row.data, row.version); });
    EXPECT_EQ(serve("text/plain"), row.data);
    EXPECT_EQ(client.get(), row.answer + std::string("Content-type: text/xml\r\nContent-Length: 9\r\n\r\n<answer/>"));
  }
}

TEST_F(HTTPServerSide, ReadsAndRefuses) {
  const std::string line = "POST /t HTTP/1.0\r\n";
  struct Row {
    const char* name;
    std::string request, body;
  };
  for (const Row& row : {
           Row{"object without length", line + "\r\n" + kObject, kObject},
           Row{"text without length stays as it is", line + "\r\nMBIEEDAxMjM0NTY3", "MBIEEDAxMjM0NTY3"},
           Row{"a GET", "GET /t HTTP/1.0\r\n\r\n", ""},
           Row{"object that breaks off", line + "\r\n" + kObject.substr(0, 10), kObject.substr(0, 10)},
           Row{"type in capitals", line + "Content-Type: Text/XML\r\nContent-Length: 1\r\n\r\nx", "x"},
           Row{"another type", line + "Content-Type: a/b\r\nContent-Length: 1\r\n\r\nx", "refused"},
           Row{"type without blank", line + "Content-Type:text/xml\r\nContent-Length: 1\r\n\r\nx", "refused"},
           Row{"no type", line + "Content-Length: 1\r\n\r\nx", "x"},
           Row{"shorter than announced", line + "Content-Length: 2\r\n\r\nx", "refused"},
           Row{"announced beyond all memory", line + "Content-Length: 999999999999\r\n\r\nx", "refused"},
           Row{"negative length", line + "Content-Length: -1\r\n\r\n", ""},
           Row{"blanks", "  POST   /t    HTTP/9   x\r\nContent-Length: 1\r\n\r\nx", "x"},
           Row{"no version", "POST /t\r\n\r\n", "refused"},
           Row{"nothing", "", "refused"},
           Row{"line without end", "POST /t HTTP/1.0", "refused"},
           Row{"method too long", "POSTPOSTS /t HTTP/1.0\r\n\r\n", "refused"},
           Row{"target too long", "POST /" + std::string(512, 't') + " HTTP/1.0\r\n\r\n", "refused"},
           Row{"line too long", std::string(100'000, 'x'), "refused"},
       }) {
    auto client = std::async(std::launch::async, [&] {
      const test::Descriptor socket(test::connectTo(port_));
      send(socket.get(), row.request.data(), row.request.size(), MSG_NOSIGNAL);
      shutdown(socket.get(), SHUT_WR);
      char byte;
      while (recv(socket.get(), &byte, 1, 0) > 0) {
      }
    });
    EXPECT_EQ(serve("text/xml"), row.body) << row.name;
    client.get();
  }
}

// A peer decides how this process speaks from now on.
TEST_F(HTTPServerSide, TheVersionOfARequestIsThatOfTheProcess) {
  for (const auto& [version, kept] : {std::pair{"HTTP/1.1", 2}, std::pair{"HTTP/1.0", 1}, std::pair{"HTTP/2", 1}}) {
    auto client = std::async(std::launch::async, [&, version = version] {
      return test::ask(port_, std::string("POST / ") + version + "\r\nContent-Length: 1\r\n\r\nx");
    });
    serve();
    client.get();
    EXPECT_EQ(NetState::instance().snapshot().http.httpVersion, kept) << version;
  }
}

}  // namespace
}  // namespace keystrand
