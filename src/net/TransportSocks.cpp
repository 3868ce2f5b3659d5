// The client of SOCKS 5 (RFC 1928).
#include <array>

#include "net/Socks.h"
#include "net/Transport.h"

namespace keystrand {

int Transport::connectThrough(const SocksState& server, const std::string& host, std::uint16_t port) {
  socks::Message message{socks::kVersion, socks::kConnect, socks::kReserved};
  if (!socks::putDestination(message, host, port) || !greet(server)) return kSocketError;
  SocksReply reply;
  const int error = request(message, reply);
  if (error != 0) close();
  return error;
}

// Connects to the server and agrees with it on a method (sections 3 and 4); not connected on failure.
bool Transport::greet(const SocksState& server) {
  if (connectDirect(server.host, server.port) != 0) return false;
  const Limit limit(*this, 1);
  std::array<unsigned char, 2> choice{};
  const bool credentials = server.credentials.has_value();
  const bool answered = write(socks::greeting(credentials)) == 0 && readExact(choice) == 0;
  if (answered && choice[0] == socks::kVersion) {
    if (choice[1] == socks::kNoAuthentication) return true;
    if (choice[1] == socks::kUserPassword && credentials && authenticate(*server.credentials)) return true;
  }
  close();
  return false;
}

// RFC 1929.
bool Transport::authenticate(const Credentials& credentials) {
  constexpr std::array<unsigned char, 2> kSuccess{1, 0};
  std::array<unsigned char, 2> status{};
  return write(socks::authentication(credentials.user, credentials.password)) == 0 && readExact(status) == 0 &&
         status == kSuccess;
}

int Transport::request(std::span<const unsigned char> message, SocksReply& reply) {
  const Limit limit(*this, 1);
  const int error = write(message);
  return error != 0 ? error : readReply(reply);
}

// Section 6. The reply is read with its first address byte, which for a name is the length.
int Transport::readReply(SocksReply& reply) {
  std::array<unsigned char, 5> head{};
  if (const int error = readExact(head); error != 0) return error;
  const auto [version, field, reserved, type, first] = head;
  if (version != socks::kVersion) return kSocketError;
  if (field != 0) return field;
  if (reserved != 0 || (type != socks::kIPv4 && type != socks::kDomainName)) return kSocketError;

  constexpr std::size_t kPortBytes = 2;
  const bool isName = type == socks::kDomainName;
  const std::size_t addressBytes = isName ? first : sizeof(in_addr) - 1;
  std::array<unsigned char, 255 + kPortBytes> rest{};
  const auto tail = std::span(rest).first(addressBytes + kPortBytes);
  if (const int error = readExact(tail); error != 0) return error;
  reply.port = static_cast<std::uint16_t>(rest[addressBytes] << 8 | rest[addressBytes + 1]);
  if (isName)
    reply.host.assign(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(addressBytes));
  else
    reply.host = std::to_string(first) + '.' + std::to_string(rest[0]) + '.' + std::to_string(rest[1]) + '.' +
                 std::to_string(rest[2]);
  return 0;
}

}  // namespace keystrand
