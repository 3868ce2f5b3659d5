// The octets of a mail message as they go to the server (RFC 5322, RFC 2045, RFC 2047).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace keystrand {

// "Sat, 21 Nov 2026 20:07:00 +0000" (RFC 5322 section 3.3), in English whatever the locale.
std::string mailDate(std::int64_t seconds);
// As it stands when it is printable ASCII and fits a line, else as encoded words, one a line. Nothing of it ends the
// line that it stands in.
std::string mailSubject(std::string_view subject);
// The header fields that tell the coding of the body, the empty line and the body: as it stands when it is ASCII in
// lines that the protocol carries, else in Base64. Each line ends with CR LF, and none is a lone dot.
std::string mailBody(std::string_view body);

}  // namespace keystrand
