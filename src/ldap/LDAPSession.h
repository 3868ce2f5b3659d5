// LDAP messages over one TCP connection (RFC 4511 section 5.2). Frames them and no more: bind, search and unbind,
// message identifiers and referrals are the caller's. Made for one exchange; there is no TLS.
//
// Thread: one at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "ldap/LDAPMessage.h"
#include "ldap/Session.h"

namespace keystrand {

class LDAPSession : public Session {
 public:
  // The largest message that is received. A peer that announces more is not heard.
  static constexpr std::uint32_t kLargestMessage = 256U << 20;
  // What is read first of each message.
  static constexpr std::uint32_t kFirstOctets = 10;

  LDAPSession(Buffer& buffer, std::string host, std::uint16_t port);  // borrows the buffer
  LDAPSession(std::string host, std::uint16_t port, std::uint32_t size);
  LDAPSession(std::unique_ptr<Buffer> buffer, std::string host, std::uint16_t port);  // takes the buffer over

  // Whether the whole message went out.
  bool send(const LDAPMessage& message);
  // Null for a timeout, an end of the connection, and a message that is malformed, too long or too short: one of less
  // than ten octets is waited for in vain.
  [[nodiscard]] std::unique_ptr<LDAPMessage> receive();

  // The size of the message that begins with these octets; nothing unless they begin a SEQUENCE of definite length, no
  // shorter than they are and no larger than what is received.
  [[nodiscard]] static std::optional<std::uint32_t> messageSize(std::span<const unsigned char> first);

 private:
  bool readFirst();
  bool readRest(std::uint32_t size);
  void logFailure(const char* row) const;
};

}  // namespace keystrand
