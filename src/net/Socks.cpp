#include "net/Socks.h"

#include "net/IPv4.h"

namespace keystrand::socks {

namespace {

constexpr unsigned char kAuthenticationVersion = 1;
constexpr std::size_t kLongestText = 255;

void putText(Message& message, const std::string& text) {
  message.push_back(static_cast<unsigned char>(text.size()));
  message.insert(message.end(), text.begin(), text.end());
}

}  // namespace

Message greeting(bool withCredentials) {
  if (withCredentials) return {kVersion, 2, kNoAuthentication, kUserPassword};
  return {kVersion, 1, kNoAuthentication};
}

Message authentication(const std::string& user, const std::string& password) {
  Message message{kAuthenticationVersion};
  putText(message, user);
  putText(message, password);
  return message;
}

bool putDestination(Message& message, const std::string& host, std::uint16_t port) {
  if (isDottedNumber(host)) {
    const auto address = addressOf(host);
    if (!address) return false;
    const auto* octets = reinterpret_cast<const unsigned char*>(&address->s_addr);
    message.push_back(kIPv4);
    message.insert(message.end(), octets, octets + sizeof address->s_addr);
  } else {
    if (host.size() > kLongestText) return false;
    message.push_back(kDomainName);
    putText(message, host);
  }
  message.push_back(static_cast<unsigned char>(port >> 8));
  message.push_back(static_cast<unsigned char>(port & 0xFF));
  return true;
}

}  // namespace keystrand::socks
