#include "net/HTTPServer.h"

#include <algorithm>
#include <optional>
#include <string>

#include "net/HTTPBody.h"
#include "net/HeaderRows.h"
#include "net/NetState.h"
#include "support/Text.h"

namespace keystrand {

namespace {

constexpr std::size_t kLineBytes = 528;
constexpr std::size_t kMethodBytes = 8;
constexpr std::size_t kTargetBytes = 512;
constexpr unsigned char kHTTP10 = 1;
constexpr unsigned char kHTTP11 = 2;

void send(Transport& client, std::string_view text) {
  client.write({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

std::optional<std::string> readLine(Transport& client) {
  const Transport::Limit limit(client);
  std::string line;
  for (unsigned char byte = 0; line.size() < kLineBytes;) {
    if (client.readExact({&byte, 1}) != 0) return std::nullopt;
    if (byte == '\n') break;
    if (byte != '\r') line += foldCase(static_cast<char>(byte));
  }
  return line;
}

// Cuts the next word off the text.
std::string_view nextWord(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  const std::string_view word = text.substr(0, text.find(' '));
  text.remove_prefix(word.size());
  return word;
}

bool readRequestLine(Transport& client) {
  const auto line = readLine(client);
  if (!line) return false;
  std::string_view rest = *line;
  const std::string_view method = nextWord(rest);
  const std::string_view target = nextWord(rest);
  const std::string_view version = nextWord(rest);
  if (version.empty() || method.size() > kMethodBytes || target.size() > kTargetBytes) return false;
  httpSetVersion(version == "http/1.1" ? kHTTP11 : kHTTP10);
  return true;
}

// The length that the header tells, 0 for none; nothing for a type that was not expected.
std::optional<std::uint64_t> readHeader(Transport& client, std::string_view expectedType) {
  HeaderRows rows;
  rows.read(client);
  std::int64_t length = 0;
  for (const std::string_view row : rows.texts()) {
    const auto type = valueBehind(row, "content-type:");
    if (type && type->find(expectedType) == std::string_view::npos) return std::nullopt;
    if (const auto value = valueBehind(row, "content-length:")) length = leadingDecimal(*value);
    if (textBehind(row, "expect: 100-continue")) send(client, "HTTP/1.1 100\r\n\r\n");
  }
  return static_cast<std::uint64_t>(std::max<std::int64_t>(length, 0));
}

}  // namespace

// GET is no case of its own: clients rely on its being read as any other method.
bool httpReadRequest(Transport& client, std::string_view expectedType, Buffer& body) {
  body.reset();
  if (!readRequestLine(client)) return false;
  const auto length = readHeader(client, expectedType);
  if (!length) return false;
  if (*length != 0) return readBody(client, body, *length);
  readObject(client, body, TextBody::keep);
  return true;
}

bool httpWriteResponse(Transport& client, std::string_view contentType, const Buffer& body) {
  const bool old = NetState::instance().snapshot().http.httpVersion == kHTTP10;
  std::string head = old ? " HTTP/1.0 200 OK\r\n" : " HTTP/1.1 200 OK\r\n";
  if (!contentType.empty()) head.append("Content-type: ").append(contentType).append("\r\n");
  send(client, head + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n");
  client.write(body.range(0, body.size()));
  return true;
}

}  // namespace keystrand
