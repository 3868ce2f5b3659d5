// A server on a free port of 127.0.0.1 that says exactly what it is told to, for answers that no real server gives.
//
//   ScriptedServer server({{"HTTP/1.1 200 OK\r\nlast-MODIFIED: x\r\nContent-Length: 9\r\n\r\nshort"}});
//   ... httpsGetObject(server.url(), buffer) ...
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/Socket.h"
#include "support/Texts.h"

namespace keystrand::test {

class ScriptedServer {
 public:
  enum class Then {
    close,    // an orderly end
    reset,    // RST
    silence,  // nothing more, the connection stays open
    drip,     // the last byte again and again, without end
  };
  struct Answer {
    std::string bytes;
    Then then = Then::close;
  };
  // A conversation that is not HTTP: each step takes in exactly so many bytes, or as many as this request has, and then
  // says its own.
  struct Step {
    Step(std::size_t awaited, std::string answer) : awaits(awaited), bytes(std::move(answer)) {}
    Step(const std::string& awaited, std::string answer)
        : awaits(awaited.size()), request(awaited), bytes(std::move(answer)) {}
    Step(const ByteString& awaited, const ByteString& answer) : Step(asText(awaited), asText(answer)) {}

    std::size_t awaits;
    std::string request;
    std::string bytes;
  };
  struct Dialogue {
    std::vector<Step> steps;
    Then then = Then::close;
  };
  // Called with the request, head and body, for each connection. Several at a time.
  using Handler = std::function<Answer(const std::string& request)>;

  explicit ScriptedServer(Handler handler);
  // The first connection gets the first answer and so on; the last answer is repeated.
  explicit ScriptedServer(std::vector<Answer> answers);
  // The same for each connection.
  explicit ScriptedServer(Dialogue dialogue);
  // As the answers in their order.
  explicit ScriptedServer(std::vector<Dialogue> dialogues);
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;
  // Ends all connections.
  ~ScriptedServer();

  [[nodiscard]] std::uint16_t port() const { return port_; }
  [[nodiscard]] std::string url(const std::string& path = "/") const;
  // What each connection has sent, head and body, in order of arrival; all of a dialogue once it is over.
  std::vector<std::string> requests();
  // Whether each dialogue came, or soon will, and brought exactly the requests of its steps.
  bool heardAll();

  // A whole answer with status 200. `headers` are lines, each with its CR LF.
  static std::string ok(const std::string& body, const std::string& headers = "");

 private:
  struct Connection {
    Descriptor peer;
    std::size_t number;  // in order of arrival, from 0
  };
  using Serve = std::function<void(ScriptedServer&, const Connection&)>;

  explicit ScriptedServer(Serve serve);

  void acceptAll();
  void answer(const Connection& connection, const Handler& handler);
  void converse(const Connection& connection, const Dialogue& dialogue);
  void finish(const Descriptor& peer, const Answer& last);
  void keep(const Connection& connection, const std::string& request);
  // Reads until `missing` tells that nothing is missing any more, or until the peer has no more.
  std::string read(const Descriptor& peer, const std::function<std::size_t(const std::string&)>& missing);
  void drip(const Descriptor& peer, char byte);
  // Whether the descriptor became ready before the end of the server, or within the time if one is given.
  bool ready(const Descriptor& socket, short events, int milliseconds = -1);

  Serve serve_;
  std::vector<std::string> expected_;  // of the dialogues
  Descriptor listener_;
  std::uint16_t port_;
  Descriptor stopped_;  // an eventfd, readable once the server ends
  std::mutex mutex_;
  std::map<std::size_t, std::string> requests_;  // by number of the connection; guarded by mutex_
  std::list<std::thread> connections_;
  std::thread acceptor_;
};

}  // namespace keystrand::test
