#include "net/HTTP.h"

#include <algorithm>
#include <array>

#include "net/BodyRoom.h"
#include "net/HTTPAnswer.h"
#include "net/HTTPBody.h"
#include "net/HTTPConnection.h"

namespace keystrand {

namespace {

constexpr std::array kRefusals = {404, 403, 401, 407};
constexpr std::uint32_t kPageLimit = 1U << 20U;  // of a page without a length

// A URL without a path leaves two blanks in a row.
std::string requestOf(const std::string& url, const HTTPConnection& connection) {
  std::string text = "GET ";
  if (connection.wantsWholeURL())
    text += url;
  else
    text.append(connection.url().path.value_or("")).append(connection.query());
  return text.append(connection.version())
      .append("User-Agent: Mozilla/4.0 (compatible)\r\nAccept: */*\r\nHost: ")
      .append(connection.url().host)  // never with its port
      .append("\r\nConnection: Keep-Alive\r\nCache-control: no-cache\r\n")
      .append(connection.credentialLines())
      .append("\r\n");
}

// As much of it as comes: the link may stand in that.
std::string readPage(Transport& peer, std::uint64_t length) {
  Buffer page;
  if (length != 0) {
    readBody(peer, page, length);
  } else {
    page.reserve(kPageLimit);
    readToEnd(peer, page);
  }
  const auto bytes = page.range(0, page.size());
  return {bytes.begin(), bytes.end()};
}

// Leaves the body of an object on the connection, to be read from there.
bool readDocument(Transport& peer, const AnswerHead& head, Buffer& body) {
  if (!head.xml) return true;
  if (head.length == 0 && !head.chunked) return false;
  body.reset();
  if (head.length != 0 ? !readBody(peer, body, head.length) : !readChunks(peer, body)) return false;
  terminate(body);
  return true;
}

bool exchange(HTTPConnection& connection, std::string url, Buffer& body) {
  for (int hop = 0; hop < HTTPConnection::kMostHops; ++hop) {
    if (connection.open(url) != 0) return false;
    connection.send(requestOf(url, connection));
    if (!connection.readHeader()) return false;
    const AnswerHead head = answerToGet(connection.rows());
    if (std::find(kRefusals.begin(), kRefusals.end(), head.status) != kRefusals.end()) return false;
    if (!head.location && !head.html) return readDocument(connection.transport(), head, body);
    const auto next = head.location ? head.location : followPage(url, readPage(connection.transport(), head.length));
    if (!next) return false;
    url = *next;
  }
  return false;
}

}  // namespace

bool httpGetObject(const std::string& url, Buffer& body) {
  HTTPConnection connection;
  return exchange(connection, url, body) && readObject(connection.transport(), body, TextBody::decode);
}

bool httpGetRaw(const std::string& url, Buffer& body) {
  HTTPConnection connection;
  return exchange(connection, url, body);
}

bool httpGetObjectAndTime(const std::string& url, Buffer& body, std::string& time) {
  HTTPConnection connection;
  if (!exchange(connection, url, body)) return false;
  if (!readObject(connection.transport(), body, TextBody::decode)) return false;
  time = modificationTime(connection.rows());
  return true;
}

std::optional<std::string> httpGetTime(const std::string& url, Buffer& buffer) {
  HTTPConnection connection;
  if (!exchange(connection, url, buffer)) return std::nullopt;
  return modificationTime(connection.rows());
}

}  // namespace keystrand
