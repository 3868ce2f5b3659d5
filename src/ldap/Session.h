// What the sessions of a protocol share: a Transport, a Buffer that serves as work area for both directions, and the
// peer.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "keystrand/der/Buffer.h"
#include "log/Logger.h"
#include "net/Transport.h"

namespace keystrand {

class Session {
 public:
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Whether the peer was reached. A host name of 128 characters or more is none.
  bool connect();
  bool connect(const std::string& host);
  // Harmless on a session that is not connected.
  void disconnect();
  // Seconds, as Transport::setTimeout takes them. From connect() on, all reads and writes together last ten times as
  // long at most.
  void setTimeout(std::int64_t seconds) noexcept { transport_.setTimeout(seconds); }
  // Null, as in a new session, for no lines. The logger must outlive the session.
  void setLogger(const Logger* logger) noexcept { logger_ = logger; }
  // Borrows the buffer in place of the former one.
  void setBuffer(Buffer& buffer) noexcept;

 protected:
  // On a buffer of the caller's, which must outlive the session.
  Session(Buffer& buffer, std::string host, std::uint16_t port);
  // On a buffer of its own.
  Session(std::unique_ptr<Buffer> buffer, std::string host, std::uint16_t port);
  ~Session() = default;

  [[nodiscard]] const std::string& host() const noexcept { return host_; }
  [[nodiscard]] const Logger* logger() const noexcept { return logger_; }
  [[nodiscard]] Buffer& buffer() const noexcept { return *buffer_; }
  [[nodiscard]] Transport& transport() noexcept { return transport_; }

 private:
  std::string host_;
  std::uint16_t port_;
  Transport transport_;
  std::optional<Transport::Limit> limit_;  // for the time of a connection
  std::unique_ptr<Buffer> ownBuffer_;      // null when the buffer is borrowed
  Buffer* buffer_;
  const Logger* logger_ = nullptr;
};

}  // namespace keystrand
