// Numbers and encodings of SOCKS 5 (RFC 1928) and of its sub-negotiation with user and password (RFC 1929).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace keystrand::socks {

constexpr unsigned char kVersion = 5;
constexpr unsigned char kReserved = 0;
constexpr unsigned char kWholeDatagram = 0;  // no fragment

enum Method : unsigned char { kNoAuthentication = 0, kUserPassword = 2 };
enum Command : unsigned char { kConnect = 1, kUDPAssociate = 3 };
enum AddressType : unsigned char { kIPv4 = 1, kDomainName = 3 };

using Message = std::vector<unsigned char>;

// RFC 1928 section 3.
Message greeting(bool withCredentials);
// RFC 1929 section 2; texts of at most 255 bytes.
Message authentication(const std::string& user, const std::string& password);
// Appends address type, address and port: a dotted number as an address, anything else as a name. False for a malformed
// number and for a name of more than 255 bytes.
bool putDestination(Message& message, const std::string& host, std::uint16_t port);

}  // namespace keystrand::socks
