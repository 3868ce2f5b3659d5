// What a peer may send to the socket client and to the server's side, read from a real connection that ends behind it.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Property.h"
#include "net/HTTPAnswer.h"
#include "net/HTTPBody.h"
#include "net/HTTPServer.h"
#include "net/Transport.h"

namespace {

using keystrand::Buffer;
using keystrand::HeaderRows;
using keystrand::TextBody;
using keystrand::Transport;
using keystrand::fuzz::require;

constexpr std::size_t kMostBytes = 32U << 10U;  // what a connection takes at once
constexpr std::uint16_t kFirstPort = 20000;

struct Listener {
  Transport transport;
  std::uint16_t port = kFirstPort;

  Listener() {
    while (transport.listen(port) != 0) require(++port != 0, "a port is free");
  }
};

// The other end of a connection to this process. It goes without lingering, so that no port stays in use.
class Peer {
 public:
  Peer(std::uint16_t port, std::span<const std::uint8_t> bytes) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // The fuzzer's timer interrupts, and the connection goes on.
    while (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 && errno != EISCONN)
      require(errno == EINTR || errno == EALREADY, std::strerror(errno));
    require(send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size()), "sent");
    shutdown(socket_, SHUT_WR);
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  ~Peer() {
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    close(socket_);
  }

 private:
  int socket_;
};

// Runs body(transport) on a connection that brings these bytes.
template <class Body>
void receive(std::span<const std::uint8_t> bytes, Body body) {
  static auto& listener = *new Listener;
  std::optional<Peer> peer(std::in_place, listener.port, bytes);
  require(listener.transport.accept() == 0, "accepted");
  Transport transport(std::move(listener.transport));
  transport.setTimeout(1);
  body(transport);
  peer.reset();  // before the orderly end of this side, which would keep the port for a minute
}

// The rows by a plain reading of lines: pieces of 80 bytes, up to the thirtieth.
std::vector<std::string> rowsOf(std::span<const std::uint8_t> bytes) {
  std::vector<std::string> rows;
  std::string line;
  const auto endLine = [&] {
    for (std::size_t at = 0; at < line.size() && rows.size() < 30; at += 80) rows.push_back(line.substr(at, 80));
    line.clear();
  };
  for (const std::uint8_t byte : bytes) {
    if (byte == '\n' && line.empty()) break;
    if (byte == '\n') endLine();
    if (byte != '\n' && byte != '\r') line += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte | 0x20 : byte);
  }
  endLine();
  for (std::string& row : rows) row = row.substr(0, row.find('\0'));
  rows.erase(std::find(rows.begin(), rows.end(), ""), rows.end());
  return rows;
}

void bodyKeepsItsWord(Transport& peer, const HeaderRows& rows, std::size_t sent) {
  const auto head = keystrand::answerToGet(rows);
  Buffer body;
  if (head.xml && head.length != 0) {
    require(!keystrand::readBody(peer, body, head.length) || body.size() == head.length, "the length announced");
  } else if (head.xml && head.chunked) {
    keystrand::readChunks(peer, body);
  } else if (keystrand::readObject(peer, body, TextBody::keep) && body.peekByte() == 0x30) {
    unsigned char tag = 0;
    std::uint32_t n = 0;
    require(body.getHeader(tag, n) && std::uint64_t{n} + body.readPosition() <= body.size(), "an object is whole");
  }
  require(body.size() <= sent, "nothing but what was sent");
  require(body.limit() <= std::max<std::size_t>(4 * sent, 1U << 17U), "a length that lies costs little");
}

void pageLeadsSomewhere(const std::string& page) {
  const std::string url = "http://ca.example.it/x";
  const auto next = keystrand::followPage(url, page);
  if (!next) return;
  require(next->starts_with("http:"), "a scheme");
  require(next->size() <= url.size() + page.size() + 1, "a link of the page");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span bytes(data, std::min(size, kMostBytes));
  receive(bytes, [&](Transport& peer) {
    HeaderRows rows;
    rows.read(peer);
    const auto texts = rows.texts();
    const auto expected = rowsOf(bytes);
    require(std::equal(texts.begin(), texts.end(), expected.begin(), expected.end()), "the rows of a plain reading");
    bodyKeepsItsWord(peer, rows, bytes.size());
  });
  receive(bytes, [&](Transport& peer) {
    Buffer body;
    if (keystrand::httpReadRequest(peer, "a", body)) require(body.size() < bytes.size(), "less than the request");
  });
  pageLeadsSomewhere({bytes.begin(), bytes.end()});
  return 0;
}
