// One endpoint on IPv4 sockets: a client's stream, a listening socket and a datagram socket in one object, all with
// timed reads. Outgoing connections are direct ones.
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
#include <span>
#include <string>

#include "keystrand/der/Buffer.h"
#include "net/IPv4.h"
#include "net/Socket.h"

namespace keystrand {

class Transport {
 public:
  static constexpr std::int64_t kNoTimeout = -1;
  static constexpr std::int64_t kDefaultTimeout = 120;

  Transport() = default;
  // Takes over stream and datagram socket with the name of the peer, so that a listener can accept the next one.
  // Timeout and reuse flag are the default ones; a listening socket stays where it is.
  Transport(Transport&& other) noexcept;
  Transport& operator=(Transport&&) = delete;
  ~Transport() = default;

  // --- the stream of a client ---------------------------------------------------------------------------------------
  // To the first address of the host that does not refuse. Refuses an object that is connected.
  int connect(const std::string& host, std::uint16_t port);
  [[nodiscard]] bool isConnected() const noexcept { return stream_.isOpen(); }
  void close() noexcept { stream_.close(); }

  // Seconds, for connecting and for each wait of a read or write: kNoTimeout waits without limit, 0 not at all; of any
  // other value the low 32 bits count, a negative number being 0.
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

  // While one lives, the reads and writes of its Transport together last at most that many times the timeout: a peer
  // that sends byte by byte cannot hold the reader for longer. A Transport without timeout has no limit.
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

  // Dotted address of the last peer; empty when there was none.
  [[nodiscard]] const std::string& peerAddress() const noexcept { return peer_; }

 private:
  [[nodiscard]] std::chrono::seconds waitSeconds() const noexcept;
  [[nodiscard]] Deadline deadline() const;

  int connectDirect(const std::string& host, std::uint16_t port);
  int connectTo(in_addr address, std::uint16_t port, Deadline until);
  int receivePiece(std::span<unsigned char> room, std::size_t& received);
  int receivePatiently(std::span<unsigned char> room, std::size_t& received);

  Socket stream_;
  Socket datagram_;
  std::int64_t timeout_ = kDefaultTimeout;
  Deadline limit_ = Deadline::never();
  std::string peer_;
};

}  // namespace keystrand
