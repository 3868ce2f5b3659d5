// One endpoint on IPv4 sockets: a client's stream, a listening socket and a datagram socket in one object, all with
// timed reads. Connections and datagrams go through the SOCKS 5 server of SocksState.h if one is set, unless the host
// is in one of the networks that are reached without it.
//
// Functions that return an int give 0 for success, 1 (kSocketError) for a wrong state, an unknown host or a peer that
// has closed, 145 (kSocketTimeout) for a timeout or a cancelled read, or an errno; sending past the timeout gives
// EAGAIN. No call raises SIGPIPE, and descriptors may have any number. Only the resolver, asked for the address of a
// name, knows nothing of the timeout.
//
// Thread: one at a time for an object; the static functions any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "keystrand/der/Buffer.h"
#include "net/IPv4.h"
#include "net/Socket.h"
#include "net/SocksState.h"

namespace keystrand {

class Transport {
 public:
  static constexpr std::int64_t kDefaultTimeout = 120;
  static constexpr int kDefaultBacklog = 20;

  Transport() = default;
  // Takes over stream and datagram socket and the name of the peer, so that a listener can accept the next one. Timeout
  // and reuse flag are the default ones; a listening socket stays where it is.
  Transport(Transport&& other) noexcept;
  Transport& operator=(Transport&&) = delete;
  ~Transport();

  // --- the stream of a client ---------------------------------------------------------------------------------------
  // To the first address of the host that does not refuse. Refuses an object that is connected or listens. A SOCKS
  // server that declines gives its reply field (RFC 1928 section 6), one that does not follow the protocol 1.
  int connect(const std::string& host, std::uint16_t port);
  [[nodiscard]] bool isConnected() const noexcept { return stream_.isOpen(); }
  void close() noexcept;

  // Seconds, for connecting and for each wait of a read or write: kNoTimeout waits without limit, 0 not at all. To
  // connect has at least a second, so has the second wait of read().
  void setTimeout(std::int64_t seconds) noexcept { timeout_ = seconds; }
  [[nodiscard]] std::int64_t timeout() const noexcept { return timeout_; }

  int write(std::span<const unsigned char> bytes);
  // From the read position of the buffer on, which moves along; 1 when fewer bytes than `length` are left.
  int write(Buffer& buffer, std::uint32_t length);
  // All bytes asked for, or an error.
  int readExact(std::span<unsigned char> bytes);
  // Appends `length` bytes to the buffer; 1, without a look at the socket, when it has not that much room. Patient: a
  // peer that is silent for the whole timeout gets the same time, and at least a second, once more.
  int read(Buffer& buffer, std::uint32_t length);
  // As many bytes as come, `length` at most on entry, their number on return. A timeout or the peer's end is no error.
  int readSome(std::span<unsigned char> bytes, std::size_t& length);

  // While one lives, the reads and writes of its Transport together last at most that many times the timeout, or that
  // many seconds if it is 0: a peer that sends byte by byte cannot hold the reader for longer. A Transport without
  // timeout has no limit.
  class Limit {
   public:
    explicit Limit(Transport& transport, int timeouts = 10);
    ~Limit() { transport_.limit_ = former_; }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

   private:
    Transport& transport_;
    Deadline former_;
  };

  // Dotted address of the last peer, the SOCKS server if there is one between, or "unixSocket"; empty when there was
  // none.
  [[nodiscard]] const std::string& peerAddress() const noexcept { return peer_; }
  // SO_RCVBUF and SO_SNDBUF of the stream, in the system's count; -1 without a stream.
  [[nodiscard]] int receiveBufferSize() const noexcept;
  [[nodiscard]] int sendBufferSize() const noexcept;
  int setReceiveBufferSize(int bytes) noexcept;
  int setSendBufferSize(int bytes) noexcept;
  // A stream that writes to the peer through a duplicate of the socket, under the present timeout; the caller closes
  // it. nullptr without a connection.
  [[nodiscard]] owner<std::FILE*> localFile() const;

  // --- listening on all interfaces -----------------------------------------------------------------------------------
  int listen(std::uint16_t port, int backlog = kDefaultBacklog);
  // Waits without limit for a client, who becomes the peer of the stream.
  int accept();
  void closeListener() noexcept;
  // Waits for a client on all listening sockets of the process and returns the first Transport that has one, nullptr
  // when time is over or nobody listens. Seconds; 0 and -1 wait without limit.
  [[nodiscard]] static Transport* selectListeners(std::int64_t seconds);

  // --- datagrams -----------------------------------------------------------------------------------------------------
  // The socket is bound on first use, to `localPort` or to any port if that is 0; -1 when its number is 65536 or more.
  // A SOCKS server relays datagrams as long as the stream, which then leads to it, stays open.
  int sendTo(const std::string& host, std::uint16_t port, std::span<const unsigned char> bytes,
             std::uint16_t localPort = 0);
  // One datagram, sent by way of the SOCKS server if that is the way to `host`. `length` is the room on entry and what
  // was filled on return. Waits so many seconds; 0 stands for the timeout of the object.
  int receiveFrom(const std::string& host, std::span<unsigned char> bytes, std::size_t& length, std::int64_t seconds,
                  std::uint16_t localPort = 0);

  // The value for SO_REUSEADDR of sockets bound from now on.
  void setReuseAddress(int flag) noexcept { reuse_ = flag; }
  [[nodiscard]] int reuseAddress() const noexcept { return reuse_; }

 private:
  struct SocksReply {
    std::string host;
    std::uint16_t port = 0;
  };

  [[nodiscard]] Deadline deadline() const { return Deadline::earlier(limit_, Deadline::of(timeout_)); }

  int connectDirect(const std::string& host, std::uint16_t port);
  int connectTo(in_addr address, std::uint16_t port, Deadline until);
  void adopt(Socket socket, std::string peer) noexcept;
  int receivePiece(std::span<unsigned char> room, std::size_t& received);
  int receivePatiently(std::span<unsigned char> room, std::size_t& received);

  int connectThrough(const SocksState& server, const std::string& host, std::uint16_t port);
  bool greet(const SocksState& server);
  bool authenticate(const Credentials& credentials);
  int request(std::span<const unsigned char> message, SocksReply& reply);
  int readReply(SocksReply& reply);

  int prepareDatagrams(const SocksState& server, bool relayed, std::uint16_t localPort);
  int openDatagramSocket(std::uint16_t localPort);
  int associate(const SocksState& server, std::uint16_t localPort);
  int requestRelay();

  Socket stream_;
  Socket datagram_;
  Socket listening_;
  std::int64_t timeout_ = kDefaultTimeout;
  int reuse_ = 0;
  Deadline limit_ = Deadline::never();
  std::string peer_;
  std::optional<sockaddr_in> relay_;  // of the SOCKS server, for datagrams
};

}  // namespace keystrand
