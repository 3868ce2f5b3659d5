// Hands one message to a mail server (RFC 5321), for the log of programs that want their alerts by mail.
// Thread: any.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace keystrand {

struct Mail {
  std::string sender;     // the local part of the address; the host name of this machine follows it
  std::string recipient;  // a whole address
  std::string subject;    // UTF-8, may be empty
  std::string body;       // UTF-8, lines with any ends
};

class Mailer {
 public:
  static constexpr std::uint16_t kPort = 25;
  static constexpr std::int64_t kTimeoutSeconds = 10;  // to connect, and for each step of the conversation
  static constexpr int kTimeouts = 3;                  // the most that all of it takes, in timeouts

  explicit Mailer(std::string host, std::uint16_t port = kPort, std::int64_t timeoutSeconds = kTimeoutSeconds)
      : host_(std::move(host)), port_(port), timeoutSeconds_(timeoutSeconds) {}

  // True when the server took the message over. An address with anything but printable ASCII in it, or with a blank,
  // an angle bracket or more octets than the standard allows, is refused before anybody is asked: no field can add a
  // command or a header line. Through the SOCKS server if one is set.
  [[nodiscard]] bool send(const Mail& mail) const;

 private:
  std::string host_;
  std::uint16_t port_;
  std::int64_t timeoutSeconds_;
};

}  // namespace keystrand
