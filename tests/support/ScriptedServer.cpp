#include "support/ScriptedServer.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>

namespace keystrand::test {
namespace {

// One after the other, the last again and again.
template <class Part>
const Part& nth(const std::vector<Part>& parts, std::size_t number) {
  return parts[std::min(number, parts.size() - 1)];
}

// Bytes of body that the head announces.
std::size_t contentLength(const std::string& head) {
  constexpr std::string_view kName = "Content-Length: ";
  const std::size_t at = head.find(kName);
  return at == std::string::npos ? 0 : std::stoul(head.substr(at + kName.size()));
}

bool complete(const std::string& request) {
  const std::size_t head = request.find("\r\n\r\n");
  return head != std::string::npos && request.size() >= head + 4 + contentLength(request.substr(0, head));
}

bool sendAll(const Descriptor& peer, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = send(peer.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (n <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

}  // namespace

ScriptedServer::ScriptedServer(Serve serve)
    : serve_(std::move(serve)),
      listener_(listenOnLoopback()),
      port_(portOf(listener_)),
      stopped_(eventfd(0, EFD_CLOEXEC)),
      acceptor_([this] { acceptAll(); }) {}

ScriptedServer::ScriptedServer(Handler handler)
    : ScriptedServer(Serve([handler = std::move(handler)](ScriptedServer& server, const Connection& connection) {
        server.answer(connection, handler);
      })) {}

ScriptedServer::ScriptedServer(std::vector<Answer> answers)
    : ScriptedServer(Serve([answers = std::move(answers)](ScriptedServer& server, const Connection& connection) {
        server.answer(connection, [&](const std::string&) { return nth(answers, connection.number); });
      })) {}

ScriptedServer::ScriptedServer(Dialogue dialogue) : ScriptedServer(std::vector<Dialogue>{std::move(dialogue)}) {}

ScriptedServer::ScriptedServer(std::vector<Dialogue> dialogues)
    : ScriptedServer(Serve([dialogues](ScriptedServer& server, const Connection& connection) {
        server.converse(connection, nth(dialogues, connection.number));
      })) {
  for (const Dialogue& dialogue : dialogues) {
    expected_.emplace_back();
    for (const Step& step : dialogue.steps) expected_.back() += step.request;
  }
}

ScriptedServer::~ScriptedServer() {
  eventfd_write(stopped_.get(), 1);
  acceptor_.join();
  for (std::thread& connection : connections_) connection.join();
}

std::string ScriptedServer::url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<std::string> ScriptedServer::requests() {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> all;
  for (const auto& [number, request] : requests_) all.push_back(request);
  return all;
}

bool ScriptedServer::heardAll() {
  return eventually([&] { return requests().size() >= expected_.size(); }) && requests() == expected_;
}

std::string ScriptedServer::ok(const std::string& body, const std::string& headers) {
  return "HTTP/1.1 200 OK\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
         "\r\nConnection: close\r\n\r\n" + body;
}

void ScriptedServer::acceptAll() {
  for (std::size_t number = 0; ready(listener_, POLLIN); ++number)
    connections_.emplace_back(
        [this, connection = Connection{Descriptor(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)), number}] {
          if (connection.peer.get() >= 0) serve_(*this, connection);
        });
}

void ScriptedServer::answer(const Connection& connection, const Handler& handler) {
  constexpr std::size_t kAnyNumber = 4096;
  const std::string request =
      read(connection.peer, [](const std::string& seen) { return complete(seen) ? 0 : kAnyNumber; });
  keep(connection, request);
  const Answer answer = handler(request);
  if (sendAll(connection.peer, answer.bytes)) finish(connection.peer, answer);
}

void ScriptedServer::converse(const Connection& connection, const Dialogue& dialogue) {
  std::string heard;
  Answer last{"", dialogue.then};
  for (const Step& step : dialogue.steps) {
    heard += read(connection.peer, [&](const std::string& seen) { return step.awaits - seen.size(); });
    last.bytes = step.bytes;
    if (&step == &dialogue.steps.back()) keep(connection, heard);  // first: who has the last answer may ask for it
    if (!sendAll(connection.peer, step.bytes)) break;
  }
  keep(connection, heard);
  finish(connection.peer, last);
}

void ScriptedServer::finish(const Descriptor& peer, const Answer& last) {
  if (last.then == Then::silence) ready(peer, POLLRDHUP);
  if (last.then == Then::drip) drip(peer, last.bytes.empty() ? ' ' : last.bytes.back());
  if (last.then == Then::reset) {
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    setsockopt(peer.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  }
}

void ScriptedServer::keep(const Connection& connection, const std::string& request) {
  const std::lock_guard lock(mutex_);
  requests_[connection.number] = request;
}

std::string ScriptedServer::read(const Descriptor& peer,
                                 const std::function<std::size_t(const std::string&)>& missing) {
  std::string seen;
  char piece[4096];
  for (std::size_t more = 0; (more = missing(seen)) > 0 && ready(peer, POLLIN);) {
    const ssize_t n = recv(peer.get(), piece, std::min(more, sizeof piece), 0);
    if (n <= 0) break;
    seen.append(piece, static_cast<std::size_t>(n));
  }
  return seen;
}

void ScriptedServer::drip(const Descriptor& peer, char byte) {
  constexpr int kBetweenMilliseconds = 10;
  while (!ready(stopped_, POLLIN, kBetweenMilliseconds) && sendAll(peer, {&byte, 1})) {
  }
}

bool ScriptedServer::ready(const Descriptor& socket, short events, int milliseconds) {
  pollfd waiting[] = {{stopped_.get(), POLLIN, 0}, {socket.get(), events, 0}};
  poll(waiting, 2, milliseconds);
  if (waiting[0].revents != 0) return &socket == &stopped_;
  return waiting[1].revents != 0;
}

}  // namespace keystrand::test
