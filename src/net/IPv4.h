// IPv4 addresses of hosts. The resolver may block for as long as its own settings say.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keystrand {

// Digits and dots only, the empty text too: such a host is never looked up as a name.
[[nodiscard]] bool isDottedNumber(std::string_view host) noexcept;
// The addresses in the order of the resolver; that of a dotted number itself. None when the host has none.
[[nodiscard]] std::vector<in_addr> addressesOf(const std::string& host);
// The first of them.
[[nodiscard]] std::optional<in_addr> addressOf(const std::string& host);
// Four numbers up to 255 with dots between, and nothing else.
[[nodiscard]] std::optional<in_addr> parseAddress(const std::string& dotted);
[[nodiscard]] std::string dottedText(in_addr address);
[[nodiscard]] sockaddr_in socketAddress(in_addr address, std::uint16_t port) noexcept;
// The local address from which this machine reaches a host, as dotted text; empty when there is no way.
[[nodiscard]] std::string localAddressFor(const std::string& host);

}  // namespace keystrand
