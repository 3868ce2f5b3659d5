// The listening side, and the wait of the process on all listening sockets.
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <mutex>

#include "net/Transport.h"

namespace keystrand {

namespace {

struct Listeners {
  struct Entry {
    int socket;
    Transport* owner;
  };
  std::mutex mutex;            // a leaf
  std::vector<Entry> entries;  // guarded by mutex
};

// Never destroyed: Transports may end later than static objects.
Listeners& listeners() {
  static auto& instance = *new Listeners;
  return instance;
}

std::vector<pollfd> listeningSockets() {
  const std::lock_guard lock(listeners().mutex);
  std::vector<pollfd> sockets;
  for (const Listeners::Entry& entry : listeners().entries) sockets.push_back({entry.socket, POLLIN, 0});
  return sockets;
}

// nullptr for a socket that was closed meanwhile.
Transport* ownerOf(int socket) {
  const std::lock_guard lock(listeners().mutex);
  const auto& entries = listeners().entries;
  const auto found = std::find_if(entries.begin(), entries.end(), [&](const auto& e) { return e.socket == socket; });
  return found != entries.end() ? found->owner : nullptr;
}

bool awaitAny(std::vector<pollfd>& sockets, Deadline until) {
  for (;;) {
    const int ready = poll(sockets.data(), sockets.size(), until.milliseconds());
    if (ready > 0) return true;
    if ((ready < 0 && errno != EINTR) || until.milliseconds() == 0) return false;
  }
}

std::string nameOf(const sockaddr_storage& peer) {
  if (peer.ss_family == AF_UNIX) return "unixSocket";
  return dottedText(reinterpret_cast<const sockaddr_in&>(peer).sin_addr);
}

}  // namespace

int Transport::listen(std::uint16_t port, int backlog) {
  if (listening_.isOpen()) return kSocketError;
  Socket socket = Socket::create(SOCK_STREAM);
  if (!socket.isOpen()) return errno;
  if (const int error = socket.bind(port, reuse_); error != 0) return error;
  if (::listen(socket.number(), backlog) != 0) return errno;
  const std::lock_guard lock(listeners().mutex);
  listeners().entries.push_back({socket.number(), this});
  listening_ = std::move(socket);
  return 0;
}

int Transport::accept() {
  if (!listening_.isOpen() || isConnected()) return kSocketError;
  Socket client;
  sockaddr_storage peer{};
  if (const int error = listening_.accept(client, peer, Deadline::never()); error != 0) return error;
  adopt(std::move(client), nameOf(peer));
  return 0;
}

// Out of the table first: whoever waits on the socket wakes up and finds nobody.
void Transport::closeListener() noexcept {
  if (!listening_.isOpen()) return;
  {
    const std::lock_guard lock(listeners().mutex);
    std::erase_if(listeners().entries, [this](const Listeners::Entry& entry) { return entry.owner == this; });
  }
  listening_.shutDown();
}

Transport* Transport::selectListeners(std::int64_t seconds) {
  auto sockets = listeningSockets();
  if (sockets.empty() || !awaitAny(sockets, seconds == 0 ? Deadline::never() : Deadline::of(seconds))) return nullptr;
  const auto first = std::find_if(sockets.begin(), sockets.end(), [](const pollfd& s) { return s.revents != 0; });
  return first != sockets.end() ? ownerOf(first->fd) : nullptr;
}

}  // namespace keystrand
